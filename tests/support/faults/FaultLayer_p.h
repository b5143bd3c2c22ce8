// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FaultReport.h"

#include <cerrno>
#include <dlfcn.h>

// What the functions of the layer share that stand for those of the C library.

namespace kelvane::testsupport {

/// Whether this call of `function` is to go wrong, being one that `kinds` can hit.
[[nodiscard]] bool isHit(const char *function, std::uint32_t kinds);
/// The errno of the kind of fault in force.
[[nodiscard]] int errorInForce();
[[nodiscard]] bool isInForce(FaultKind kind);
/// While it lives, no call of this thread is counted or hit.
class Sparing {
public:
    Sparing();
    ~Sparing();
    Sparing(const Sparing &) = delete;
    Sparing &operator=(const Sparing &) = delete;

private:
    const bool _was;
};
/// Takes back the jumps of the time of day.
void resetClock();

/// The function that this layer stands before.
template <class Function>
Function *next(const char *name)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

template <class Result>
Result failed(Result result)
{
    errno = errorInForce();
    return result;
}

constexpr std::uint32_t creating = FaultIo | FaultSpace;

} // namespace kelvane::testsupport

// Each function is defined under a name of its own that the assembler gets to see as the real one: the headers declare
// these with all kinds of attributes that a second declaration would have to repeat.
#define STANDS_FOR(name) __asm__(name)
#define EXPORTED extern "C" __attribute__((visibility("default")))

// A function that fails by a result and errno.
#define FAULTY(result, name, kinds, failure, parameters, arguments)                                                    \
    EXPORTED result faulty_##name parameters STANDS_FOR(#name);                                                        \
    extern "C" result faulty_##name parameters                                                                         \
    {                                                                                                                  \
        static auto *const real = next<result parameters>(#name);                                                      \
        return isHit(#name, kinds) ? failed<result>(failure) : real arguments;                                         \
    }
