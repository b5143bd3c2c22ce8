// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace kelvane {

// What is copied of an entry.
inline constexpr std::uint32_t COPYFILE_ACL = 1U << 0; // access control lists
inline constexpr std::uint32_t COPYFILE_STAT = 1U << 1; // owner, mode and times
inline constexpr std::uint32_t COPYFILE_XATTR = 1U << 2; // extended attributes
inline constexpr std::uint32_t COPYFILE_DATA = 1U << 3; // content; required, see copyfile()
inline constexpr std::uint32_t COPYFILE_ALL = COPYFILE_ACL | COPYFILE_STAT | COPYFILE_XATTR | COPYFILE_DATA;
// How.
inline constexpr std::uint32_t COPYFILE_RECURSIVE = 1U << 15; // a folder with all that it holds
inline constexpr std::uint32_t COPYFILE_EXCL = 1U << 17; // an existing destination is an error
inline constexpr std::uint32_t COPYFILE_NOFOLLOW_SRC = 1U << 18; // a symbolic link as source is copied as a link
inline constexpr std::uint32_t COPYFILE_NOFOLLOW_DST = 1U << 19; // a symbolic link as destination is replaced
inline constexpr std::uint32_t COPYFILE_NOFOLLOW = COPYFILE_NOFOLLOW_SRC | COPYFILE_NOFOLLOW_DST;

// What a status callback is told about.
inline constexpr int COPYFILE_RECURSE_FILE = 1; // an entry of a tree that is no folder
inline constexpr int COPYFILE_RECURSE_DIR = 2; // a folder, before its content
inline constexpr int COPYFILE_RECURSE_DIR_CLEANUP = 3; // a folder after its content: attributes, mode, times
inline constexpr int COPYFILE_COPY_DATA = 4; // the content of a file
inline constexpr int COPYFILE_COPY_XATTR = 5; // one extended attribute or access control list

// Its stages.
inline constexpr int COPYFILE_START = 1;
inline constexpr int COPYFILE_FINISH = 2;
inline constexpr int COPYFILE_ERR = 3; // errno says why
inline constexpr int COPYFILE_PROGRESS = 4;

// Its answers.
inline constexpr int COPYFILE_CONTINUE = 0;
inline constexpr int COPYFILE_SKIP = 1;
inline constexpr int COPYFILE_QUIT = 2;

class FileCopyState;

/// Told about the stages of a copy; answers how to go on. `source` and `destination` are the final paths of the entry
/// in question and are valid during the call. May throw: the copy is then given up as by COPYFILE_QUIT, and the
/// exception reaches the caller of copyfile().
using CopyfileCallback = int (*)(
    int what, int stage, FileCopyState *state, const char *source, const char *destination, void *context);

/// An entry of the source that a copy has not brought over, or not whole.
struct FileCopyFailure {
    String path; // of the source
    int what = 0; // COPYFILE_RECURSE_FILE, …: COPYFILE_COPY_XATTR means that only an attribute is missing
    int error = 0; // errno
};

/// What copyfile() is told beside its flags, and what it tells back.
///
/// Threads: one at a time; the callback may read it during a copy.
/// Ownership: does not own the context of the callback.
class KELVANE_EXPORT FileCopyState {
public:
    /// Paths of failed entries are kept up to this many, so that a hostile tree does not fill the memory.
    static constexpr std::size_t failureLimit = 10000;

    /// COPYFILE_STATE_STATUS_CB. Null: nobody is told, and the first failure ends the copy.
    void setStatusCallback(CopyfileCallback callback) noexcept { _callback = callback; }
    /// COPYFILE_STATE_STATUS_CTX: handed to the callback as it is.
    void setStatusContext(void *context) noexcept { _context = context; }
    /// COPYFILE_STATE_COPIED: bytes of the current file copied so far, holes before them included; starts again with
    /// each file of a tree. Nothing if no file was begun since the state was made.
    [[nodiscard]] std::optional<std::int64_t> copied() const noexcept { return _copied; }
    /// COPYFILE_STATE_XATTRNAME: the attribute in question during a callback about one, null else.
    [[nodiscard]] const String &xattrName() const noexcept { return _xattrName; }

    /// Whether each file reaches the disk before it gets its final name, and its name before copyfile() returns:
    /// for devices that are pulled out right after. The system's memory lets go of what is on the disk. Off at first,
    /// because it costs a flush for each file.
    void setSynchronise(bool synchronise) noexcept { _synchronise = synchronise; }
    [[nodiscard]] bool synchronise() const noexcept { return _synchronise; }

    /// Entries that the last copy failed to bring over whole. More than zero is possible with a result of 0: a
    /// callback that answers COPYFILE_CONTINUE to a failure says that the copy need not be whole.
    [[nodiscard]] std::size_t failedCount() const noexcept { return _failedCount; }
    /// Them, in the order in which they failed, at most failureLimit.
    [[nodiscard]] const std::vector<FileCopyFailure> &failures() const noexcept { return _failures; }

private:
    friend class FileCopySession;

    CopyfileCallback _callback = nullptr;
    void *_context = nullptr;
    std::optional<std::int64_t> _copied;
    String _xattrName;
    bool _synchronise = false;
    std::size_t _failedCount = 0;
    std::vector<FileCopyFailure> _failures;
};

/// Copies a file, a symbolic link or, with COPYFILE_RECURSIVE, a tree. Returns 0, or -1 with errno: ECANCELED if the
/// callback quit, EEXIST for an existing destination with COPYFILE_EXCL (nothing is touched), EINVAL for a destination
/// inside the source or for one and the same file, ENOTSUP for flags without COPYFILE_DATA and for what is neither
/// file, folder nor link, EBUSY for a file that somebody wrote to meanwhile, else the error of the operation that failed.
///
/// Stages. A file without COPYFILE_RECURSIVE gives those of data and attributes alone. In a tree each entry is started
/// and finished, a folder twice (the second time as clean-up, after its content); symbolic links follow when everything
/// else is there. Inside a file: attributes, data (progress after each write once copied() is raised: none for an empty
/// file, a hole, or a clone, which shares the source's blocks), access control lists, owner, mode, times. Progress comes
/// at least every 16 MiB. FIFOs, sockets and devices are never opened; they fail with ENOTSUP.
///
/// Answers. COPYFILE_SKIP at a start leaves the entry or attribute out, in progress the file; it is no failure.
/// COPYFILE_QUIT ends the copy. COPYFILE_CONTINUE at an error goes on with the next entry (a tree then returns 0 although
/// something is missing, see FileCopyState::failures()), and after a failed write tries again, three times in all.
/// A tree whose root fails returns -1 whatever the answer.
///
/// What is left behind. A file gets its name when it is complete, attributes included: a failed, cancelled or killed copy
/// leaves no partial file under a final name, and an existing file that is replaced (without COPYFILE_EXCL) is replaced in
/// one step. Where the destination can hold nameless files nothing else remains either; elsewhere a killed process
/// leaves a hidden ".kelvane-….part". Of a tree the entries copied so far remain; folders whose clean-up was not reached
/// are recognised by their mode, 0700. An existing folder is an error with COPYFILE_EXCL and merged into without.
///
/// Kept: content with its holes, hard links inside a tree, extended attributes, access control lists, modes, times to
/// the nanosecond, and owners where permitted (set-id bits go when the owner they speak for cannot be kept). Attributes
/// that need privileges (security.*, trusted.*) are left out without them. Times of birth cannot be set on Linux.
///
/// Threads: any; each call has its own state. Blocks until the copy is done. The callback is called on the caller's thread
/// alone; small files of a tree may have been read before their turn by threads that live as long as the call. A file
/// that changes before its turn is read again.
/// `state` may be null: nobody is told, and the first failure ends the copy.
KELVANE_EXPORT int copyfile(const String &from, const String &to, FileCopyState *state, std::uint32_t flags);

} // namespace kelvane
