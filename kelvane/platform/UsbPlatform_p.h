// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/UsbDescriptors.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kelvane {

/// An interface of a device, with the name it gives itself ("" for none).
struct UsbInterface {
    detail::UsbTriple triple;
    std::string name;
};

/// Which platform a device is of, as UsbDiscovery documents it.
[[nodiscard]] std::int32_t usbPlatformCode(std::int32_t vendor, std::span<const UsbInterface> interfaces);

/// Where a device is plugged in: the bus in the top byte, then the ports on the way ("1.5.2.4") in a nibble each. The
/// lowest bits of a port's number tell the sixteen ports of the largest hubs apart; no device is behind a seventh hub.
[[nodiscard]] std::uint32_t usbLocation(std::uint32_t bus, std::string_view ports);

} // namespace kelvane
