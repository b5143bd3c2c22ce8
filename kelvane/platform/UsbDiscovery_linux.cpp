// SPDX-License-Identifier: Apache-2.0
#include "RunGuarded_p.h"
#include "ThreadName_p.h"
#include "UsbHandles_p.h"
#include "UsbSurvey_p.h"

#include <kelvane/foundation/Value.h>
#include <kelvane/platform/UsbDiscovery.h>

#include <algorithm>
#include <cerrno>
#include <exception>
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

Array UsbDiscovery::devices()
{
    bool ignored = false;
    return devices(ignored);
}

Array UsbDiscovery::devices(bool &isComplete)
{
    const Udev context{udev_new()};
    UsbSurvey survey(context.get());
    std::vector<Value> found;
    if (context) {
        for (auto &[path, properties] : survey.present())
            found.emplace_back(std::move(properties));
    }
    isComplete = context && survey.isComplete();
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
    UsbSurvey survey(context.get());
    const std::map<std::string, Dictionary> now = survey.present();
    const std::map<std::string, Dictionary> before = known;
    for (const auto &[path, properties] : before) {
        // What the system failed to tell of is not gone.
        if (!now.contains(path) && survey.isComplete())
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
    UsbSurvey survey(context.get());
    if (std::string_view(type) == "usb_device") {
        if (std::string_view(action) == "remove")
            remove(udev_device_get_syspath(device));
        else if (survey.isUsbDevice(device))
            update(udev_device_get_syspath(device), survey.propertiesOf(device));
        return;
    }
    // Interfaces come after their device, when it is configured, and go with it.
    udev_device *parent = udev_device_get_parent(device);
    if (parent && std::string_view(action) != "remove" && survey.isUsbDevice(parent)
        && known.contains(udev_device_get_syspath(parent)))
        update(udev_device_get_syspath(parent), survey.propertiesOf(parent));
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
