// SPDX-License-Identifier: Apache-2.0
#include "ProgressDisplay.h"

#include "Terminal.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kelvane::tool {
namespace {

void write(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

std::string rateText(double rate)
{
    return bytesText(static_cast<std::uint64_t>(rate)) + "/s";
}

std::string timeLeft(std::uint64_t bytes, double rate)
{
    return durationText(static_cast<std::uint64_t>(std::llround(static_cast<double>(bytes) / rate))) + " left";
}

double shareOf(std::uint64_t done, std::uint64_t all)
{
    return all > 0 ? static_cast<double>(std::min(done, all)) / static_cast<double>(all) : 0;
}

} // namespace

ProgressDisplay::ProgressDisplay() : _hasColours(Terminal::hasColours()) {}

ProgressDisplay::~ProgressDisplay()
{
    clear();
}

void ProgressDisplay::plan(std::uint64_t items, std::uint64_t bytes)
{
    _items = items;
    _bytes = bytes;
    _itemsDone = 0; // what failed while the plan was made is not in it
    _bytesOfDone = 0;
    _isRunning = items > 0;
    _meter = {};
    draw();
}

void ProgressDisplay::start(const std::string &path, std::int64_t bytes)
{
    _running.push_back({path, static_cast<std::uint64_t>(std::max<std::int64_t>(bytes, 0)), 0, {}, {}});
    tick();
}

ProgressDisplay::Item *ProgressDisplay::find(const std::string &path)
{
    const auto found =
        std::find_if(_running.begin(), _running.end(), [&](const Item &item) { return item.path == path; });
    return found == _running.end() ? nullptr : &*found;
}

void ProgressDisplay::step(const std::string &path, std::string_view step)
{
    if (Item *item = find(path))
        item->step = printable(step);
    tick();
}

void ProgressDisplay::progress(const std::string &path, std::int64_t bytesSoFar)
{
    if (Item *item = find(path))
        item->done = std::min(static_cast<std::uint64_t>(std::max<std::int64_t>(bytesSoFar, 0)), item->bytes);
    tick();
}

void ProgressDisplay::settle(const std::string &path, std::int64_t bytes)
{
    std::erase_if(_running, [&](const Item &item) { return item.path == path; });
    ++_itemsDone;
    _bytesOfDone += static_cast<std::uint64_t>(std::max<std::int64_t>(bytes, 0));
    tick();
}

void ProgressDisplay::tick()
{
    constexpr std::chrono::milliseconds drawInterval{80};
    if (!_isRunning || Clock::now() - _drawnAt < drawInterval)
        return;
    _meter.measure(bytesDone());
    for (Item &item : _running)
        item.meter.measure(item.done);
    draw();
}

std::uint64_t ProgressDisplay::bytesDone() const
{
    std::uint64_t done = _bytesOfDone;
    for (const Item &item : _running)
        done += item.done;
    return std::min(done, _bytes);
}

ProgressFacts ProgressDisplay::whole() const
{
    const std::uint64_t done = bytesDone();
    ProgressFacts facts;
    facts.share = _bytes > 0 ? shareOf(done, _bytes) : shareOf(_itemsDone, _items);
    facts.parts.push_back(std::to_string(_itemsDone) + '/' + std::to_string(_items));
    const double rate = done < _bytes ? _meter.rate() : 0;
    if (rate > 0)
        facts.parts.push_back(timeLeft(_bytes - done, rate));
    if (_bytes > 0)
        facts.parts.push_back(bytesText(done) + " of " + bytesText(_bytes));
    if (rate > 0)
        facts.parts.push_back(rateText(rate));
    return facts;
}

ProgressFacts ProgressDisplay::factsOf(const Item &item)
{
    ProgressFacts facts;
    facts.label = printable(lastComponent(item.path));
    facts.share = shareOf(item.done, item.bytes);
    if (!item.step.empty())
        facts.parts.push_back(item.step);
    const double rate = item.done < item.bytes ? item.meter.rate() : 0; // nothing is left once it is copied
    if (rate > 0)
        facts.parts.push_back(timeLeft(item.bytes - item.done, rate));
    facts.parts.push_back(bytesText(item.done) + " of " + bytesText(item.bytes));
    if (rate > 0)
        facts.parts.push_back(rateText(rate));
    return facts;
}

// The cursor stays where the first line begins, and no line wraps while it is written: so the next drawing begins at the
// right place, whatever a resized window has made of the lines meanwhile, and however late we are told of its width.
void ProgressDisplay::draw()
{
    if (!_isRunning)
        return;
    // The last column stays free: some terminals begin a new line once something is written there.
    const std::size_t width = Terminal::columns() - 1;
    // One item alone is the whole.
    const std::size_t shown = _items < 2 ? 0 : std::min(_running.size(), Terminal::rows() - 1);
    std::string text = "\r\x1b[?7l";
    for (std::size_t i = 0; i < shown; ++i)
        text += progressLine(factsOf(_running[i]), width, _hasColours) + "\x1b[K\n";
    text += progressLine(whole(), width, _hasColours) + "\x1b[J\x1b[?7h";
    if (shown > 0)
        text += "\x1b[" + std::to_string(shown) + 'A';
    write(text + '\r');
    _isDrawn = true;
    _drawnAt = Clock::now();
}

void ProgressDisplay::clear()
{
    if (_isDrawn)
        write("\r\x1b[J");
    _isDrawn = false;
}

void ProgressDisplay::finish()
{
    clear();
    _isRunning = false;
}

} // namespace kelvane::tool
