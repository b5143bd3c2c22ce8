// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/UsbDescriptors.h>

namespace kelvane::detail {

namespace {

// Every descriptor begins with its length and its kind; offsets of what is read of each kind follow.
constexpr std::size_t kindOffset = 1;
constexpr std::uint8_t configurationKind = 2;
constexpr std::size_t configurationLength = 9;
constexpr std::size_t configurationValueOffset = 5;
constexpr std::uint8_t interfaceKind = 4;
constexpr std::size_t interfaceLength = 9;
constexpr std::size_t interfaceNumberOffset = 2;
constexpr std::size_t alternateSettingOffset = 3;
constexpr std::size_t interfaceClassOffset = 5;

} // namespace

std::vector<UsbConfiguration> readUsbDescriptors(std::span<const std::byte> bytes)
{
    std::vector<UsbConfiguration> configurations;
    while (bytes.size() > kindOffset) {
        const auto length = std::to_integer<std::size_t>(bytes[0]);
        if (length <= kindOffset || length > bytes.size())
            break;
        const auto at = [&](std::size_t offset) { return std::to_integer<std::uint8_t>(bytes[offset]); };
        if (at(kindOffset) == configurationKind && length >= configurationLength) {
            configurations.push_back({at(configurationValueOffset), {}});
        } else if (at(kindOffset) == interfaceKind && length >= interfaceLength && !configurations.empty()
            && at(alternateSettingOffset) == 0) {
            configurations.back().interfaces.push_back({at(interfaceNumberOffset),
                {at(interfaceClassOffset), at(interfaceClassOffset + 1), at(interfaceClassOffset + 2)}});
        }
        bytes = bytes.subspan(length);
    }
    return configurations;
}

} // namespace kelvane::detail
