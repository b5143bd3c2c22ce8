// SPDX-License-Identifier: Apache-2.0
#include "TerminalProgress.h"

#include "Terminal.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace kelvane::tool {
namespace {

constexpr std::chrono::milliseconds drawInterval{80};
constexpr std::chrono::milliseconds measureInterval{400};
constexpr std::size_t smallestBar = 10;
constexpr std::size_t largestBar = 30;

void write(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace

TerminalProgress::TerminalProgress() : _hasColours(Terminal::hasColours()) {}

TerminalProgress::~TerminalProgress()
{
    clear();
}

void TerminalProgress::planned(std::uint64_t items, std::uint64_t bytes)
{
    _items = items;
    _bytes = bytes;
    _isRunning = items > 0;
    _measuredAt = Clock::now();
    draw();
}

void TerminalProgress::itemProgress(const SyncItemNews &item, int /*percent*/, std::int64_t copied)
{
    _running[item.path] = copied;
    tick();
}

void TerminalProgress::settle(const std::string &path, std::int64_t bytes)
{
    _running.erase(path);
    ++_itemsDone;
    _bytesOfDone += static_cast<std::uint64_t>(bytes);
    tick();
}

void TerminalProgress::itemFinished(const SyncItemNews &item)
{
    settle(item.path, item.what == "delete" ? 0 : item.bytes);
}

void TerminalProgress::failed(const std::string &path, const std::string & /*reason*/)
{
    if (_isRunning)
        settle(path, 0);
}

void TerminalProgress::tick()
{
    if (_isRunning && Clock::now() - _drawnAt >= drawInterval) {
        measureRate();
        draw();
    }
}

void TerminalProgress::measureRate()
{
    const Clock::duration elapsed = Clock::now() - _measuredAt;
    if (elapsed < measureInterval)
        return;
    const double seconds = std::chrono::duration<double>(elapsed).count();
    const std::uint64_t done = bytesDone();
    const double present = done > _measuredBytes ? static_cast<double>(done - _measuredBytes) / seconds : 0;
    // Half of what was a second and a half ago is forgotten: steady enough to read, quick enough to believe.
    const double kept = _rate == 0 ? 0 : std::pow(0.5, seconds / 1.5);
    _rate = _rate * kept + present * (1 - kept);
    _measuredBytes = done;
    _measuredAt = Clock::now();
}

std::uint64_t TerminalProgress::bytesDone() const
{
    std::uint64_t done = _bytesOfDone;
    for (const auto &[path, copied] : _running)
        done += static_cast<std::uint64_t>(copied);
    return std::min(done, _bytes);
}

std::string TerminalProgress::bar(std::size_t width, double share) const
{
    const auto full = static_cast<std::size_t>(share * static_cast<double>(width));
    const std::string done(full, '#');
    const std::string rest(width - full, '.');
    return _hasColours ? "[\x1b[32m" + done + "\x1b[2;39m" + rest + "\x1b[0m]" : "[" + done + rest + "]";
}

std::string TerminalProgress::line(std::size_t width) const
{
    const std::uint64_t done = bytesDone();
    const double share = _bytes > 0 ? static_cast<double>(done) / static_cast<double>(_bytes)
                                    : static_cast<double>(_itemsDone) / static_cast<double>(_items);
    // In the order of their importance.
    std::vector<std::string> parts{
        fittedRight(std::to_string(static_cast<int>(share * 100)) + '%', 5),
        "  " + std::to_string(_itemsDone) + '/' + std::to_string(_items),
    };
    if (_rate > 0)
        parts.push_back("  "
            + durationText(static_cast<std::uint64_t>(std::llround(static_cast<double>(_bytes - done) / _rate)))
            + " left");
    parts.push_back("  " + bytesText(done) + " of " + bytesText(_bytes));
    if (_rate > 0)
        parts.push_back("  " + bytesText(static_cast<std::uint64_t>(_rate)) + "/s");
    constexpr std::size_t brackets = 2;
    std::string text;
    for (const std::string &part : parts)
        if (text.size() + part.size() + smallestBar + brackets <= width)
            text += part;
    if (text.size() + smallestBar + brackets > width)
        return fitted(parts.front(), width);
    return bar(std::min(width - text.size() - brackets, largestBar), share) + text;
}

// Terminals learn of a new width before their programs do, and wrap what stands on them or is on its way. So the line is
// written without wrapping, and the cursor waits at its beginning: from there everything behind can be erased, whatever
// became of it.
void TerminalProgress::draw()
{
    if (!_isRunning)
        return;
    // The last column stays free: some terminals begin a new line once something is written there.
    write("\x1b[?7l" + line(Terminal::columns() - 1) + "\x1b[J\x1b[?7h\r");
    _isDrawn = true;
    _drawnAt = Clock::now();
}

void TerminalProgress::clear()
{
    if (_isDrawn)
        write("\x1b[J");
    _isDrawn = false;
}

void TerminalProgress::clearForLine()
{
    clear();
}

void TerminalProgress::drawAgain()
{
    draw();
}

void TerminalProgress::finished(const SyncSummary &summary)
{
    _isRunning = false;
    clear();
    const bool isGood = summary.failed == 0 && !summary.isInterrupted;
    const std::string mark = !_hasColours ? "" : isGood ? "\x1b[32m" : "\x1b[33m";
    write(mark + summaryText(summary) + (_hasColours ? "\x1b[0m\n" : "\n"));
}

} // namespace kelvane::tool
