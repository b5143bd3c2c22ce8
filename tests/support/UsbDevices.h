// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kelvane::testsupport {

struct UsbInterfaceOf {
    int interfaceClass, subClass, protocol;
    std::string name;
};

/// A device as it is plugged in.
struct UsbDevice {
    std::string port; // "1-2.3": bus 1, port 2, port 3 of the hub there
    int vendor, product;
    std::string manufacturer, name, serial;
    std::vector<UsbInterfaceOf> interfaces;
    int deviceClass = 0;
    bool isConfigured = true; // else the system shows no interfaces, only the device's descriptors
};

/// A system whose USB devices a test plugs in and out, made by umockdev. This process sees only them, as long as this
/// lives; it has to run with umockdev's preloaded library, as the main() of UsbDevices.cpp sees to.
class UsbDevices {
public:
    UsbDevices();
    ~UsbDevices();
    UsbDevices(const UsbDevices &) = delete;
    UsbDevices &operator=(const UsbDevices &) = delete;

    void plugIn(const UsbDevice &device);
    /// Gives a device that was plugged in without being configured its interfaces.
    void configure(const UsbDevice &device);
    void unplug(const UsbDevice &device);

private:
    struct Private;
    const std::unique_ptr<Private> d;
};

} // namespace kelvane::testsupport
