// SPDX-License-Identifier: Apache-2.0
//
// The layer in a program that was not built for it. Preloaded into that, these tell what is to be done, from the begin of
// main() to its end; neither the loader nor what ends the process is hit:
//
//   KELVANE_FAULT         KIND:N, the kind as its number, N counted from 1; "+" behind it for all calls from there on
//   KELVANE_FAULT_REPORT  a file of the size of FaultReport
#include "FaultLayer_p.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

using namespace kelvane::testsupport;

namespace {

using Main = int (*)(int, char **, char **);
Main realMain = nullptr;

/// Adds to the report where the open files are.
void noteOpenFiles(FaultReport &report)
{
    for (int file = 0; file < 256; ++file) {
        char door[32];
        char place[256];
        std::snprintf(door, sizeof door, "/proc/self/fd/%d", file);
        const ssize_t size = ::readlink(door, place, sizeof place);
        const std::size_t used = std::strlen(report.where);
        if (size > 0)
            std::snprintf(
                report.where + used, sizeof report.where - used, "  open: %.*s\n", static_cast<int>(size), place);
    }
}

ssize_t writeOutput(void * /*cookie*/, const char *bytes, std::size_t size)
{
    static auto *const real = next<ssize_t(int, const void *, std::size_t)>("write");
    if (isHit("write to standard output", creating))
        return failed<ssize_t>(0); // the way in which such streams tell of an error
    std::size_t written = 0;
    while (written < size) {
        const ssize_t count = real(STDOUT_FILENO, bytes + written, size - written);
        if (count < 0)
            break;
        written += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(written);
}

/// The C library writes standard output from within itself, where it cannot be hit.
void exposeOutput()
{
    cookie_io_functions_t functions{};
    functions.write = writeOutput;
    if (FILE *stream = ::fopencookie(nullptr, "w", functions))
        stdout = stream;
}

FaultReport *mapReport(const char *path)
{
    const int file = ::open(path, O_RDWR | O_CLOEXEC);
    void *memory = ::mmap(nullptr, sizeof(FaultReport), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    if (memory == MAP_FAILED)
        _exit(125);
    return static_cast<FaultReport *>(memory);
}

int faultyMain(int argc, char **argv, char **environment)
{
    char order[64]{};
    std::strncpy(order, std::getenv("KELVANE_FAULT"), sizeof order - 1);
    FaultReport *shared = mapReport(std::getenv("KELVANE_FAULT_REPORT"));
    for (const char *name : {"LD_PRELOAD", "KELVANE_FAULT", "KELVANE_FAULT_REPORT"})
        ::unsetenv(name);
    char *rest = order;
    const auto kind = static_cast<std::uint32_t>(std::strtoul(rest, &rest, 10));
    const std::uint64_t first = *rest == ':' ? std::strtoull(rest + 1, &rest, 10) : 0;
    exposeOutput();
    const long before = kelvane_fault_open_files();
    kelvane_fault_begin(kind, first, *rest == '+' ? 1 : 0, shared);
    const int code = realMain(argc, argv, environment);
    kelvane_fault_end();
    shared->filesLeft = kelvane_fault_files_left(before);
    if (shared->filesLeft > 0)
        noteOpenFiles(*shared);
    return code;
}

} // namespace

EXPORTED int faulty_start(Main main, int argc, char **argv, void (*begin)(), void (*end)(), void (*endLoader)(),
    void *stack) STANDS_FOR("__libc_start_main");
extern "C" int faulty_start(
    Main main, int argc, char **argv, void (*begin)(), void (*end)(), void (*endLoader)(), void *stack)
{
    realMain = main;
    auto *const real = next<int(Main, int, char **, void (*)(), void (*)(), void (*)(), void *)>("__libc_start_main");
    return real(std::getenv("KELVANE_FAULT") ? faultyMain : main, argc, argv, begin, end, endLoader, stack);
}
