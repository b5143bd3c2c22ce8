// SPDX-License-Identifier: Apache-2.0
#include "UsbDevices.h"

#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string_view>
#include <umockdev.h>
#include <unistd.h>

namespace kelvane::testsupport {

namespace {

std::string pathOf(const UsbDevice &device)
{
    return "/devices/pci0000:00/0000:00:14.0/usb" + device.port.substr(0, 1) + '/' + device.port;
}

std::string hex(int number, int digits)
{
    char text[16];
    std::snprintf(text, sizeof text, "%0*x", digits, static_cast<unsigned>(number));
    return text;
}

std::string hexBytes(std::string_view text)
{
    std::string bytes;
    for (const char byte : text)
        bytes += hex(static_cast<unsigned char>(byte), 2);
    return bytes;
}

/// The device's descriptors in hexadecimal: one configuration with all interfaces.
std::string descriptorsOf(const UsbDevice &device)
{
    std::string text = "12010002" + hex(device.deviceClass, 2) + "000040";
    for (const int number : {device.vendor, device.product})
        text += hex(number & 0xFF, 2) + hex(number >> 8, 2);
    text += "000001020301090200000101"
            "00"
            "c0fa";
    int number = 0;
    for (const UsbInterfaceOf &one : device.interfaces)
        text += "0904" + hex(number++, 2) + "0000" + hex(one.interfaceClass, 2) + hex(one.subClass, 2)
            + hex(one.protocol, 2) + "00";
    return text;
}

std::string attribute(const char *name, const std::string &value)
{
    return "A: " + std::string(name) + '=' + value + '\n';
}

} // namespace

struct UsbDevices::Private {
    /// Adds a device, and tells of it.
    void add(const std::string &description) const
    {
        GError *error = nullptr;
        if (!umockdev_testbed_add_from_string(testbed, description.c_str(), &error))
            throw std::runtime_error(error->message);
    }
    void remove(const std::string &systemPath) const
    {
        umockdev_testbed_uevent(testbed, systemPath.c_str(), "remove");
        umockdev_testbed_remove_device(testbed, systemPath.c_str());
    }
    [[nodiscard]] static std::string systemPath(const std::string &path) { return "/sys" + path; }

    UMockdevTestbed *testbed = umockdev_testbed_new();
};

UsbDevices::UsbDevices() : d(std::make_unique<Private>()) {}

UsbDevices::~UsbDevices()
{
    g_object_unref(d->testbed);
}

void UsbDevices::plugIn(const UsbDevice &device)
{
    const std::string path = pathOf(device);
    std::string text = "P: " + path + "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\n";
    text += attribute("busnum", device.port.substr(0, 1)) + attribute("devpath", device.port.substr(2));
    text += attribute("idVendor", hex(device.vendor, 4)) + attribute("idProduct", hex(device.product, 4));
    text += attribute("bDeviceClass", hex(device.deviceClass, 2)) + attribute("bDeviceSubClass", "00")
        + attribute("bDeviceProtocol", "00");
    text += attribute("bConfigurationValue", device.isConfigured ? "1" : "");
    // In hexadecimal, because a name may hold anything.
    text += "H: product=" + hexBytes(device.name + '\n') + '\n';
    if (!device.manufacturer.empty())
        text += "H: manufacturer=" + hexBytes(device.manufacturer + '\n') + '\n';
    if (!device.serial.empty())
        text += attribute("serial", device.serial);
    text += "H: descriptors=" + descriptorsOf(device) + "\n\n";
    d->add(text);
    if (device.isConfigured)
        configure(device);
}

void UsbDevices::configure(const UsbDevice &device)
{
    int number = 0;
    for (const UsbInterfaceOf &one : device.interfaces) {
        const std::string interfaceNumber = hex(number, 2);
        const std::string path = pathOf(device) + '/' + device.port + ":1." + std::to_string(number++);
        std::string text = "P: " + path + "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\n";
        text += attribute("bInterfaceNumber", interfaceNumber)
            + attribute("bInterfaceClass", hex(one.interfaceClass, 2))
            + attribute("bInterfaceSubClass", hex(one.subClass, 2))
            + attribute("bInterfaceProtocol", hex(one.protocol, 2));
        if (!one.name.empty())
            text += attribute("interface", one.name);
        d->add(text + '\n');
    }
}

void UsbDevices::unplug(const UsbDevice &device)
{
    const std::string path = Private::systemPath(pathOf(device));
    for (std::size_t number = 0; device.isConfigured && number < device.interfaces.size(); ++number)
        d->remove(path + '/' + device.port + ":1." + std::to_string(number));
    d->remove(path);
}

} // namespace kelvane::testsupport

/// Starts itself again with umockdev's library preloaded, which shows the process the devices of the test.
int main(int argc, char **argv)
{
    const char *preloaded = std::getenv("LD_PRELOAD");
    if (!preloaded || std::string_view(preloaded).find("libumockdev-preload") == std::string_view::npos) {
        setenv("LD_PRELOAD", "libumockdev-preload.so.0", 1);
        // The sanitizer's runtime insists on being first unless told that this is known.
        const char *options = std::getenv("ASAN_OPTIONS");
        setenv("ASAN_OPTIONS", (std::string(options ? options : "") + ":verify_asan_link_order=0").c_str(), 1);
        execv("/proc/self/exe", argv);
        std::perror("execv");
        return 1;
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
