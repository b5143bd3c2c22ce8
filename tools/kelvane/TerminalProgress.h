// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ProgressDisplay.h"
#include "SyncView.h"

namespace kelvane::tool {

/// Bars while items are worked on, and the summary in the end.
class TerminalProgress : public SyncView {
public:
    void planned(std::uint64_t items, std::uint64_t bytes) override { _display.plan(items, bytes); }
    void itemStarted(const SyncItemNews &item) override { _display.start(item.path, item.bytes); }
    void itemStep(const SyncItemNews &item, std::string_view step) override { _display.step(item.path, step); }
    void itemProgress(const SyncItemNews &item, int percent, std::int64_t copied) override;
    void itemFinished(const SyncItemNews &item) override;
    void tick() override { _display.tick(); }
    void finished(const SyncSummary &summary) override;

protected:
    void failed(const std::string &path, const std::string &reason) override;
    void clearForLine() override { _display.clear(); }
    void drawAgain() override { _display.draw(); }

private:
    ProgressDisplay _display;
};

} // namespace kelvane::tool
