// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/SystemVersion.h>

#include <atomic>

namespace kelvane {

namespace {

std::atomic<SystemVersion> &version() noexcept
{
    static std::atomic<SystemVersion> current{SystemVersion{11, 0}};
    return current;
}

} // namespace

SystemVersion SystemVersion::current() noexcept
{
    return version().load(std::memory_order_relaxed);
}

SystemVersion SystemVersion::setCurrent(SystemVersion newVersion) noexcept
{
    return version().exchange(newVersion, std::memory_order_relaxed);
}

} // namespace kelvane
