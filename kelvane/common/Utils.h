// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

/// The toolbox: files and folders by the library's own naming rules, dates in the epochs that media libraries use,
/// random names and ids, the system's version and shell commands.
///
/// Paths are any bytes, a '%' is nothing special; symbolic links are followed where a file is asked about. A path that
/// is null, empty or holds a NUL leads to nothing.
///
/// Threads: any thread, any operation.
/// Errors: nothing throws but std::bad_alloc; a failed operation answers false, 0, null or an empty text.
class KELVANE_EXPORT Utils {
public:
    Utils() = delete;

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

    // Media kinds and names

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
};

} // namespace kelvane
