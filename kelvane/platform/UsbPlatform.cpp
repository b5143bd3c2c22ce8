// SPDX-License-Identifier: Apache-2.0
#include "UsbPlatform_p.h"

#include <algorithm>

namespace kelvane {

namespace {

using Interfaces = std::span<const UsbInterface>;
using detail::UsbTriple;

constexpr UsbTriple debugBridge{255, 66, 1};
constexpr UsbTriple pictureTransfer{6, 1, 1};
constexpr UsbTriple vendorTransfer{255, 255, 0};
constexpr UsbTriple multiplexer{255, 254, 2};
constexpr UsbTriple objectExchange{2, 11, 1};
/// The vendor whose phones and tablets are reached through a multiplexer: others use its triple for something else.
constexpr std::int32_t multiplexerVendor = 0x05AC;

bool has(Interfaces interfaces, const UsbTriple &triple)
{
    return std::any_of(interfaces.begin(), interfaces.end(), [&](const auto &one) { return one.triple == triple; });
}

/// All kinds of devices have interfaces of the vendor's own kind; those for media transfer say so in their name.
bool isVendorTransfer(const UsbInterface &one)
{
    return one.triple == vendorTransfer && one.name.find("MTP") != std::string::npos;
}

} // namespace

std::int32_t usbPlatformCode(std::int32_t vendor, Interfaces interfaces)
{
    if (vendor == multiplexerVendor && has(interfaces, multiplexer))
        return 8;
    if (has(interfaces, debugBridge))
        return 1;
    if (has(interfaces, pictureTransfer) || std::any_of(interfaces.begin(), interfaces.end(), isVendorTransfer))
        return 2;
    return has(interfaces, objectExchange) ? 4 : 0;
}

std::uint32_t usbLocation(std::uint32_t bus, std::string_view ports)
{
    std::uint32_t location = bus << 24U;
    std::uint32_t port = 0;
    int shift = 20;
    const auto take = [&] {
        if (shift >= 0)
            location |= (port & 15U) << static_cast<unsigned>(shift);
        shift -= 4;
        port = 0;
    };
    for (const char character : ports) {
        if (character >= '0' && character <= '9')
            port = std::min(port * 10 + static_cast<std::uint32_t>(character - '0'), 1000U);
        else
            take();
    }
    if (!ports.empty())
        take();
    return location;
}

} // namespace kelvane
