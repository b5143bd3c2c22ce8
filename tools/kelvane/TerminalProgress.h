// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncView.h"

#include <chrono>
#include <string>
#include <unordered_map>

namespace kelvane::tool {

/// One line on a terminal for the whole run: bar, percent, items, bytes, rate, time left. What does not fit the width
/// is left out, the bar last. The width is asked for at each drawing, so that a resized window needs no signal.
class TerminalProgress : public SyncView {
public:
    TerminalProgress();
    ~TerminalProgress() override;

    void planned(std::uint64_t items, std::uint64_t bytes) override;
    void itemProgress(const SyncItemNews &item, int percent, std::int64_t copied) override;
    void itemFinished(const SyncItemNews &item) override;
    void tick() override;
    void finished(const SyncSummary &summary) override;

protected:
    void failed(const std::string &path, const std::string &reason) override;
    void clearForLine() override;
    void drawAgain() override;

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] std::string line(std::size_t width) const;
    [[nodiscard]] std::string bar(std::size_t width, double share) const;
    [[nodiscard]] std::uint64_t bytesDone() const;
    void measureRate();
    void settle(const std::string &path, std::int64_t bytes);
    void draw();
    void clear();

    const bool _hasColours;
    std::uint64_t _items = 0;
    std::uint64_t _itemsDone = 0;
    std::uint64_t _bytes = 0;
    std::uint64_t _bytesOfDone = 0;
    std::unordered_map<std::string, std::int64_t> _running; // bytes so far by path
    double _rate = 0; // bytes a second, smoothed
    std::uint64_t _measuredBytes = 0;
    Clock::time_point _measuredAt = Clock::now();
    Clock::time_point _drawnAt;
    bool _isDrawn = false;
    bool _isRunning = false;
};

} // namespace kelvane::tool
