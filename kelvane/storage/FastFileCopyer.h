// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/AtomicProperty.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/FileCopy.h>
#include <kelvane/storage/FastFileCopyerDelegate.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace kelvane {

class SerialQueue;

/// Copies one file or one folder tree on the local disk with copyfile(), tells a delegate the bytes copied, and stops
/// when it is cancelled. What a copy keeps and what a failed one leaves behind is said there. A copier may be used again
/// and again, one copy at a time.
///
/// Threads: properties may be read, and a copy cancelled, from any thread. Start copies from one thread at a time.
/// Ownership: make it with std::make_shared. Does not keep its delegate alive; a queued copy keeps the copier alive.
/// Errors: state() 3, resultCode() and the logged lines; what a delegate throws is passed on by the synchronous copy.
class KELVANE_EXPORT FastFileCopyer : public std::enable_shared_from_this<FastFileCopyer> {
public:
    FastFileCopyer() = default;
    virtual ~FastFileCopyer();
    FastFileCopyer(const FastFileCopyer &) = delete;
    FastFileCopyer &operator=(const FastFileCopyer &) = delete;

    /// Copies on this thread and returns when it is done. Withdraws an earlier cancellation. An existing destination
    /// is an error, a symbolic link is copied as a link. A source that does not exist (also a link that leads nowhere)
    /// gives state 3 and leaves resultCode() and copiedAllSize() as they were. @selector fileCopyFromPath:toPath:
    void fileCopyFromPath(const String &from, const String &to);
    /// Stores the paths and returns; the copy follows on fastFileCopyerQueue() when all those queued before are done.
    /// A copy that waits there cannot be cancelled, because it withdraws the cancellation when it begins.
    /// @selector asyncfileCopyFromPath:toPath:
    void asyncfileCopyFromPath(const String &from, const String &to);

    /// Requests, or withdraws, that the copy stops; looked at between its parts. @selector setIsCancelled:
    void setIsCancelled(bool isCancelled) noexcept { _isCancelled.store(isCancelled); }
    [[nodiscard]] bool isCancelled() const noexcept { return _isCancelled.load(); }

    [[nodiscard]] std::shared_ptr<FastFileCopyerDelegate> delegate() const { return _delegate.get().lock(); }
    void setDelegate(const std::shared_ptr<FastFileCopyerDelegate> &delegate) { _delegate.set(delegate); }

    /// Before each copy as well: whether files reach the disk before they get their final names, and leave memory then, so that
    /// what is read again comes from the disk. Off at first.
    void setSynchronise(bool synchronise) noexcept { _synchronise.store(synchronise); }

    /// 0 new, 1 copying, 2 succeeded, 3 failed. Keeps the last outcome until the next copy really begins.
    [[nodiscard]] std::int64_t state() const noexcept { return _state.load(); }
    /// What the last copyfile() returned: 0 is success.
    [[nodiscard]] std::int32_t resultCode() const noexcept { return _resultCode.load(); }
    /// Bytes of the source as its own attributes give them: for a folder that of its entry, not of its content.
    [[nodiscard]] std::int64_t totalSize() const noexcept { return _totalSize.load(); }
    /// Bytes of the current file so far; starts again with each file of a tree.
    [[nodiscard]] std::int64_t copiedSize() const noexcept { return _copiedSize.load(); }
    /// For the status callback.
    void setCopiedSize(std::int64_t copiedSize) noexcept { _copiedSize.store(copiedSize); }
    /// The totalSize() of each copy finished by this copier, failed ones included, and copiedSize().
    [[nodiscard]] std::int64_t copiedAllSize() const noexcept { return _copiedAllSize.load() + _copiedSize.load(); }
    [[nodiscard]] String fromPath() const { return _fromPath.get(); }
    [[nodiscard]] String toPath() const { return _toPath.get(); }

    /// What copyfile() is told for the current source: everything, no existing destination, no following of links; the
    /// whole tree if the source is a folder (or a link to one).
    [[nodiscard]] std::uint32_t flags() const;

    /// errno of the last copy that returned other than 0, ECANCELED if it was cancelled; 0 else.
    [[nodiscard]] std::int32_t errorNumber() const noexcept { return _errorNumber.load(); }
    /// Entries of the last tree that did not arrive whole. Ask even after state 2: a tree goes on after a failed entry.
    [[nodiscard]] std::size_t failedCount() const noexcept { return _failedCount.load(); }
    /// Them; at most FileCopyState::failureLimit.
    [[nodiscard]] std::vector<FileCopyFailure> failures() const;

    /// The queue of the process on which all asynchronous copies run, one at a time.
    [[nodiscard]] static SerialQueue &fastFileCopyerQueue();

    /// The status callback of a copy, with the copier as context: logs the stages and keeps copiedSize(). For programs
    /// that call copyfile() with flags of their own and want the same reports.
    static int copyStatus(
        int what, int stage, FileCopyState *state, const char *source, const char *destination, void *context);

private:
    void setFromPath(const String &fromPath);
    void setToPath(const String &toPath);
    void runCopy(std::uint32_t flags);
    void dataProgress(const FileCopyState *state);
    void tellDelegate(void (FastFileCopyerDelegate::*message)(FastFileCopyer &));

    std::atomic<std::int64_t> _state{0};
    detail::AtomicProperty<String> _fromPath;
    detail::AtomicProperty<String> _toPath;
    detail::AtomicProperty<std::weak_ptr<FastFileCopyerDelegate>> _delegate;
    std::atomic<bool> _isCancelled{false};
    std::atomic<std::int32_t> _resultCode{0};
    std::atomic<std::int64_t> _totalSize{0};
    std::atomic<std::int64_t> _copiedSize{0};
    std::atomic<std::int64_t> _copiedAllSize{0};

    std::atomic<bool> _synchronise{false};
    std::atomic<std::int32_t> _errorNumber{0};
    std::atomic<std::size_t> _failedCount{0};
    detail::AtomicProperty<std::shared_ptr<const std::vector<FileCopyFailure>>> _failures;
};

} // namespace kelvane
