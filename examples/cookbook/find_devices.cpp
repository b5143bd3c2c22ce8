// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
/// UsbDiscovery::start() calls one of these, too, whenever a device comes or goes.
class DevicePrinter : public UsbDiscoveryDelegate {
public:
    void usbDeviceAttached(const Dictionary &properties) override
    {
        DeviceInfo device(properties);
        device.loadBaseInfo();
        const char *kind = "ready";
        if (device.OSPlatform() == 0)
            kind = "no phone or tablet, or a locked one";
        else if (device.expectInterfaceStatus() != 0)
            kind = "found, but it does not let anybody in";
        std::printf("%s %s, serial number %s: %s\n", device.manufacturer().c_str(), device.usbProductName().c_str(),
            device.serialNumber().c_str(), kind);
    }
};

int main()
{
    DevicePrinter printer;
    for (const Value &properties : UsbDiscovery::devices())
        printer.usbDeviceAttached(properties.dictionary());
}
//! [recipe]
