// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileDescriptor.h"

#include <string>

namespace kelvane::detail {

/// A copy of a file beside it that takes its place whole, or is gone: whoever opens the path meanwhile, and whatever
/// kills the process, finds the old file or the new one.
///
/// The copy's name comes from the file's: what a kill left behind is removed by the next replacement of the same file.
///
/// Threads: one at a time; any number of threads and processes may replace the same file, and the last one wins.
class FileReplacement {
public:
    /// For the file at `path`; a symbolic link stands for the file that it leads to.
    explicit FileReplacement(const std::string &path);
    /// Removes the copy where it was not committed.
    ~FileReplacement();
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;

    /// Makes the copy: bytes, mode, and, as far as the system allows, owner, extended attributes and access lists.
    /// Returns a descriptor to change it with, or none with errno set.
    [[nodiscard]] FileDescriptor open();
    /// One more descriptor of the copy that open() has made; none with errno set.
    [[nodiscard]] FileDescriptor duplicate() const;
    /// Flushes the copy and gives it the file's name. False with errno set.
    [[nodiscard]] bool commit();

private:
    [[nodiscard]] bool makeCopyFile();

    const std::string _path;
    std::string _copy;
    FileDescriptor _descriptor;
};

/// Copies extended attributes, which carry access lists as well, leaving out what the target refuses. False with errno
/// set where one could not be read, or there is no room for it: the copy would lack what the file has.
[[nodiscard]] bool copyExtendedAttributes(int from, int to);

/// Whether an attribute could not be carried over because the system says no, not because the disk fails or is full.
[[nodiscard]] bool isRefusal(int error);

} // namespace kelvane::detail
