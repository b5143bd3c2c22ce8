// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <atomic>
#include <memory>

namespace kelvane {

/// One piece of work that runs on the thread which starts it: the base of every task.
///
/// An operation is started by whoever holds it, or by the OperationQueue that it was added to. A finished operation
/// may be started again, which is how a task that was reset runs a second time.
///
/// Threads: any thread, any operation. main() runs on the thread that calls start().
/// Ownership: shared; nothing here keeps the operation alive, the caller of start() does. start() touches the
///   operation no more once isFinished() is true, so that whoever sees that may drop the last reference.
/// Errors: start() passes on what main() throws, nothing else throws.
class KELVANE_EXPORT Operation : public std::enable_shared_from_this<Operation> {
public:
    Operation() noexcept = default;
    virtual ~Operation();
    Operation(const Operation &) = delete;
    Operation &operator=(const Operation &) = delete;

    /// Runs main() on this thread, then counts as finished. An operation that was cancelled with Operation::cancel()
    /// finishes without main(). Does nothing while the operation is executing already, and runs a finished one
    /// again. What main() throws is passed on, after the operation has become finished.
    virtual void start();
    /// The work; does nothing by itself.
    virtual void main();

    /// Asks the operation to end early. Work that runs already must look at isCancelled() to notice. The request
    /// stays for good: a restarted operation is still cancelled.
    virtual void cancel();
    /// Whether cancel() was called. start() does not ask this but the request itself, so that a task which answers
    /// here by its own rules does not change what start() does.
    [[nodiscard]] virtual bool isCancelled() const;
    /// Whether main() is running now.
    [[nodiscard]] bool isExecuting() const noexcept { return _runState.load(std::memory_order_acquire) == executing; }
    /// Whether the last start has ended. What the work did happens before an answer of true.
    [[nodiscard]] bool isFinished() const noexcept { return _runState.load(std::memory_order_acquire) == finished; }

protected:
    /// `self` as a shared pointer of its own type, for subclasses that hand themselves out: `sharedFrom(this)`.
    /// Null where no std::shared_ptr owns the object, as in its constructor and destructor.
    template <class Self>
    [[nodiscard]] static std::shared_ptr<Self> sharedFrom(Self *self) noexcept
    {
        auto owner = self->weak_from_this().lock();
        return owner ? std::shared_ptr<Self>(std::move(owner), self) : nullptr;
    }

private:
    enum RunState : unsigned char { ready, executing, finished };

    std::atomic<RunState> _runState{ready};
    std::atomic<bool> _isCancelRequested{false};
};

} // namespace kelvane
