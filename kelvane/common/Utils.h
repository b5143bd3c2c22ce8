// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Size.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/CalendarDate.h>
#include <kelvane/platform/Image.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>

namespace kelvane {

class Bundle;
class DateFormatter;

/// The name of the notification between processes that a picture was captured. Spelled so by all who use it.
inline constexpr std::string_view kImageCaptureDistributedNotifaction = "ImageCaptureDistributedNotifaction";

/// A random number whose first byte was shifted out and whose lowest byte is 0.
[[nodiscard]] KELVANE_EXPORT std::uint64_t generateLongLongId() noexcept;

/// Whether `character` is one of `characters`.
[[nodiscard]] KELVANE_EXPORT bool CharInArray(char character, std::string_view characters) noexcept;

/// The toolbox: files and folders by the library's own naming rules, dates in the epochs that media libraries use,
/// random names and ids, pictures and their capture dates, the system's version and shell commands.
///
/// Paths are any bytes, a '%' is nothing special; symbolic links are followed where a file is asked about. A path that
/// is null, empty or holds a NUL leads to nothing.
///
/// Threads: any thread, any operation.
/// Errors: nothing throws but std::bad_alloc; a failed operation answers false, 0, null or an empty text.
class KELVANE_EXPORT Utils {
public:
    Utils() = delete;

    /// Bytes; also the most that pipeCmd() reads.
    static constexpr std::size_t defaultBufferSize = 524288;

    // Files and folders

    /// Whether something is at the path. @selector fileExsit:
    [[nodiscard]] static bool fileExsit(const String &path) noexcept;
    /// Makes the folder and those that it lies in. True where anything, even a file, is at the path already.
    /// @selector createDirectory:
    static bool createDirectory(const String &path);
    /// Removes the file, or the folder with all that is in it. A symbolic link goes, what it leads to stays.
    /// @selector deleteFile:
    static bool deleteFile(const String &path);
    /// Size in bytes, 0 when unavailable. @selector getSizeFromPath:
    [[nodiscard]] static std::uint64_t getSizeFromPath(const String &path) noexcept;
    /// The same as a signed number. @selector fileSize:
    [[nodiscard]] static std::int64_t fileSize(const String &path) noexcept;
    /// When the file was made; when it was last modified where the file system keeps no such date; null when there
    /// is no file. @selector createTime:
    [[nodiscard]] static Date createTime(const String &path) noexcept;
    /// When the file was last modified, null when there is no file. @selector ModifyTime:
    [[nodiscard]] static Date ModifyTime(const String &path) noexcept;
    /// Bytes free for this user on the file system that holds the path, 0 on error.
    /// @selector getFreeSpaceInVolume:
    [[nodiscard]] static std::int64_t getFreeSpaceInVolume(const String &path) noexcept;
    /// The last component of the path without its extension, empty for null. @selector getFileName:
    [[nodiscard]] static String getFileName(const String &path);
    /// The path with its extension replaced, or added where it has none. The path itself where either is null.
    /// @selector changeExtension:newExtension:
    [[nodiscard]] static String changeExtension(const String &path, const String &newExtension);
    /// The sum of fileSize() of all files below the folder. Left out is what has a path from the folder on that
    /// begins with a dot: hidden entries of the folder itself with all that is in them, not those further down.
    /// @selector directorySize:
    [[nodiscard]] static std::int64_t directorySize(const String &path);
    /// The full paths of the files that lie in the folder itself, in the order in which the system lists them.
    /// @selector getFiles:
    [[nodiscard]] static Array getFiles(const String &path);
    /// The same of the folders. @selector getDirectories:
    [[nodiscard]] static Array getDirectories(const String &path);
    /// The same of one or the other. Entries whose status cannot be read, as links that lead nowhere, are left out.
    /// @selector getFilesOrDirectories:isDir:
    [[nodiscard]] static Array getFilesOrDirectories(const String &path, bool isDir);
    /// The application's folder among the user's data, made when missing: "Library/Application Support/" and the main
    /// bundle's "CFBundleDisplayName" below the home folder. Answered whether or not it could be made.
    [[nodiscard]] static String localTempPath();
    /// The bundle that holds this library.
    [[nodiscard]] static Bundle &SelfMainBundle();

    /// A path at which nothing is: the path itself, or with "(1)", "(2)" and so on behind all of it.
    /// @selector renameFilePath:
    [[nodiscard]] static String renameFilePath(const String &path);
    /// A path at which something is: the path itself, or with "(1)", "(2)" or "(3)" behind it; the last of these where
    /// nothing is at any. @selector backupFilePath:
    [[nodiscard]] static String backupFilePath(const String &path);
    /// Moves the file aside, to the path with "(1)" behind it, or, where that is taken, with "(2)", which replaces what
    /// was there. False when nothing is at the path. @selector moveFile:
    static bool moveFile(const String &path);
    /// Moves the file to the path with "(origin)" behind it, which is written once and never replaced, after that to
    /// the one with "(bak)", which always is. False when nothing is at the path. @selector backFile:
    static bool backFile(const String &path);
    /// Copies a file or folder to where another is, which is moved aside first (see moveFile()): false when nothing is
    /// at `dstPath`. When the copy fails, the other stays moved aside and nothing is at `dstPath`. Dates, permissions
    /// and attributes are copied, too, as by copyfile() with COPYFILE_ALL. @selector copyFile:dstPath:
    static bool copyFile(const String &path, const String &dstPath);
    /// Whether both have the same size and the same modification date. @selector isSameFile:dstPath:
    [[nodiscard]] static bool isSameFile(const String &path, const String &dstPath) noexcept;
    /// Waits until something is at the path, looking every 10 milliseconds, the first time after the first of them, but
    /// no longer than `seconds`. @selector waitFileExsit:timeOut:
    static void waitFileExsit(const String &path, std::int32_t seconds);

    // Dates

    /// Seconds from 2001-01-01 00:00:00 UTC, 0 for null. @selector DateTimeTo2001:
    [[nodiscard]] static double DateTimeTo2001(Date date) noexcept;
    /// The same plus `adjust` seconds, unless it is 0. @selector dateTimeTo2001:adjust:
    [[nodiscard]] static double dateTimeTo2001(Date date, std::int64_t adjust) noexcept;
    /// The present time in seconds from 2001-01-01 00:00:00 UTC.
    [[nodiscard]] static double DateNowInterval() noexcept;
    /// Seconds from the midnight, in the local time zone, with which 1904 began; 0 for null.
    /// @selector DateTimeTo1904:
    [[nodiscard]] static double DateTimeTo1904(Date date) noexcept;
    /// The date so many seconds after the midnight, in UTC, with which 1904 began: not the reverse of DateTimeTo1904()
    /// unless the local time is UTC. @selector DateTimeFrom1904:
    [[nodiscard]] static Date DateTimeFrom1904(double seconds) noexcept;
    /// The date so many seconds after 1970-01-01 where they are more than 1e9, else after 2001-01-01.
    /// @selector SmartToDateTime:
    [[nodiscard]] static Date SmartToDateTime(double seconds) noexcept;
    /// The local time of now, read as if it were GMT, plus 12 hours, shown as "2012-05-03T14:05:00Z".
    [[nodiscard]] static CalendarDate NowCalendar();
    /// The date moved by what local clocks are ahead of GMT at it. @selector localToUTC:
    [[nodiscard]] static Date localToUTC(Date date) noexcept;
    /// The date of a text like "2012:05:03 14:05:00", as EXIF has it, in local time; null where it is none. Leaves the
    /// shared formatter with this format. @selector dateFormat:
    [[nodiscard]] static Date dateFormat(const String &text);
    /// The date, now for null, in local time by a Unicode date pattern, with English names; empty for no format. Leaves
    /// the shared formatter with this format. @selector stringFromDate:date:
    [[nodiscard]] static String stringFromDate(const String &format, Date date);
    /// The one formatter of the process that the two above use. Hold shareFormatterLock() as long as you use it.
    [[nodiscard]] static DateFormatter &shareFormatter();
    [[nodiscard]] static std::recursive_mutex &shareFormatterLock();

    // Media kinds and names

    /// The MIME type that the system prefers for files with that extension, given without its dot; empty where it has
    /// none. @selector mimeTypeByExtension:
    [[nodiscard]] static String mimeTypeByExtension(const String &extension);
    /// What kind of media files with that extension, with or without its dot, are: "MPEG Audio"; empty where unknown.
    /// @selector GetMediaKind:
    [[nodiscard]] static String GetMediaKind(const String &extension);
    /// The extension's four-character code (see fourCharCode()), 0 for null. @selector GetExtension:
    [[nodiscard]] static std::uint32_t GetExtension(const String &extension) noexcept;
    /// The text with each slash, less-than, greater-than, colon, backslash and blank replaced. Bytes beyond ASCII
    /// become one character each, U+0080 to U+00FF. Empty for null. @selector replaceInvalidChars:withChar:
    [[nodiscard]] static String replaceInvalidChars(const String &text, char replacement);
    /// The elements as text with separators between them; elements without text contribute nothing, but keep their
    /// separators. Empty where one of the two is null. @selector join:values:
    [[nodiscard]] static String join(const String &separator, const Array &values);
    /// 32 lower-case hexadecimal digits, the MD5 digest of the bytes; empty for null. @selector fileMD5:
    [[nodiscard]] static String fileMD5(const Data &data);
    /// The id as a number object. @selector transformItemIDToNumber:
    [[nodiscard]] static Value transformItemIDToNumber(std::int64_t itemId) noexcept;

    /// Whether the path's extension, in lower case, is one of audio files. @selector isAudio:
    [[nodiscard]] static bool isAudio(const String &path);
    /// The same for video files. "m4a" is both. @selector isVideo:
    [[nodiscard]] static bool isVideo(const String &path);
    /// The name of a random one of `count` music folders, "F00" to "F99" for 100. `count` is at least 1.
    /// @selector getRandomMusicName:
    [[nodiscard]] static String getRandomMusicName(std::uint32_t count);
    /// One of "F00" to "F99".
    [[nodiscard]] static String getRandomFolderName();
    /// Four random letters from A to Y.
    [[nodiscard]] static String getRandomFileName();
    /// A new UUID as 36 characters, letters in upper case.
    [[nodiscard]] static String genUUIDString();
    /// A number like those of generateLongLongId() that this process never got from here before.
    [[nodiscard]] static std::int64_t generateRandomLongId();
    /// The same form of number from the generator of the C library, which is given a new random seed. It may come
    /// again, and everything else that uses that generator sees the seed.
    [[nodiscard]] static std::int64_t generateRandomLongId1();

    // Images

    /// Writes a JPEG file of quality 0.8, beside its place and renamed. False where one of the two is null, or where no
    /// file can be made in the folder, which the system's log is told. Whatever becomes of the write itself: true; whoever
    /// must know uses an ImageDestination. @selector saveJpgImage:path:
    static bool saveJpgImage(const Image &image, const String &path);
    /// The same of a PNG file. @selector savePngImage:path:
    static bool savePngImage(const Image &image, const String &path);
    /// The first picture of a file, null where it cannot be decoded (see Image::fromFile()).
    /// @selector createCGImageRefFromFile:
    [[nodiscard]] static Image createCGImageRefFromFile(const String &path);
    /// The first picture of a whole file in memory. @selector createCGImageRefFromData:
    [[nodiscard]] static Image createCGImageRefFromData(const Data &data);
    /// Size in pixels of the first picture as its headers have it, each 0 where they do not. A file that cannot be read
    /// or is no picture gives one error line and zeros. @selector getImageSizeFromPath:
    [[nodiscard]] static Size getImageSizeFromPath(const String &path);
    /// Size in pixels of the first picture decoded, zeros where it cannot be. @selector getImageSizeFromData:
    [[nodiscard]] static Size getImageSizeFromData(const Data &data);
    /// The "{Exif}" values of the first picture (see ImageSource::properties()); null where it has none, there is no file,
    /// or it is no picture, which gives one error line. @selector getExifInfo:
    [[nodiscard]] static Dictionary getExifInfo(const String &path);
    /// When the photo was taken, else digitised, by its EXIF, in local time; null where that has no such date or not in
    /// the form of one. Of a file without EXIF: createTime(). @selector photoExifCreateDate:
    [[nodiscard]] static Date photoExifCreateDate(const String &path);

    // System

    /// Whether the system's version is 10.7 or later (see SystemVersion).
    [[nodiscard]] static bool isOSOfLionLater() noexcept;
    /// Whether the system's version is the given one or later. @selector isOSXVersionLater:minor:
    [[nodiscard]] static bool isOSXVersionLater(std::int32_t majorVersion, std::int32_t minorVersion) noexcept;
    /// Runs a shell command and gives what it prints, up to defaultBufferSize bytes: empty where it prints nothing,
    /// null where it cannot be started, prints no UTF-8, or `command` is null or empty.
    ///
    /// Warning: the text goes to the shell as it is; never put names or other words of strangers into it. An
    /// AsyncExecuteProcessTask runs a program with arguments, without a shell. @selector pipeCmd:
    [[nodiscard]] static String pipeCmd(const String &command);
    /// Downloads `url` to `path` with curl until the file has `expectSize` bytes, in six tries at the most: 0 once it
    /// has, at once where it already has, else -1. Waits as long as curl does.
    ///
    /// Warning: path and address go to the shell as they are; never pass words of strangers. An
    /// AsyncExecuteProcessTask runs curl with arguments, without a shell. @selector downloadModule:url:expectSize:
    static std::int32_t downloadModule(const String &path, const String &url, std::int32_t expectSize);
};

} // namespace kelvane
