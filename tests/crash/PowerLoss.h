// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recording.h"

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace kelvane::testsupport {

/// What a disk may hold after the power went out in the middle of a program: a model of a file system that promises
/// what POSIX promises and nothing more.
///
///  - What was written to a file is certain when the file was synchronised after it (fsync, fdatasync); its size and
///    time, too. Until then each write may be there, be missing or be there in part, in any order; where the file grew
///    by it, what is missing reads as zeros, or the file has not grown.
///  - That a name was given or taken is certain when its folder was synchronised after it. Until then, of the changes
///    of one folder those up to some moment are there and the later ones are not; different folders know nothing of
///    each other. Synchronising a file makes no name certain.
///  - A rename within a folder is one change: there is always the old file or the new one under the name.
///
/// Many file systems keep more in order than this; what survives here survives there.
class PowerLoss {
public:
    /// How unlucky one is.
    struct Luck {
        enum class Names { None, Some, All } names; // of those that are not certain
        enum class Data { Lost, Zeros, Some, All } data; // of what is not certain
        std::uint32_t seed = 0; // for the two Some
    };

    /// From the folder as it is now, all of which is certain.
    explicit PowerLoss(const std::string &folder);

    void apply(const RecordedCall &call);
    /// Makes `folder`, which must not be there, what the disk would hold.
    void materialise(const std::string &folder, const Luck &luck) const;

private:
    struct Change {
        std::int64_t position; // of the bytes; for a change of the size, the new one
        std::string bytes;
        bool isSize;
    };
    struct File {
        std::string certain;
        std::vector<Change> changes; // since it was synchronised
        std::int64_t time = -1; // of its modification, where a program set it
        std::int64_t certainTime = -1;
    };
    using FileNumber = std::size_t;
    static constexpr FileNumber isFolder = static_cast<FileNumber>(-1);
    static constexpr FileNumber isNothing = static_cast<FileNumber>(-2);
    /// A change of names in a folder, made at once: what each name stands for afterwards.
    using NameChange = std::map<std::string, FileNumber>;
    struct Folder {
        std::map<std::string, FileNumber> certain;
        std::vector<NameChange> changes;
    };

    void load(const std::string &folder, const std::string &relative);
    [[nodiscard]] FileNumber numberOf(const std::string &path) const;
    void change(const std::string &path, FileNumber number);
    void rename(const std::string &from, const std::string &to);
    void addChange(std::uint64_t inode, Change change);
    [[nodiscard]] std::map<std::string, FileNumber> namesIn(
        const Folder &folder, Luck::Names luck, std::mt19937 &random) const;
    [[nodiscard]] std::string contentOf(const File &file, Luck::Data luck, std::mt19937 &random) const;
    void makeFolder(const std::string &path, const std::string &relative, const Luck &luck, std::mt19937 &random) const;

    std::vector<File> _files;
    std::map<std::uint64_t, FileNumber> _numbers; // of the inodes that live
    std::map<std::string, Folder> _folders; // by path; "" is the watched one
};

} // namespace kelvane::testsupport
