// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Text.h"

#include <clocale>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <new>
#include <unistd.h>

namespace {

/// Covers and blocks of files come and go by the thousand: memory that goes back to the system after each of them costs a
/// fault for every page of the next.
void keepFreedMemory()
{
#if defined(__GLIBC__)
    constexpr int mebibyte = 1 << 20;
    mallopt(M_MMAP_THRESHOLD, 4 * mebibyte);
    mallopt(M_TRIM_THRESHOLD, 32 * mebibyte);
#endif
}

// A file that is opened where standard input, output or error was closed would take their number, and get what is printed.
// The way round, so that who writes to them hears of it.
void reserveStandardFiles()
{
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(file, F_GETFD) < 0)
            (void)::open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

} // namespace

int main(int argc, char **argv)
{
    using namespace kelvane::tool;
    keepFreedMemory();
    reserveStandardFiles();
    // For the width of characters on the terminal; numbers and messages stay as they are.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    try {
        return runCommandLine(argc, argv);
    } catch (const StopError &error) {
        std::fprintf(stderr, "kelvane: %s\n", error.what());
        return error.code();
    } catch (const std::bad_alloc &) {
        std::fputs("kelvane: there is not enough memory\n", stderr);
        return ExitCannotStart;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "kelvane: %s\n", printable(error.what()).c_str());
        return ExitCannotStart;
    }
}
