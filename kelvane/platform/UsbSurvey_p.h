// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UsbPlatform_p.h"

#include <kelvane/foundation/Dictionary.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

struct udev;
struct udev_device;

namespace kelvane {

/// One look at the USB devices that are plugged in.
///
/// Threads: one, that of the context.
/// Errors: what cannot be read counts as not there; isComplete() tells of it.
class UsbSurvey {
public:
    explicit UsbSurvey(udev *context) : _context(context) {}

    /// The properties of all devices, by the system's path of each.
    [[nodiscard]] std::map<std::string, Dictionary> present();
    /// Of a device that is gone already, the system has no numbers to tell.
    [[nodiscard]] bool isUsbDevice(udev_device *device);
    [[nodiscard]] Dictionary propertiesOf(udev_device *device);
    /// False where the system failed to tell something: a device or a part of one may be missing.
    [[nodiscard]] bool isComplete() const noexcept { return _isComplete; }

private:
    using Use = std::function<void(udev_device *)>;

    template <class Call>
    auto watched(Call &&call);
    [[nodiscard]] const char *text(udev_device *device, const char *name);
    [[nodiscard]] String attribute(udev_device *device, const char *name);
    [[nodiscard]] std::int32_t number(udev_device *device, const char *name, int base = 16);
    [[nodiscard]] std::uint8_t byteNumber(udev_device *device, const char *name);
    void forEach(udev_device *parent, std::string_view type, const Use &use);
    [[nodiscard]] std::vector<detail::UsbConfiguration> configurationsOf(udev_device *device);
    [[nodiscard]] std::map<std::uint8_t, UsbInterface> configuredInterfaces(udev_device *device);
    [[nodiscard]] std::vector<UsbInterface> interfacesOf(udev_device *device);

    udev *const _context;
    bool _isComplete = true;
};

} // namespace kelvane
