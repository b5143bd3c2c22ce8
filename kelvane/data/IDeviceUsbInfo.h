// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

/// A device as USB sees it: who made it, which one it is, and where it is plugged in.
///
/// Threads: one at a time.
class KELVANE_EXPORT IDeviceUsbInfo {
public:
    virtual ~IDeviceUsbInfo();

    /// Where the device is plugged in, as a text.
    [[nodiscard]] virtual String Id() const = 0;
    /// The vendor's number and the product's, as registered.
    [[nodiscard]] virtual std::int32_t VID() const = 0;
    [[nodiscard]] virtual std::int32_t PID() const = 0;
    [[nodiscard]] virtual String serialNumber() const = 0;
    /// What the device calls itself.
    [[nodiscard]] virtual String usbProductName() const = 0;

    /// Reads the base information anew from `properties`. @selector LoadBaseInfo:
    virtual void LoadBaseInfo(const Dictionary &properties) = 0;
    /// The device has another location and product, because it switched its mode. @selector changeId:devicePid:
    virtual void changeId(const String &deviceId, std::int32_t devicePid) = 0;
    /// Asks the device for another state; whether it took it. @selector changeState:
    virtual bool changeState(std::uint64_t state) = 0;
    /// Makes it safe to unplug the device.
    virtual bool eject() = 0;

protected:
    IDeviceUsbInfo() = default;
    IDeviceUsbInfo(const IDeviceUsbInfo &) = default;
    IDeviceUsbInfo &operator=(const IDeviceUsbInfo &) = default;
};

} // namespace kelvane
