// SPDX-License-Identifier: Apache-2.0
#include "Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kelvane::tool::Terminal {

bool isPresent()
{
    const char *kind = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) && !(kind && std::strcmp(kind, "dumb") == 0);
}

bool hasColours()
{
    const char *noColour = std::getenv("NO_COLOR");
    return isPresent() && !(noColour && *noColour);
}

std::size_t columns()
{
    constexpr std::size_t usual = 80;
    constexpr std::size_t smallest = 20;
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return std::max<std::size_t>(size.ws_col, smallest);
    const char *text = std::getenv("COLUMNS");
    const long asked = text ? std::strtol(text, nullptr, 10) : 0;
    return asked > 0 && asked < 100000 ? std::max(static_cast<std::size_t>(asked), smallest) : usual;
}

std::size_t rows()
{
    winsize size{};
    const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0;
    return isKnown ? std::max<std::size_t>(size.ws_row, 2) : 24;
}

} // namespace kelvane::tool::Terminal
