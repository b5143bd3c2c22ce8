// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/RandomIdentifier.h>

#include <kelvane/platform/detail/RandomNumber.h>

namespace kelvane {

RandomIdentifier &RandomIdentifier::defaultRandom() noexcept
{
    static RandomIdentifier shared;
    return shared;
}

std::int32_t RandomIdentifier::next() noexcept
{
    return static_cast<std::int32_t>(detail::randomNumber());
}

} // namespace kelvane
