// SPDX-License-Identifier: Apache-2.0
#include "Watchdog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kelvane::soak {
namespace {

namespace fs = std::filesystem;

std::string textOf(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    std::replace(text.begin(), text.end(), '\0', ' '); // between the arguments of a command
    while (text.ends_with('\n'))
        text.pop_back();
    return text;
}

// Processes that end meanwhile are left out.
void printThreads(const fs::path &process, const std::string &margin)
{
    std::fprintf(stderr, "%s%s: %s\n", margin.c_str(), process.filename().c_str(), textOf(process / "cmdline").c_str());
    std::error_code ignored;
    for (const auto &thread : fs::directory_iterator(process / "task", ignored)) {
        const fs::path &path = thread.path();
        std::fprintf(stderr, "%s  %s %s: in %s, system call %s\n", margin.c_str(), path.filename().c_str(),
            textOf(path / "comm").c_str(), textOf(path / "wchan").c_str(), textOf(path / "syscall").c_str());
        std::ifstream children(path / "children");
        for (std::string child; children >> child;)
            printThreads(fs::path("/proc") / child, margin + "    ");
    }
}

} // namespace

Watchdog::Watchdog(std::chrono::seconds patience) : _patience(patience), _thread(&Watchdog::watch, this) {}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard guard(_mutex);
        _isOver = true;
    }
    _change.notify_all();
    _thread.join();
}

Watchdog::Work::Work(Watchdog &watchdog, std::string name) : _watchdog(watchdog), _name(std::move(name))
{
    const std::lock_guard guard(_watchdog._mutex);
    _watchdog._works.push_back(this);
}

Watchdog::Work::~Work()
{
    const std::lock_guard guard(_watchdog._mutex);
    _watchdog._works.remove(this);
}

void Watchdog::watch()
{
    std::unique_lock lock(_mutex);
    while (!_isOver) {
        for (const Work *work : _works)
            if (Work::Clock::now() - work->_start > _patience)
                endProcess(*work);
        _change.wait_for(lock, std::chrono::seconds(1));
    }
}

void Watchdog::endProcess(const Work &work) const
{
    std::fprintf(
        stderr, "HANGS: %s, for %lld seconds\n", work._name.c_str(), static_cast<long long>(_patience.count()));
    printThreads("/proc/self", "");
    std::abort();
}

} // namespace kelvane::soak
