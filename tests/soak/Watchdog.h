// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <string>
#include <thread>

namespace kelvane::soak {

/// Ends the process where a piece of work takes so long that it must hang, and says which one it is and what the
/// process's threads and children wait in: whoever runs a soak unattended sees its output only.
class Watchdog {
public:
    /// `patience`: how long a piece of work may take.
    explicit Watchdog(std::chrono::seconds patience);
    ~Watchdog();
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

    /// A piece of work, from its making to its end.
    class Work {
    public:
        Work(Watchdog &watchdog, std::string name);
        ~Work();
        Work(const Work &) = delete;
        Work &operator=(const Work &) = delete;

    private:
        friend class Watchdog;
        using Clock = std::chrono::steady_clock;

        Watchdog &_watchdog;
        const std::string _name;
        const Clock::time_point _start = Clock::now();
    };

private:
    void watch();
    [[noreturn]] void endProcess(const Work &work) const;

    const std::chrono::seconds _patience;
    std::mutex _mutex;
    std::condition_variable _change; // of _isOver
    bool _isOver = false; // guarded by _mutex, as is the next
    std::list<const Work *> _works;
    std::thread _thread;
};

} // namespace kelvane::soak
