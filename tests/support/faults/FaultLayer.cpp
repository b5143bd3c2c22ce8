// SPDX-License-Identifier: Apache-2.0
//
// Stands between a program and the C library, and lets the n-th call of a kind fail. Linked to a test before all other
// libraries, or preloaded into a program that was not built for it (see FaultyMain.cpp). Here is which call is hit; the
// functions that are, are in Faulty*.cpp.
//
// A process that the program starts is not hit. What the C library calls within itself cannot be seen from here; that
// is why functions such as fopen(), realpath() and dlopen() are hit as a whole.
#include "FaultLayer_p.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dirent.h>
#include <execinfo.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

FaultReport ownReport;
FaultReport *report = &ownReport;
std::atomic<std::uint32_t> kindInForce{FaultNone};
std::atomic<std::uint64_t> firstHit{0};
std::atomic<bool> goesOnFailing{false};
thread_local bool isInside __attribute__((tls_model("initial-exec"))) = false;

void append(const char *text)
{
    const std::size_t used = std::strlen(report->where);
    std::strncat(report->where, text, sizeof report->where - used - 1);
}

/// One line for a caller. Its name is known where it is exported; else addr2line finds it by its place in the file.
void appendCaller(void *address)
{
    Dl_info info{};
    if (dladdr(address, &info) == 0 || !info.dli_fname)
        return;
    int status = -1;
    char *name = info.dli_sname ? abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status) : nullptr;
    char line[400];
    std::snprintf(line, sizeof line, "  %s+%#lx %.200s\n", info.dli_fname,
        static_cast<unsigned long>(static_cast<char *>(address) - static_cast<char *>(info.dli_fbase)) - 1,
        name                 ? name
            : info.dli_sname ? info.dli_sname
                             : "");
    std::free(name);
    append(line);
}

/// Libraries that cannot live with a fault: what they call is counted, and never hit.
struct Spared {
    const char *library;
    std::uint32_t kinds;
    bool hasOthersHit = false; // what it calls itself is spared; what it calls others to do is not
};
constexpr Spared spared[] = {
    // Uses what it allocates without a look at it: it would end the process, or drop values in silence.
    {"/libplist", FaultMemory},
    // Its lists give a reference up before they allocate, and again when they are destroyed: it would end the process.
    {"/libtag.", FaultMemory, true},
    // Goes on with what it has not got.
    {"/libavcodec", FaultMemory},
    // The sanitizer looks at objects through a pipe, and takes one that it cannot make for a broken object.
    {"/libubsan", ~std::uint32_t{0}},
};

/// The callers of what is to fail.
struct Callers {
    void *addresses[40]{};
    int count = backtrace(addresses, 40);

    [[nodiscard]] bool areSpared(std::uint32_t kind) const
    {
        Dl_info info{};
        bool isFirst = true; // but for the library that has operator new
        for (int i = 2; i < count; ++i) {
            if (dladdr(addresses[i], &info) == 0 || !info.dli_fname)
                continue;
            for (const Spared &each : spared)
                if ((each.kinds & kind) != 0 && std::strstr(info.dli_fname, each.library)
                    && (isFirst || !each.hasOthersHit))
                    return true;
            isFirst = isFirst && std::strstr(info.dli_fname, "/libstdc++");
        }
        return false;
    }
};

void record(const char *function, const Callers &callers)
{
    std::strncpy(report->function, function, sizeof report->function - 1);
    for (int i = 2; i < callers.count; ++i)
        appendCaller(callers.addresses[i]);
}

} // namespace

bool isHit(const char *function, std::uint32_t kinds)
{
    const std::uint32_t kind = kindInForce.load(std::memory_order_relaxed);
    if ((kind & kinds) == 0 || isInside)
        return false;
    const std::uint64_t number = report->calls.fetch_add(1) + 1;
    const std::uint64_t first = firstHit.load();
    if (first == 0 || (number != first && !(goesOnFailing.load() && number > first)))
        return false;
    const int error = errno;
    isInside = true;
    const Callers callers;
    const bool isSpared = callers.areSpared(kind);
    if (!isSpared && report->hits.fetch_add(1) == 0)
        record(function, callers);
    isInside = false;
    errno = error;
    return !isSpared;
}

Sparing::Sparing() : _was(isInside)
{
    isInside = true;
}

Sparing::~Sparing()
{
    isInside = _was;
}

int errorInForce()
{
    switch (kindInForce.load()) {
    case FaultIo:
        return EIO;
    case FaultSpace:
        return ENOSPC;
    case FaultFiles:
        return EMFILE;
    case FaultInterrupt:
        return EINTR;
    case FaultMemory:
        return ENOMEM;
    default:
        return EAGAIN;
    }
}

bool isInForce(FaultKind kind)
{
    return kindInForce.load() == kind;
}

} // namespace kelvane::testsupport

using namespace kelvane::testsupport;

EXPORTED void kelvane_fault_begin(std::uint32_t kind, std::uint64_t first, int goesOn, FaultReport *shared)
{
    void *callers[1];
    backtrace(callers, 1); // loads what it needs now
    report = shared;
    firstHit = first;
    goesOnFailing = goesOn != 0;
    resetClock();
    kindInForce = kind;
    alarm(240); // what hangs dies
}

EXPORTED void kelvane_fault_end()
{
    kindInForce = FaultNone;
    resetClock();
}

EXPORTED long kelvane_fault_open_files()
{
    DIR *const folder = ::opendir("/proc/self/fd");
    long count = 0;
    while (folder && ::readdir(folder))
        ++count;
    if (folder)
        ::closedir(folder);
    return count;
}

EXPORTED long kelvane_fault_files_left(long before)
{
    long left = kelvane_fault_open_files() - before;
    for (int look = 0; left > 0 && look < 100; ++look) {
        ::usleep(10'000);
        left = kelvane_fault_open_files() - before;
    }
    return left;
}

EXPORTED int kelvane_fault_is_hit(const char *function, std::uint32_t kinds)
{
    return isHit(function, kinds) ? 1 : 0;
}
