// SPDX-License-Identifier: Apache-2.0
#include "WorkProgress.h"

#include "Terminal.h"

#include <cstdio>

namespace kelvane::tool {

WorkProgress::WorkProgress(const OutputOptions &output)
{
    if (Terminal::isPresent() && !output.isJson && !output.isVerbose)
        _display.emplace();
}

void WorkProgress::plan(std::uint64_t items, std::uint64_t bytes)
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->plan(items, bytes);
}

void WorkProgress::start(const std::string &path, std::int64_t bytes)
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->start(path, bytes);
}

void WorkProgress::progress(const std::string &path, std::int64_t bytesSoFar)
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->progress(path, bytesSoFar);
}

void WorkProgress::settle(const std::string &path, std::int64_t bytes)
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->settle(path, bytes);
}

void WorkProgress::tick()
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->tick();
}

void WorkProgress::finish()
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->finish();
}

void WorkProgress::print(const std::string &lines)
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->clear();
    std::fwrite(lines.data(), 1, lines.size(), stdout);
    std::fflush(stdout);
    if (_display)
        _display->draw();
}

void WorkProgress::printError(const std::string &line)
{
    const std::lock_guard guard(_mutex);
    if (_display)
        _display->clear();
    const std::string text = "kelvane: " + line + '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
    if (_display)
        _display->draw();
}

} // namespace kelvane::tool
