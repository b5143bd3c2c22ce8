// SPDX-License-Identifier: Apache-2.0
#include "UsbHandles_p.h"
#include "UsbSurvey_p.h"

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <utility>

namespace kelvane {

namespace {

/// More than any device has; what is behind it is not read.
constexpr std::size_t longestDescriptors = 64 << 10;
constexpr std::uint8_t hubClass = 9;

/// Whether an error says that the system failed, and not that there is nothing, or nothing any more.
bool isTrouble(int error)
{
    return error == EIO || error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR || error == ENOBUFS;
}

} // namespace

/// Calls udev, which leaves in errno why it gave nothing.
template <class Call>
auto UsbSurvey::watched(Call &&call)
{
    errno = 0;
    auto result = call();
    if (!result && isTrouble(errno))
        _isComplete = false;
    return result;
}

const char *UsbSurvey::text(udev_device *device, const char *name)
{
    return watched([&] { return udev_device_get_sysattr_value(device, name); });
}

String UsbSurvey::attribute(udev_device *device, const char *name)
{
    return text(device, name);
}

/// An attribute's number, 0 where there is none. USB's numbers are written in hexadecimal but for a few.
std::int32_t UsbSurvey::number(udev_device *device, const char *name, int base)
{
    const char *found = text(device, name);
    return found ? static_cast<std::int32_t>(std::strtoul(found, nullptr, base)) : 0;
}

std::uint8_t UsbSurvey::byteNumber(udev_device *device, const char *name)
{
    return static_cast<std::uint8_t>(number(device, name));
}

bool UsbSurvey::isUsbDevice(udev_device *device)
{
    const char *type = watched([&] { return udev_device_get_devtype(device); });
    return type && std::string_view(type) == "usb_device" && text(device, "idVendor") && text(device, "busnum")
        && byteNumber(device, "bDeviceClass") != hubClass;
}

/// Calls `use` with each device of the USB subsystem that is a `type`, below `parent` if that is given.
void UsbSurvey::forEach(udev_device *parent, std::string_view type, const Use &use)
{
    const UdevEnumeration enumeration(udev_enumerate_new(_context));
    if (!enumeration || udev_enumerate_add_match_subsystem(enumeration.get(), "usb") < 0
        || (parent && udev_enumerate_add_match_parent(enumeration.get(), parent) < 0)) {
        _isComplete = false;
        return;
    }
    if (const int result = udev_enumerate_scan_devices(enumeration.get()); result < 0 && isTrouble(-result))
        _isComplete = false;
    for (auto *entry = watched([&] { return udev_enumerate_get_list_entry(enumeration.get()); }); entry;
         entry = udev_list_entry_get_next(entry)) {
        const UdevDevice device(
            watched([&] { return udev_device_new_from_syspath(_context, udev_list_entry_get_name(entry)); }));
        const char *found = device ? watched([&] { return udev_device_get_devtype(device.get()); }) : nullptr;
        if (found && found == type)
            use(device.get());
    }
}

std::vector<detail::UsbConfiguration> UsbSurvey::configurationsOf(udev_device *device)
{
    const std::string path = std::string(udev_device_get_syspath(device)) + "/descriptors";
    std::vector<std::byte> bytes(longestDescriptors);
    std::size_t size = 0;
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(
        watched([&] { return std::fopen(path.c_str(), "rbe"); }), std::fclose);
    if (file) {
        size = std::fread(bytes.data(), 1, bytes.size(), file.get());
        if (std::ferror(file.get()))
            _isComplete = false;
    }
    return detail::readUsbDescriptors(std::span(bytes).first(size));
}

/// The interfaces that the system has made of the configuration that the device is in, by their numbers.
std::map<std::uint8_t, UsbInterface> UsbSurvey::configuredInterfaces(udev_device *device)
{
    std::map<std::uint8_t, UsbInterface> interfaces;
    const std::string_view path = udev_device_get_syspath(device);
    forEach(device, "usb_interface", [&](udev_device *one) {
        // Of a hub's device the interfaces of what is plugged into it would be found as well.
        udev_device *parent = watched([&] { return udev_device_get_parent(one); });
        if (!parent || udev_device_get_syspath(parent) != path)
            return;
        const detail::UsbTriple triple{byteNumber(one, "bInterfaceClass"), byteNumber(one, "bInterfaceSubClass"),
            byteNumber(one, "bInterfaceProtocol")};
        interfaces[byteNumber(one, "bInterfaceNumber")] = {triple, attribute(one, "interface").str()};
    });
    return interfaces;
}

/// The device's descriptors say at once which interfaces it has; the system shows them one after the other, with their
/// names, and only once it has configured the device, which takes phones of the multiplexer kind a service.
std::vector<UsbInterface> UsbSurvey::interfacesOf(udev_device *device)
{
    const auto active = static_cast<std::uint8_t>(number(device, "bConfigurationValue", 10));
    const std::map<std::uint8_t, UsbInterface> configured = configuredInterfaces(device);
    std::vector<UsbInterface> interfaces;
    for (const detail::UsbConfiguration &configuration : configurationsOf(device)) {
        if (active != 0 && configuration.value != active)
            continue;
        for (const detail::UsbDescribedInterface &described : configuration.interfaces) {
            UsbInterface one{described.triple, {}};
            if (const auto shown = configured.find(described.number); shown != configured.end())
                one = shown->second;
            const bool isKnown = std::any_of(interfaces.begin(), interfaces.end(),
                [&](const UsbInterface &other) { return other.triple == one.triple; });
            if (active != 0 || !isKnown)
                interfaces.push_back(std::move(one));
        }
    }
    if (interfaces.empty()) {
        for (const auto &[number, one] : configured)
            interfaces.push_back(one);
    }
    return interfaces;
}

Dictionary UsbSurvey::propertiesOf(udev_device *device)
{
    const std::vector<UsbInterface> interfaces = interfacesOf(device);
    Array triples = Array::empty();
    for (const UsbInterface &one : interfaces)
        triples.append(Dictionary{{"bInterfaceClass", std::int32_t{one.triple.interfaceClass}},
            {"bInterfaceSubClass", std::int32_t{one.triple.subClass}},
            {"bInterfaceProtocol", std::int32_t{one.triple.protocol}}});
    const std::int32_t vendor = number(device, "idVendor");
    const String product = attribute(device, "product");
    const String ports = attribute(device, "devpath");

    // What is null is not stored.
    Dictionary properties{
        {"locationID", usbLocation(static_cast<std::uint32_t>(number(device, "busnum", 10)), ports.view())},
        {"idVendor", vendor},
        {"idProduct", number(device, "idProduct")},
        {"bDeviceClass", number(device, "bDeviceClass")},
        {"bDeviceSubClass", number(device, "bDeviceSubClass")},
        {"bDeviceProtocol", number(device, "bDeviceProtocol")},
        {"DeviceInterface", triples},
        {"osplatform", usbPlatformCode(vendor, interfaces)},
    };
    properties.set("USB Serial Number", attribute(device, "serial"));
    properties.set("USB Product Name", product);
    properties.set("manufacturer", attribute(device, "manufacturer"));
    properties.set("model", product);
    return properties;
}

/// The devices that are plugged in.
std::map<std::string, Dictionary> UsbSurvey::present()
{
    std::map<std::string, Dictionary> devices;
    forEach(nullptr, "usb_device", [&](udev_device *device) {
        if (isUsbDevice(device))
            devices.emplace(udev_device_get_syspath(device), propertiesOf(device));
    });
    return devices;
}

} // namespace kelvane
