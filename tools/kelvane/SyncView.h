// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncSummary.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvane::tool {

/// Something that a view tells of one item. Names come as they are; views make them printable.
struct SyncItemNews {
    std::string path; // of the source
    std::string devicePath; // "" where there is none yet
    std::string_view what; // "add", "change", "delete" or "verify"
    std::int64_t bytes = 0; // size of the source
};

/// Shows the user how a sync goes. There is one view for each kind of reader: a terminal, a log, a program.
///
/// Threads: one call at a time, on any thread.
class SyncView {
public:
    SyncView() = default;
    SyncView(const SyncView &) = delete;
    SyncView &operator=(const SyncView &) = delete;
    virtual ~SyncView() = default;

    /// The number of items and bytes that there are to do.
    virtual void planned(std::uint64_t /*items*/, std::uint64_t /*bytes*/) {}
    /// What would be done, in a dry run.
    virtual void itemPlanned(const SyncItemNews & /*item*/) {}
    virtual void itemStarted(const SyncItemNews & /*item*/) {}
    virtual void itemStep(const SyncItemNews & /*item*/, std::string_view /*step*/) {}
    /// `copied` bytes of the item so far.
    virtual void itemProgress(const SyncItemNews & /*item*/, int /*percent*/, std::int64_t /*copied*/) {}
    virtual void itemFinished(const SyncItemNews & /*item*/) {}
    /// A line of what, which file and why goes to standard error in every view.
    void itemFailed(const std::string &path, std::string_view what, const std::string &reason);
    virtual void itemSkipped(const std::string & /*path*/, std::string_view /*reason*/) {}
    /// A line for standard error.
    void errorLine(const std::string &printableLine);
    /// Called several times a second while items are worked on.
    virtual void tick() {}
    virtual void finished(const SyncSummary & /*summary*/) {}

protected:
    virtual void failed(const std::string & /*path*/, const std::string & /*reason*/) {}
    /// Before and after a line of standard error, for views that draw on the same terminal.
    virtual void clearForLine() {}
    virtual void drawAgain() {}
};

/// "copy", "replace", "remove", "verify".
[[nodiscard]] std::string_view verb(std::string_view what);
/// "copied", "replaced", "removed", "verified".
[[nodiscard]] std::string_view pastTense(std::string_view what);

} // namespace kelvane::tool
