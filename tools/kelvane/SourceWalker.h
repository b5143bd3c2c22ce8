// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SourceFile.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace kelvane::tool {

/// Finds the media files in folders, and takes files that are named themselves.
///
/// Links to files are followed: a file counts once, under its own path, however many links lead to it. Links to
/// folders are followed only where they are named as a source; so no walk runs in a circle. Hidden files and folders
/// are passed by, and so are files without an extension of media, but those named as a source.
class SourceWalker {
public:
    struct Problem {
        std::string path;
        std::string reason;
    };

    /// `devicePath` (absolute, without links) is never walked into.
    explicit SourceWalker(std::string devicePath);

    /// Walks one source. Throws StopError for one that lies inside the device. Stops early when the user interrupts.
    void walk(const std::string &source);

    /// What was found, folder by folder in the order of names.
    [[nodiscard]] const std::deque<SourceFile> &files() const { return _files; }
    /// What could not be looked at, and why.
    [[nodiscard]] const std::vector<Problem> &problems() const { return _problems; }
    /// The files passed by.
    [[nodiscard]] std::uint64_t ignoredCount() const { return _ignoredCount; }
    /// Whether the walk would have found `path` if it were there: the path lies below a walked folder.
    [[nodiscard]] bool covers(const std::string &path) const;
    /// The walked folders, absolute and without links, in which no media was found: often the place where a disk is
    /// not mounted.
    [[nodiscard]] std::vector<std::string> barrenFolders() const;

private:
    void walkFolder(const std::string &folder);
    void takeEntry(const std::string &folder, const std::string &name, std::vector<std::string> &folders);
    void takeLink(const std::string &path);
    void takeFile(std::string path, const struct stat &status, bool isNamed);
    void report(const std::string &path, std::string reason);

    const std::string _devicePath;
    std::deque<SourceFile> _files; // which stay where they are while there come more
    std::vector<Problem> _problems;
    std::vector<std::string> _walkedFolders;
    std::unordered_set<std::string_view> _seenFiles; // the paths of _files
    std::unordered_set<std::string> _seenFolders;
    std::uint64_t _ignoredCount = 0;
};

} // namespace kelvane::tool
