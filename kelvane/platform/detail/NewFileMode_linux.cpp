// SPDX-License-Identifier: Apache-2.0
#include "NewFileMode.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace kelvane::detail {

mode_t newFileMode() noexcept
{
    constexpr mode_t everybody = 0666;
    constexpr mode_t usualMask = 022; // where the system does not tell
    constexpr std::string_view label = "\nUmask:";
    std::array<char, 512> text{};
    const int status = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (status < 0)
        return everybody & ~usualMask;
    const ssize_t size = ::read(status, text.data(), text.size() - 1);
    ::close(status);
    const std::string_view lines(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    const std::size_t at = lines.find(label);
    if (at == std::string_view::npos)
        return everybody & ~usualMask;
    return everybody & ~static_cast<mode_t>(std::strtoul(text.data() + at + label.size(), nullptr, 8));
}

} // namespace kelvane::detail
