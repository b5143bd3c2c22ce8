// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kelvane::detail {

/// Class, subclass and protocol: what an interface of a USB device is for.
struct UsbTriple {
    std::uint8_t interfaceClass = 0;
    std::uint8_t subClass = 0;
    std::uint8_t protocol = 0;
    friend bool operator==(const UsbTriple &, const UsbTriple &) = default;
};

struct UsbDescribedInterface {
    std::uint8_t number = 0; // within its configuration
    UsbTriple triple;
    friend bool operator==(const UsbDescribedInterface &, const UsbDescribedInterface &) = default;
};

/// The interfaces that a device has in one of its configurations, the first setting of each.
struct UsbConfiguration {
    std::uint8_t value = 0; // the number that the device is told to be in this configuration
    std::vector<UsbDescribedInterface> interfaces;
};

/// The configurations in the descriptors that a device has answered. They come from the device itself and may be any bytes:
/// reading ends at the first descriptor that is too short or longer than what is left.
[[nodiscard]] KELVANE_EXPORT std::vector<UsbConfiguration> readUsbDescriptors(std::span<const std::byte> bytes);

} // namespace kelvane::detail
