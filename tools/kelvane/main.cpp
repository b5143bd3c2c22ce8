// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Text.h"

#include <clocale>
#include <cstdio>
#include <exception>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

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

} // namespace

int main(int argc, char **argv)
{
    using namespace kelvane::tool;
    keepFreedMemory();
    // For the width of characters on the terminal; numbers and messages stay as they are.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    try {
        return runCommandLine(argc, argv);
    } catch (const StopError &error) {
        std::fprintf(stderr, "kelvane: %s\n", error.what());
        return error.code();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "kelvane: %s\n", printable(error.what()).c_str());
        return ExitCannotStart;
    }
}
