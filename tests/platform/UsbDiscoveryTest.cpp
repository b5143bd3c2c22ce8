// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/UsbDiscovery.h>

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>

#include "tests/support/LogCapture.h"
#include "tests/support/UsbDevices.h"

#include <condition_variable>
#include <cstdint>
#include <gmock/gmock.h>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testsupport::LogCapture;
using testsupport::UsbDevice;
using testsupport::UsbDevices;

/// Notes what it is told, and lets a test wait for it.
class Recorder : public UsbDiscoveryDelegate {
public:
    void usbDeviceAttached(const Dictionary &properties) override { note("attached ", properties); }
    void usbDeviceChanged(const Dictionary &properties) override { note("changed ", properties); }
    void usbDeviceDetached(const Dictionary &properties) override { note("detached ", properties); }

    [[nodiscard]] std::vector<std::string> waitFor(std::size_t count)
    {
        std::unique_lock lock(_mutex);
        _isMore.wait(lock, [&] { return _lines.size() >= count; });
        return _lines;
    }
    /// Waits until `line` comes after the lines heard before. A device that has just been plugged in may be told of
    /// once more, as changed: its interfaces come one by one.
    void hear(const std::string &line)
    {
        std::unique_lock lock(_mutex);
        _isMore.wait(lock, [&] {
            while (_heard < _lines.size())
                if (_lines[_heard++] == line)
                    return true;
            return false;
        });
    }
    [[nodiscard]] Dictionary last()
    {
        const std::lock_guard lock(_mutex);
        return _last;
    }

private:
    void note(const char *what, const Dictionary &properties)
    {
        const std::lock_guard lock(_mutex);
        _lines.push_back(what + properties["USB Product Name"].string().str());
        _last = properties;
        _isMore.notify_all();
    }

    std::mutex _mutex;
    std::condition_variable _isMore;
    std::size_t _heard = 0;
    std::vector<std::string> _lines; // guarded by _mutex, as is the next
    Dictionary _last;
};

std::vector<std::string> names(const Array &devices)
{
    std::vector<std::string> found;
    for (const Value &device : devices)
        found.push_back(device.dictionary()["USB Product Name"].string().str());
    return found;
}

Dictionary only(const Array &devices)
{
    EXPECT_THAT(devices, SizeIs(1));
    return devices.isEmpty() ? Dictionary() : devices[0].dictionary();
}

// Descriptions of what is on people's desks, as their systems show them.

const UsbDevice phoneWithDebugBridge{"1-2", 0x04E8, 0x6860, "SAMSUNG", "SAMSUNG_Android", "R58M123ABC",
    {{255, 255, 0, "MTP"}, {2, 2, 1, "CDC Abstract Control Model (ACM)"}, {10, 0, 0, ""},
        {255, 66, 1, "ADB Interface"}}};
const UsbDevice phoneForPictures{"1-1.5.2.4", 0x18D1, 0x4EE5, "Google", "Pixel 6", "1A2B3C4D", {{6, 1, 1, "PTP"}}};
const UsbDevice tabletForMedia{"2-3", 0x2717, 0xFF40, "Xiaomi", "Pad 5", "d3adb33f", {{255, 255, 0, "MTP"}}};
const UsbDevice oldPhone{"1-4", 0x0421, 0x0499, "Nokia", "E75", "", {{2, 11, 1, ""}, {255, 0, 0, ""}}};
const UsbDevice multiplexedPhone{"1-7", 0x05AC, 0x12A8, "Apple Inc.", "iPhone", "00008030001C2D",
    {{6, 1, 1, "PTP"}, {255, 254, 2, "Apple USB Multiplexor"}}};
const UsbDevice mouse{"1-9", 0x046D, 0xC077, "Logitech", "Mouse", "", {{3, 1, 2, ""}}};

TEST(UsbDiscovery, GivesTheWholeDictionaryOfADevice)
{
    UsbDevices usb;
    usb.plugIn(phoneForPictures);
    const Dictionary interface {
        {"bInterfaceClass", 6}, {"bInterfaceSubClass", 1}, { "bInterfaceProtocol", 1 }
    };
    EXPECT_EQ(only(UsbDiscovery::devices()),
        (Dictionary{{"locationID", 0x01152400}, {"idVendor", 0x18D1}, {"idProduct", 0x4EE5},
            {"USB Serial Number", "1A2B3C4D"}, {"USB Product Name", "Pixel 6"}, {"manufacturer", "Google"},
            {"model", "Pixel 6"}, {"bDeviceClass", 0}, {"bDeviceSubClass", 0}, {"bDeviceProtocol", 0},
            {"DeviceInterface", Array{interface}}, {"osplatform", 2}}));
}

TEST(UsbDiscovery, ListsDevicesInTheOrderOfTheirLocationsAndNoHubs)
{
    UsbDevices usb;
    for (const UsbDevice &device : {tabletForMedia, oldPhone, multiplexedPhone, phoneWithDebugBridge, mouse})
        usb.plugIn(device);
    usb.plugIn({"1-8", 0x05E3, 0x0610, "", "Hub", "", {{9, 0, 1, ""}}, 9});
    EXPECT_THAT(names(UsbDiscovery::devices()), ElementsAre("SAMSUNG_Android", "E75", "iPhone", "Mouse", "Pad 5"));
}

TEST(UsbDiscovery, WithoutDevicesFindsNone)
{
    const UsbDevices usb;
    EXPECT_THAT(UsbDiscovery::devices(), SizeIs(0));
}

struct Platform {
    UsbDevice device;
    std::int32_t code;
};

class UsbPlatformOf : public testing::TestWithParam<Platform> {};

TEST_P(UsbPlatformOf, IsToldByTheInterfaces)
{
    UsbDevices usb;
    usb.plugIn(GetParam().device);
    EXPECT_EQ(only(UsbDiscovery::devices())["osplatform"].intValue(), GetParam().code);
}

UsbDevice ofInterfaces(std::vector<testsupport::UsbInterfaceOf> interfaces, std::int32_t vendor = 0x1234)
{
    return {"1-1", vendor, 1, "Maker", "Device", "", std::move(interfaces)};
}

INSTANTIATE_TEST_SUITE_P(Interfaces, UsbPlatformOf,
    testing::Values(Platform{phoneWithDebugBridge, 1}, Platform{phoneForPictures, 2}, Platform{tabletForMedia, 2},
        Platform{oldPhone, 4}, Platform{multiplexedPhone, 8}, Platform{mouse, 0},
        Platform{ofInterfaces({{255, 66, 3, "boot loader"}}), 0}, // not the debug bridge
        Platform{ofInterfaces({{255, 255, 0, "Firmware"}}), 0}, // the vendor's own, but not for media
        Platform{ofInterfaces({{255, 254, 2, ""}}), 0}, // the multiplexer's triple of another vendor
        Platform{ofInterfaces({{6, 1, 1, ""}, {255, 66, 1, ""}}), 1}, // the debug bridge leads
        Platform{ofInterfaces({{2, 11, 1, ""}, {6, 1, 1, ""}}), 2}, // media transfer before object exchange
        Platform{ofInterfaces({{255, 253, 1, "tethering"}}), 0}, Platform{ofInterfaces({{6, 1, 1, ""}}, 0x05AC), 2}));

TEST(UsbDiscovery, ReadsTheDescriptorsOfADeviceThatIsNotConfigured)
{
    UsbDevices usb;
    UsbDevice sleeping = multiplexedPhone;
    sleeping.isConfigured = false;
    usb.plugIn(sleeping);
    const Dictionary device = only(UsbDiscovery::devices());
    EXPECT_THAT(device["DeviceInterface"].array(), SizeIs(2));
    EXPECT_EQ(device["osplatform"].intValue(), 8);
}

TEST(UsbDiscovery, TextsOfADeviceMayBeAnything)
{
    UsbDevices usb;
    usb.plugIn({"1-1", 1, 2, "", "\x1b[2Jname \xff", "", {}});
    const Dictionary device = only(UsbDiscovery::devices());
    EXPECT_EQ(device["USB Product Name"].string().view().substr(0, 9), "\x1b[2Jname ");
    EXPECT_TRUE(device["manufacturer"].string().isEmpty());
    EXPECT_TRUE(device["USB Serial Number"].isNil());
}

// Watching

TEST(UsbDiscovery, TellsOfDevicesThatAreThereAndThatComeAndGo)
{
    UsbDevices usb;
    usb.plugIn(oldPhone);
    const auto recorder = std::make_shared<Recorder>();
    UsbDiscovery discovery;
    ASSERT_TRUE(discovery.start(recorder));
    EXPECT_THAT(recorder->waitFor(1), ElementsAre("attached E75"));
    usb.plugIn(phoneForPictures);
    recorder->hear("attached Pixel 6");
    EXPECT_EQ(recorder->last()["osplatform"].intValue(), 2);
    usb.unplug(oldPhone);
    recorder->hear("detached E75");
    EXPECT_EQ(recorder->last()["idVendor"].intValue(), 0x0421);
    usb.plugIn(oldPhone);
    recorder->hear("attached E75");
    discovery.stop();
}

TEST(UsbDiscovery, TellsOfADeviceThatIsConfiguredLater)
{
    UsbDevices usb;
    usb.plugIn(mouse); // once that is told of, the discovery waits for what comes
    const auto recorder = std::make_shared<Recorder>();
    UsbDiscovery discovery;
    ASSERT_TRUE(discovery.start(recorder));
    EXPECT_THAT(recorder->waitFor(1), ElementsAre("attached Mouse"));
    UsbDevice device = tabletForMedia;
    device.isConfigured = false; // its descriptors do not name interfaces, so it is not known to be one for media yet
    usb.plugIn(device);
    EXPECT_THAT(recorder->waitFor(2), ElementsAre("attached Mouse", "attached Pad 5"));
    EXPECT_EQ(recorder->last()["osplatform"].intValue(), 0);
    usb.configure(device);
    recorder->hear("changed Pad 5");
    EXPECT_EQ(recorder->last()["osplatform"].intValue(), 2);
}

TEST(UsbDiscovery, ADelegateThatThrowsIsLoggedAndHearsOfTheNextDevice)
{
    class Thrower : public Recorder {
        void usbDeviceAttached(const Dictionary &properties) override
        {
            Recorder::usbDeviceAttached(properties);
            throw std::runtime_error("no");
        }
    };
    UsbDevices usb;
    usb.plugIn(oldPhone);
    const LogCapture log;
    const auto thrower = std::make_shared<Thrower>();
    UsbDiscovery discovery;
    ASSERT_TRUE(discovery.start(thrower));
    EXPECT_THAT(thrower->waitFor(1), ElementsAre("attached E75"));
    usb.plugIn(mouse);
    thrower->hear("attached Mouse");
    discovery.stop();
    EXPECT_THAT(log.errorLines(), testing::Each(HasSubstr(": no")));
    EXPECT_THAT(log.errorLines(), SizeIs(2));
}

TEST(UsbDiscovery, StopsAndStartsAgain)
{
    UsbDevices usb;
    usb.plugIn(mouse);
    UsbDiscovery discovery;
    for (int round = 0; round < 5; ++round) {
        const auto recorder = std::make_shared<Recorder>();
        ASSERT_TRUE(discovery.start(recorder));
        EXPECT_FALSE(discovery.start(recorder)); // it has begun
        EXPECT_THAT(recorder->waitFor(1), ElementsAre("attached Mouse"));
        discovery.stop();
        discovery.stop();
    }
}

TEST(UsbDiscovery, MayBeStoppedByItsDelegate)
{
    struct Stopper : UsbDiscoveryDelegate {
        void usbDeviceAttached(const Dictionary &) override
        {
            discovery.stop();
            const std::lock_guard lock(mutex);
            ++calls;
            called.notify_all();
        }
        UsbDiscovery discovery;
        std::mutex mutex;
        std::condition_variable called;
        int calls = 0;
    };
    UsbDevices usb;
    usb.plugIn(mouse);
    usb.plugIn(oldPhone);
    const auto stopper = std::make_shared<Stopper>();
    ASSERT_TRUE(stopper->discovery.start(stopper));
    {
        std::unique_lock lock(stopper->mutex);
        stopper->called.wait(lock, [&] { return stopper->calls > 0; });
    }
    // Time enough for the other device to be told of, if it were.
    const auto recorder = std::make_shared<Recorder>();
    UsbDiscovery another;
    ASSERT_TRUE(another.start(recorder));
    (void)recorder->waitFor(2);
    const std::lock_guard lock(stopper->mutex);
    EXPECT_EQ(stopper->calls, 1);
}

TEST(UsbDiscovery, ADelegateThatIsGoneIsSkipped)
{
    UsbDevices usb;
    auto recorder = std::make_shared<Recorder>();
    usb.plugIn(oldPhone);
    UsbDiscovery discovery;
    ASSERT_TRUE(discovery.start(recorder));
    (void)recorder->waitFor(1);
    const std::weak_ptr<Recorder> gone = recorder;
    recorder.reset();
    const auto witness = std::make_shared<Recorder>();
    UsbDiscovery another;
    ASSERT_TRUE(another.start(witness));
    (void)witness->waitFor(1);
    usb.plugIn(mouse);
    witness->hear("attached Mouse");
    discovery.stop();
    EXPECT_TRUE(gone.expired());
}

} // namespace
} // namespace kelvane
