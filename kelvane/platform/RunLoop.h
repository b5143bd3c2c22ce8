// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/Export.h>

#include <chrono>
#include <memory>

namespace kelvane {

/// The queue of blocks that a thread runs while it waits in a slice of its run loop: how an application without a
/// main loop of its own still gets its calls in.
///
/// Threads: perform() from any thread; current() and runFor() on the loop's own.
/// Errors: what a block throws is logged as an error and goes no further.
class KELVANE_EXPORT RunLoop {
public:
    /// This thread's run loop. Lives as long as the thread, or as somebody holds it.
    [[nodiscard]] static std::shared_ptr<RunLoop> current();
    ~RunLoop();
    RunLoop(const RunLoop &) = delete;
    RunLoop &operator=(const RunLoop &) = delete;

    /// Has the loop's thread run `block` in its next slice, in the order of the calls.
    void perform(Block<void()> block);
    /// One slice: runs blocks as they come until the time is up.
    void runFor(std::chrono::milliseconds time);

private:
    RunLoop();

    struct Private;
    const std::unique_ptr<Private> d;
};

} // namespace kelvane
