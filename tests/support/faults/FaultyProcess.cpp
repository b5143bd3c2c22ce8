// SPDX-License-Identifier: Apache-2.0
// Threads, processes and the time of day.
#include "FaultLayer_p.h"

#include <ctime>
#include <sys/time.h>
#include <unistd.h>

using namespace kelvane::testsupport;

// NOLINTBEGIN(bugprone-macro-parentheses)
// Their functions return the error.
#define FAULTY_START(name, parameters, arguments)                                                                      \
    EXPORTED int faulty_##name parameters STANDS_FOR(#name);                                                           \
    extern "C" int faulty_##name parameters                                                                            \
    {                                                                                                                  \
        static auto *const real = next<int parameters>(#name);                                                         \
        return isHit(#name, FaultThread) ? EAGAIN : real arguments;                                                    \
    }
FAULTY_START(pthread_create, (void *t, const void *a, void *(*run)(void *), void *c), (t, a, run, c))
FAULTY_START(posix_spawn, (pid_t * p, const char *n, const void *f, const void *a, char *const *v, char *const *e),
    (p, n, f, a, v, e))
FAULTY_START(posix_spawnp, (pid_t * p, const char *n, const void *f, const void *a, char *const *v, char *const *e),
    (p, n, f, a, v, e))
FAULTY(pid_t, fork, FaultThread, -1, (), ())
// NOLINTEND(bugprone-macro-parentheses)

// A library is loaded, or it is not: what goes wrong while its constructors run, nobody can catch.
EXPORTED void *faulty_dlopen(const char *path, int flags) STANDS_FOR("dlopen");
extern "C" void *faulty_dlopen(const char *path, int flags)
{
    static auto *const real = next<void *(const char *, int)>("dlopen");
    if (isHit("dlopen", FaultIo | FaultFiles | FaultMemory))
        return failed<void *>(nullptr);
    const Sparing sparing;
    return real(path, flags);
}

// The time of day

namespace {

std::atomic<long> clockStep{0}; // seconds

/// A year ahead and, the next time, back again and one more.
void stepClock(const char *function)
{
    constexpr long year = 365L * 24 * 3600;
    if (isHit(function, FaultClock))
        clockStep = clockStep.load() > 0 ? -year : year;
}

} // namespace

void kelvane::testsupport::resetClock()
{
    clockStep = 0;
}

EXPORTED int faulty_clock_gettime(clockid_t clock, timespec *time) STANDS_FOR("clock_gettime");
extern "C" int faulty_clock_gettime(clockid_t clock, timespec *time)
{
    static auto *const real = next<int(clockid_t, timespec *)>("clock_gettime");
    const bool isTimeOfDay = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
    if (isTimeOfDay)
        stepClock("clock_gettime");
    const int result = real(clock, time);
    if (result == 0 && isTimeOfDay)
        time->tv_sec += clockStep.load(std::memory_order_relaxed);
    return result;
}

EXPORTED int faulty_gettimeofday(timeval *time, void *zone) STANDS_FOR("gettimeofday");
extern "C" int faulty_gettimeofday(timeval *time, void *zone)
{
    static auto *const real = next<int(timeval *, void *)>("gettimeofday");
    stepClock("gettimeofday");
    const int result = real(time, zone);
    if (result == 0 && time)
        time->tv_sec += clockStep.load(std::memory_order_relaxed);
    return result;
}

EXPORTED time_t faulty_time(time_t *seconds) STANDS_FOR("time");
extern "C" time_t faulty_time(time_t *seconds)
{
    static auto *const real = next<time_t(time_t *)>("time");
    stepClock("time");
    const time_t now = real(nullptr) + clockStep.load(std::memory_order_relaxed);
    if (seconds)
        *seconds = now;
    return now;
}
