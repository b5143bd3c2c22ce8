// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Text.h"

#include <clocale>
#include <cstdio>
#include <exception>

int main(int argc, char **argv)
{
    using namespace kelvane::tool;
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
