// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileDescriptor.h"
#include "FileStamp.h"

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kelvane::tool {

/// The folder of a mounted device, and all that is done to the files in it. Paths are relative to the folder and
/// never lead out of it: no link on the way is followed, because whoever had the device before may have put one there.
///
/// Threads: any thread, any operation.
/// Errors: ItemError with the reason, where nothing else is said.
class DeviceFolder {
public:
    /// Throws StopError where `path` is no folder that can be entered.
    explicit DeviceFolder(const std::string &path);

    /// Absolute, without links.
    [[nodiscard]] const std::string &path() const { return _path; }
    /// For people: whoever opens it may be led elsewhere by then.
    [[nodiscard]] std::string absolutePath(const std::string &relative) const { return _path + '/' + relative; }
    /// A path for operations that open files by their path. It leads to this name in its folder of the device, whatever
    /// is put in the place of the folder meanwhile; the folder is there. Good as long as this object lives. Whether the
    /// name itself is a link, the one who opens it has to mind. A system without /proc has no such paths: there it is the
    /// absolute one.
    [[nodiscard]] std::string pinnedPath(const std::string &relative);
    /// The same for a file that is open, as long as it is.
    [[nodiscard]] std::string pinnedPath(const FileDescriptor &file, const std::string &relative) const;

    /// Bytes that it holds in all.
    [[nodiscard]] std::uint64_t capacity() const;
    /// Bytes that are free for us.
    [[nodiscard]] std::uint64_t freeSpace() const;
    /// Fails where a folder, or one on the way to it, is a link or a file. One that is missing is fine.
    void checkFolder(const std::string &relative);
    /// Makes a folder, and those on the way to it, unless they are there, and brings their names to the device itself.
    void makeFolder(const std::string &relative);
    /// The regular file at a path; nothing where there is none. Fails where the device cannot tell.
    [[nodiscard]] std::optional<FileStamp> stampOf(const std::string &relative);
    /// Whether anything has this name, be it a link that leads nowhere. Fails where the device cannot tell.
    [[nodiscard]] bool isTaken(const std::string &relative);
    /// Gives a finished file its final name, in a folder that is made where it is missing, and brings the name to the
    /// device itself. False, with nothing changed, where the name is taken.
    [[nodiscard]] bool publish(const std::string &from, const std::string &to);
    /// Brings the names in a folder, those taken away too, to the device itself.
    void synchroniseFolder(const std::string &relative);
    /// Removes a file; one that is not there is no error.
    void removeFile(const std::string &relative);
    /// The names of the regular files directly in a folder; none where it is missing.
    [[nodiscard]] std::vector<std::string> filesIn(const std::string &relative);
    /// Removes all files directly in a folder.
    void emptyFolder(const std::string &relative);
    /// Opens a file for reading.
    [[nodiscard]] FileDescriptor openFile(const std::string &relative);
    /// Opens a file, which is there, for writing.
    [[nodiscard]] FileDescriptor openForWriting(const std::string &relative);
    /// Opens a file for writing, making it where it is missing.
    [[nodiscard]] FileDescriptor makeFile(const std::string &relative);
    /// Makes a file that is not there yet, for its owner alone.
    [[nodiscard]] FileDescriptor makeNewFile(const std::string &relative);

private:
    struct Place {
        int folder;
        std::string name;
    };
    /// The folder of a path, open. Negative number where it does not exist.
    [[nodiscard]] Place placeOf(const std::string &relative);
    [[nodiscard]] int openFolder(const std::string &relative);
    /// A folder, open. Negative number where it does not exist.
    [[nodiscard]] int folderAt(const std::string &relative);
    void makeCertain(const std::string &relative);
    [[nodiscard]] FileDescriptor open(const std::string &relative, int flags, mode_t mode, const char *what);
    /// The names of all that is directly in a folder.
    [[nodiscard]] std::vector<std::string> namesIn(const std::string &relative);

    std::string _path;
    FileDescriptor _root;
    std::mutex _mutex;
    std::map<std::string, FileDescriptor> _folders; // guarded by _mutex; folders once opened stay so
    std::mutex _making;
    std::set<std::string> _certain; // guarded by _making; folders whose names the device itself has
};

} // namespace kelvane::tool
