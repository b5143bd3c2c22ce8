// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ProgressLine.h"
#include "RateMeter.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::tool {

/// Lines at the bottom of a terminal: one for each running item, and one for the whole with bar, percent, items, bytes,
/// rate, time left. What does not fit the width is left out, the bar last. The width is asked for at each drawing, so
/// that a resized window needs no signal.
///
/// Threads: one call at a time.
class ProgressDisplay {
public:
    ProgressDisplay();
    ProgressDisplay(const ProgressDisplay &) = delete;
    ProgressDisplay &operator=(const ProgressDisplay &) = delete;
    ~ProgressDisplay();

    /// What there is to do. Nothing is drawn before.
    void plan(std::uint64_t items, std::uint64_t bytes);
    /// Items are known by a path, or any other name, which is shown.
    void start(const std::string &path, std::int64_t bytes);
    void step(const std::string &path, std::string_view step);
    void progress(const std::string &path, std::int64_t bytesSoFar);
    /// The end of an item, good or bad; `bytes` of it count as done.
    void settle(const std::string &path, std::int64_t bytes);
    /// Called several times a second.
    void tick();
    /// Takes the lines from the terminal, for others that are to stand there, and puts them back.
    void clear();
    void draw();
    /// The end: nothing is drawn any more.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    struct Item {
        std::string path;
        std::uint64_t bytes;
        std::uint64_t done;
        std::string step;
        RateMeter meter;
    };

    [[nodiscard]] Item *find(const std::string &path);
    [[nodiscard]] std::uint64_t bytesDone() const;
    [[nodiscard]] ProgressFacts whole() const;
    [[nodiscard]] static ProgressFacts factsOf(const Item &item);

    const bool _hasColours;
    bool _isRunning = false;
    std::uint64_t _items = 0;
    std::uint64_t _itemsDone = 0;
    std::uint64_t _bytes = 0;
    std::uint64_t _bytesOfDone = 0;
    std::vector<Item> _running; // in the order in which they began
    RateMeter _meter;
    Clock::time_point _drawnAt;
    bool _isDrawn = false;
};

} // namespace kelvane::tool
