// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "detail/FileDescriptor.h"

#include <kelvane/platform/FileCopy.h>

#include <map>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace kelvane {

/// How a part of a copy ended: the entry is there; the callback left it out; it failed and the rest may go on; the
/// whole copy ends. The last two have their reason in FileCopySession::error.
enum class CopyStep { Done, Skipped, Failed, Stop };

using detail::FileDescriptor;

/// Where an entry is and where it goes: names relative to open folders, so that no path is resolved twice and a folder
/// that is renamed or replaced by a link meanwhile leads nowhere else.
struct CopyPlace {
    int fromFolder;
    const char *fromName;
    int toFolder;
    const char *toName;
};

/// What one call of copyfile() carries from entry to entry: the flags, the conversation with the callback, and what has
/// been learnt about the two file systems.
class FileCopySession {
public:
    FileCopySession(const String &from, const String &to, FileCopyState *state, std::uint32_t flags);

    [[nodiscard]] bool has(std::uint32_t flag) const noexcept { return (_flags & flag) != 0; }
    [[nodiscard]] bool hasAll(std::uint32_t flags) const noexcept { return (_flags & flags) == flags; }
    [[nodiscard]] bool synchronise() const noexcept { return _state->_synchronise; }

    /// Remembers why the entry fails.
    [[nodiscard]] CopyStep fail(int reason) noexcept
    {
        error = reason;
        return CopyStep::Failed;
    }
    /// Tells the callback; `reason` is errno meanwhile. Done for continue, Skipped, or Stop.
    [[nodiscard]] CopyStep tell(int what, int stage, int reason = 0);
    /// Tells the callback of a failure without counting it. Stop also where there is no callback.
    [[nodiscard]] CopyStep tellError(int what, int reason);
    /// Counts the current entry among the failed, once however many of its attributes fail.
    void countFailure(int what, int reason);
    /// Both: counts, and tells. Done means that the copy goes on.
    [[nodiscard]] CopyStep reportFailure(int what, int reason);
    /// Ends an entry that was started: tells of its end or its failure.
    [[nodiscard]] CopyStep finishEntry(int what, CopyStep step);

    void setCopied(std::int64_t bytes) noexcept { _state->_copied = bytes; }
    void setXattrName(const String &name) { _state->_xattrName = name; }
    /// A block for reads and writes, made on first need.
    [[nodiscard]] char *buffer();
    static constexpr std::size_t bufferSize = std::size_t{1} << 20;

    std::string from; // paths of the current entry, for the callback and the report
    std::string to;
    int error = 0;

    bool namelessRefused = false; // the destination cannot hold nameless files
    bool dropInheritedAcl = false; // the destination's folder hands access control lists down
    bool kernelCopyRefused = false; // copy_file_range does not work between the two
    std::optional<dev_t> cloningRefusedBy; // last source device whose blocks the destination cannot share
    /// Where the first of several hard links went, by device and inode; relative to the destination's root.
    std::map<std::pair<dev_t, ino_t>, std::string> hardLinks;

private:
    const std::uint32_t _flags;
    FileCopyState _ownState;
    FileCopyState *const _state;
    std::unique_ptr<char[]> _buffer;
};

/// Puts "/name" behind both current paths and takes it off again.
class CopyPathStep {
public:
    CopyPathStep(FileCopySession &session, const char *name);
    ~CopyPathStep();
    CopyPathStep(const CopyPathStep &) = delete;
    CopyPathStep &operator=(const CopyPathStep &) = delete;

private:
    FileCopySession &_session;
    const std::size_t _fromSize;
    const std::size_t _toSize;
};

/// The content of `in` to the empty file `out`. The caller has seen `info` of the source.
[[nodiscard]] CopyStep copyFileData(FileCopySession &session, int in, int out, const struct stat &info);

/// A regular file, or the next hard link to one that is already there.
[[nodiscard]] CopyStep copyFile(FileCopySession &session, const CopyPlace &place, int linkRoot, std::size_t linkBase);
/// A symbolic link, without following it.
[[nodiscard]] CopyStep copyLink(FileCopySession &session, const CopyPlace &place, int linkRoot, std::size_t linkBase);
/// A folder; with COPYFILE_RECURSIVE all that it holds.
[[nodiscard]] CopyStep copyTree(FileCopySession &session, const CopyPlace &place);

} // namespace kelvane
