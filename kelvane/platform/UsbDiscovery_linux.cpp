// SPDX-License-Identifier: Apache-2.0
#include "RunGuarded_p.h"
#include "ThreadName_p.h"
#include "UsbPlatform_p.h"

#include <kelvane/foundation/Value.h>
#include <kelvane/platform/UsbDiscovery.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <libudev.h>
#include <map>
#include <memory>
#include <mutex>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kelvane {

UsbDiscoveryDelegate::~UsbDiscoveryDelegate() = default;

namespace {

// What udev hands out, given back when it goes.
template <class T, auto release>
struct Release {
    void operator()(T *object) const noexcept { release(object); }
};
template <class T, auto release>
using Handle = std::unique_ptr<T, Release<T, release>>;
using Udev = Handle<udev, udev_unref>;
using UdevDevice = Handle<udev_device, udev_device_unref>;
using UdevEnumeration = Handle<udev_enumerate, udev_enumerate_unref>;
using UdevMonitor = Handle<udev_monitor, udev_monitor_unref>;

/// More than any device has; what is behind it is not read.
constexpr std::size_t longestDescriptors = 64 << 10;
constexpr std::uint8_t hubClass = 9;

String attribute(udev_device *device, const char *name)
{
    return udev_device_get_sysattr_value(device, name);
}

/// An attribute's number, 0 where there is none. USB's numbers are written in hexadecimal but for a few.
std::int32_t number(udev_device *device, const char *name, int base = 16)
{
    const char *text = udev_device_get_sysattr_value(device, name);
    return text ? static_cast<std::int32_t>(std::strtoul(text, nullptr, base)) : 0;
}

std::uint8_t byteNumber(udev_device *device, const char *name)
{
    return static_cast<std::uint8_t>(number(device, name));
}

/// Of a device that is gone already, the system has no numbers to tell.
bool isUsbDevice(udev_device *device)
{
    const char *type = udev_device_get_devtype(device);
    return type && std::string_view(type) == "usb_device" && udev_device_get_sysattr_value(device, "idVendor")
        && udev_device_get_sysattr_value(device, "busnum") && byteNumber(device, "bDeviceClass") != hubClass;
}

/// Calls `use` with each device of the USB subsystem that is a `type`, below `parent` if that is given.
void forEach(udev *context, udev_device *parent, std::string_view type, const std::function<void(udev_device *)> &use)
{
    const UdevEnumeration enumeration(udev_enumerate_new(context));
    if (!enumeration || udev_enumerate_add_match_subsystem(enumeration.get(), "usb") < 0)
        return;
    if (parent)
        udev_enumerate_add_match_parent(enumeration.get(), parent);
    udev_enumerate_scan_devices(enumeration.get());
    for (auto *entry = udev_enumerate_get_list_entry(enumeration.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const UdevDevice device(udev_device_new_from_syspath(context, udev_list_entry_get_name(entry)));
        const char *found = device ? udev_device_get_devtype(device.get()) : nullptr;
        if (found && found == type)
            use(device.get());
    }
}

std::vector<detail::UsbConfiguration> configurationsOf(udev_device *device)
{
    std::ifstream file(std::string(udev_device_get_syspath(device)) + "/descriptors", std::ios::binary);
    std::vector<char> bytes(longestDescriptors);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    return detail::readUsbDescriptors(std::as_bytes(std::span(bytes)));
}

/// The interfaces that the system has made of the configuration that the device is in, by their numbers.
std::map<std::uint8_t, UsbInterface> configuredInterfaces(udev *context, udev_device *device)
{
    std::map<std::uint8_t, UsbInterface> interfaces;
    const std::string_view path = udev_device_get_syspath(device);
    forEach(context, device, "usb_interface", [&](udev_device *one) {
        // Of a hub's device the interfaces of what is plugged into it would be found as well.
        udev_device *parent = udev_device_get_parent(one);
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
std::vector<UsbInterface> interfacesOf(udev *context, udev_device *device)
{
    const auto active = static_cast<std::uint8_t>(number(device, "bConfigurationValue", 10));
    const std::map<std::uint8_t, UsbInterface> configured = configuredInterfaces(context, device);
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

Dictionary propertiesOf(udev *context, udev_device *device)
{
    const std::vector<UsbInterface> interfaces = interfacesOf(context, device);
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

/// The devices that are plugged in, by the system's path of each.
std::map<std::string, Dictionary> present(udev *context)
{
    std::map<std::string, Dictionary> devices;
    forEach(context, nullptr, "usb_device", [&](udev_device *device) {
        if (isUsbDevice(device))
            devices.emplace(udev_device_get_syspath(device), propertiesOf(context, device));
    });
    return devices;
}

} // namespace

Array UsbDiscovery::devices()
{
    std::vector<Value> found;
    if (const Udev context{udev_new()}) {
        for (auto &[path, properties] : present(context.get()))
            found.emplace_back(std::move(properties));
    }
    std::stable_sort(found.begin(), found.end(), [](const Value &a, const Value &b) {
        const auto location = [](const Value &device) {
            return device.dictionary()["locationID"].unsignedLongLongValue();
        };
        return location(a) < location(b);
    });
    return Array::of(found);
}

/// One start to stop. Its thread alone uses udev's objects.
struct KELVANE_HIDDEN UsbDiscovery::Watch {
    ~Watch()
    {
        if (wakeUp >= 0)
            ::close(wakeUp);
    }

    [[nodiscard]] bool open();
    void run();
    void end();

    std::weak_ptr<UsbDiscoveryDelegate> delegate;
    std::thread thread;
    // Held while the delegate is called, so that no call goes on when end() has returned. Re-entrant for a delegate that
    // ends the watch itself.
    std::recursive_mutex mutex;

private:
    using Message = void (UsbDiscoveryDelegate::*)(const Dictionary &);

    void tell(Message message, const Dictionary &properties);
    void takeEvents();
    void lookAround();
    void handle(udev_device *device);
    void update(const std::string &path, const Dictionary &properties);
    void remove(const std::string &path);

    Udev context;
    UdevMonitor monitor;
    std::map<std::string, Dictionary> known;
    int wakeUp = -1;
    bool isEnded = false; // guarded by mutex
};

bool UsbDiscovery::Watch::open()
{
    context.reset(udev_new());
    if (!context)
        return false;
    // Where no service of udev runs, as in many containers, the kernel's own messages are all there is.
    const bool hasService = ::access("/run/udev/control", F_OK) == 0;
    monitor.reset(udev_monitor_new_from_netlink(context.get(), hasService ? "udev" : "kernel"));
    wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return monitor && wakeUp >= 0 && udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), "usb", nullptr) >= 0
        && udev_monitor_enable_receiving(monitor.get()) >= 0;
}

void UsbDiscovery::Watch::run()
{
    setCurrentThreadName("kelvane.usb");
    // The monitor listens already: what comes while these are looked at is told of after them.
    lookAround();
    for (;;) {
        pollfd descriptors[] = {{udev_monitor_get_fd(monitor.get()), POLLIN, 0}, {wakeUp, POLLIN, 0}};
        if (::poll(descriptors, 2, -1) < 0 && errno != EINTR)
            return;
        {
            const std::lock_guard guard(mutex);
            if (isEnded)
                return;
        }
        if (descriptors[0].revents != 0)
            takeEvents();
    }
}

void UsbDiscovery::Watch::end()
{
    const std::lock_guard guard(mutex);
    isEnded = true;
    const std::uint64_t one = 1;
    (void)!::write(wakeUp, &one, sizeof one);
}

void UsbDiscovery::Watch::takeEvents()
{
    errno = 0;
    while (const UdevDevice device{udev_monitor_receive_device(monitor.get())}) {
        handle(device.get());
        errno = 0;
    }
    if (errno == ENOBUFS)
        lookAround();
}

/// Events were lost because more came than the system keeps: finds out what there is now.
void UsbDiscovery::Watch::lookAround()
{
    const std::map<std::string, Dictionary> now = present(context.get());
    const std::map<std::string, Dictionary> before = known;
    for (const auto &[path, properties] : before) {
        if (!now.contains(path))
            remove(path);
    }
    for (const auto &[path, properties] : now)
        update(path, properties);
}

void UsbDiscovery::Watch::handle(udev_device *device)
{
    const char *action = udev_device_get_action(device);
    const char *type = udev_device_get_devtype(device);
    if (!action || !type)
        return;
    if (std::string_view(type) == "usb_device") {
        if (std::string_view(action) == "remove")
            remove(udev_device_get_syspath(device));
        else if (isUsbDevice(device))
            update(udev_device_get_syspath(device), propertiesOf(context.get(), device));
        return;
    }
    // Interfaces come after their device, when it is configured, and go with it.
    udev_device *parent = udev_device_get_parent(device);
    if (parent && std::string_view(action) != "remove" && isUsbDevice(parent)
        && known.contains(udev_device_get_syspath(parent)))
        update(udev_device_get_syspath(parent), propertiesOf(context.get(), parent));
}

void UsbDiscovery::Watch::update(const std::string &path, const Dictionary &properties)
{
    const auto [device, isNew] = known.try_emplace(path, properties);
    if (!isNew && device->second == properties)
        return;
    device->second = properties;
    tell(isNew ? &UsbDiscoveryDelegate::usbDeviceAttached : &UsbDiscoveryDelegate::usbDeviceChanged, properties);
}

void UsbDiscovery::Watch::remove(const std::string &path)
{
    const auto device = known.find(path);
    if (device == known.end())
        return;
    const Dictionary properties = std::move(device->second);
    known.erase(device);
    tell(&UsbDiscoveryDelegate::usbDeviceDetached, properties);
}

void UsbDiscovery::Watch::tell(Message message, const Dictionary &properties)
{
    const std::lock_guard guard(mutex);
    const auto listener = delegate.lock();
    if (isEnded || !listener)
        return;
    runGuarded([&] { (listener.get()->*message)(properties); });
}

UsbDiscovery::UsbDiscovery() = default;

UsbDiscovery::~UsbDiscovery()
{
    stop();
}

bool UsbDiscovery::start(std::weak_ptr<UsbDiscoveryDelegate> delegate)
{
    if (_watch)
        return false;
    const auto watch = std::make_shared<Watch>();
    watch->delegate = std::move(delegate);
    if (!watch->open())
        return false;
    // A delegate that stops at once finds what it has to stop.
    const std::lock_guard guard(watch->mutex);
    try {
        watch->thread = std::thread([watch] { watch->run(); });
    } catch (const std::exception &) {
        return false;
    }
    _watch = watch;
    return true;
}

void UsbDiscovery::stop()
{
    const std::shared_ptr<Watch> watch = std::exchange(_watch, nullptr);
    if (!watch)
        return;
    watch->end();
    if (watch->thread.get_id() == std::this_thread::get_id())
        watch->thread.detach(); // called by the delegate: the thread ends when that returns
    else
        watch->thread.join();
}

} // namespace kelvane
