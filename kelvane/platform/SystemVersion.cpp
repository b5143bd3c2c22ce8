// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/SystemVersion.h>

#include <kelvane/foundation/detail/AtomicProperty.h>

namespace kelvane {

namespace {

detail::AtomicProperty<SystemVersion> &version() noexcept
{
    static detail::AtomicProperty<SystemVersion> current{SystemVersion{11, 0}};
    return current;
}

} // namespace

SystemVersion SystemVersion::current() noexcept
{
    return version().get();
}

SystemVersion SystemVersion::setCurrent(SystemVersion newVersion) noexcept
{
    return version().exchange(newVersion);
}

} // namespace kelvane
