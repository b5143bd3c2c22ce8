// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/DeviceInfo.h>

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/UserDefaults.h>

#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <cstdlib>
#include <gmock/gmock.h>
#include <limits>
#include <string>

namespace kelvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::LogCapture;
using testsupport::TemporaryFolder;

constexpr std::uint64_t allBits = std::numeric_limits<std::uint64_t>::max();

// The names that users give are kept in the defaults of the running program: here in a folder of this run's own.
class Environment : public testing::Environment {
public:
    void SetUp() override { setenv("XDG_CONFIG_HOME", _folder.path().c_str(), 1); }

private:
    TemporaryFolder _folder;
};
const testing::Environment *const environment = testing::AddGlobalTestEnvironment(new Environment);

Dictionary interfaceOf(std::int32_t classId, std::int32_t subClassId, std::int32_t protocolId)
{
    return {{"bInterfaceClass", classId}, {"bInterfaceSubClass", subClassId}, {"bInterfaceProtocol", protocolId}};
}

/// A phone of this test, so that the names that others store are not found.
Dictionary phone(const std::string &serial = testing::UnitTest::GetInstance()->current_test_info()->name())
{
    return {{"locationID", 0x01152400}, {"idVendor", 0x04E8}, {"idProduct", 0x6860},
        {"USB Serial Number", String(serial)}, {"USB Product Name", "Phone X"}, {"manufacturer", "Maker"},
        {"model", "PX-1"}, {"largeicon", "px1.png"}, {"alias", "Pocket"}, {"bDeviceClass", 239}, {"bDeviceSubClass", 2},
        {"bDeviceProtocol", 1}, {"osplatform", 2},
        {"DeviceInterface", Array{interfaceOf(8, 6, 80), interfaceOf(6, 1, 1)}}};
}

Dictionary with(Dictionary properties, const char *key, Value value)
{
    properties.set(key, std::move(value));
    return properties;
}

TEST(DeviceInfo, ReadsIdentityFromTheProperties)
{
    const DeviceInfo device(phone("S1"));
    EXPECT_EQ(device.Id(), "18162688"); // the number's text
    EXPECT_EQ(device.VID(), 0x04E8);
    EXPECT_EQ(device.PID(), 0x6860);
    EXPECT_EQ(device.serialNumber(), "S1");
    EXPECT_EQ(device.PSN(), "S1");
    EXPECT_EQ(device.usbProductName(), "Phone X");
    EXPECT_EQ(device.manufacturer(), "Maker");
    EXPECT_EQ(device.model(), "PX-1");
    EXPECT_EQ(device.largeIcon(), "px1.png");
    EXPECT_EQ(device.alias(), "Pocket");
    EXPECT_EQ(device.classId(), 239);
    EXPECT_EQ(device.subClassId(), 2);
    EXPECT_EQ(device.protocolId(), 1);
    EXPECT_EQ(device.OSPlatform(), 2U);
}

TEST(DeviceInfo, ReadsThePropertiesOnEveryCall)
{
    DeviceInfo device(phone());
    device.setDeviceInfoDic(with(phone(), "model", "PX-2"));
    EXPECT_EQ(device.model(), "PX-2");
    device.setModel("set");
    EXPECT_EQ(device.model(), "PX-2");
}

TEST(DeviceInfo, KeepsACopyOfTheProperties)
{
    Dictionary properties = phone();
    const DeviceInfo device(properties);
    properties.set("model", "other");
    EXPECT_EQ(device.model(), "PX-1");
}

TEST(DeviceInfo, MadeWithAnIdAnswersNothing)
{
    const DeviceInfo device(String("18162688"));
    EXPECT_TRUE(device.deviceInfoDic().isNull());
    EXPECT_TRUE(device.Id().isNull());
    EXPECT_EQ(device.VID(), 0);
    EXPECT_EQ(device.PID(), 0);
    EXPECT_TRUE(device.serialNumber().isNull());
    EXPECT_TRUE(device.manufacturer().isNull());
    EXPECT_TRUE(device.customName().isNull());
    EXPECT_EQ(device.displayName(), "Android  device");
}

TEST(DeviceInfo, LoadingLogsClassAndPlatform)
{
    const LogCapture log;
    const DeviceInfo device(phone());
    EXPECT_THAT(log.infoLines(), Contains("classId = 239  _subClassId=2  _protocolId=1  OSPlatform=2"));
}

TEST(DeviceInfo, LogsAPlatformOfAnyNumber)
{
    const LogCapture log;
    const DeviceInfo device(with(phone(), "osplatform", -1));
    EXPECT_THAT(log.infoLines(), Contains("classId = 239  _subClassId=2  _protocolId=1  OSPlatform=-1"));
}

TEST(DeviceInfo, AnEmptyManufacturerIsTheProductName)
{
    EXPECT_EQ(DeviceInfo(with(phone(), "manufacturer", "")).manufacturer(), "Phone X");
    EXPECT_EQ(DeviceInfo(with(phone(), "manufacturer", nullptr)).manufacturer(), "Phone X");
}

// Names

TEST(DeviceInfo, IsNamedAsItsProductUntilTheUserNamesIt)
{
    DeviceInfo device(phone());
    const LogCapture log;
    EXPECT_EQ(device.customName(), "Phone X");
    EXPECT_THAT(log.infoLines(), ElementsAre("usbProductName customName  = Phone X"));
    EXPECT_THAT(log.systemLines(), IsEmpty());
    EXPECT_EQ(device.displayName(), "Phone X");
}

TEST(DeviceInfo, ANameThatTheUserGaveIsKeptBySerialNumber)
{
    DeviceInfo(phone()).setCustomName("Anna's");
    const DeviceInfo again(phone());
    const LogCapture log;
    EXPECT_EQ(again.customName(), "Anna's");
    EXPECT_THAT(log.systemLines(), ElementsAre("customName  = Anna's  psn=ANameThatTheUserGaveIsKeptBySerialNumber"));
    EXPECT_THAT(log.infoLines(), IsEmpty());
    EXPECT_EQ(again.displayName(), "Anna's");
    EXPECT_EQ(DeviceInfo(phone("another one")).customName(), "Phone X");
}

TEST(DeviceInfo, ANewNameKeepsTheNamesOfOthers)
{
    DeviceInfo(phone("A1")).setCustomName("one");
    DeviceInfo(phone("A2")).setCustomName("two");
    const Dictionary names = UserDefaults::standardUserDefaults().dictionaryForKey("DeviceDisplayName");
    EXPECT_EQ(names["A1"].string(), "one");
    EXPECT_EQ(names["A2"].string(), "two");
}

TEST(DeviceInfo, AnEmptyOrAbsentNameIsIgnored)
{
    DeviceInfo device(phone());
    device.setCustomName("kept");
    device.setCustomName("");
    device.setCustomName(nullptr);
    EXPECT_EQ(device.customName(), "kept");
}

TEST(DeviceInfo, WithoutASerialNumberNoNameIsKept)
{
    const Dictionary before = UserDefaults::standardUserDefaults().dictionaryForKey("DeviceDisplayName");
    DeviceInfo device(with(phone(), "USB Serial Number", nullptr));
    device.setCustomName("nobody's");
    EXPECT_EQ(device.customName(), "Phone X");
    EXPECT_EQ(UserDefaults::standardUserDefaults().dictionaryForKey("DeviceDisplayName"), before);
}

TEST(DeviceInfo, WithoutAnyNameIsAnAndroidDeviceWithTwoBlanks)
{
    const LogCapture log;
    const DeviceInfo device(with(phone(), "USB Product Name", nullptr));
    EXPECT_TRUE(device.customName().isNull());
    EXPECT_THAT(log.infoLines(), Contains("usbProductName customName  = (null)"));
    EXPECT_EQ(device.displayName(), "Android  device");
    EXPECT_EQ(DeviceInfo(with(phone(), "USB Product Name", "")).displayName(), "Android  device");
}

// The expected interface

struct Expected {
    std::uint64_t platform;
    std::int32_t classId, subClassId, protocolId;
};

class DeviceInfoOfPlatform : public testing::TestWithParam<Expected> {};

TEST_P(DeviceInfoOfPlatform, ExpectsItsInterface)
{
    const auto [platform, classId, subClassId, protocolId] = GetParam();
    DeviceInfo device(with(phone(), "osplatform", platform));
    std::int32_t triple[3] = {0, 0, 0};
    EXPECT_TRUE(device.GetExpectInterfaceCompat(triple[0], triple[1], triple[2]));
    EXPECT_THAT(triple, ElementsAre(classId, subClassId, protocolId));

    device.setDeviceInfoDic(with(phone(), "DeviceInterface", Array{interfaceOf(8, 6, 80)}));
    EXPECT_FALSE(device.FindExpectInterface());
    EXPECT_EQ(device.expectInterfaceStatus(), allBits);
    device.setDeviceInfoDic(
        with(phone(), "DeviceInterface", Array{interfaceOf(8, 6, 80), interfaceOf(classId, subClassId, protocolId)}));
    EXPECT_TRUE(device.FindExpectInterface());
    EXPECT_EQ(device.expectInterfaceStatus(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Platforms, DeviceInfoOfPlatform,
    testing::Values(Expected{1, 255, 66, 1}, Expected{2, 6, 1, 1}, Expected{4, 2, 11, 1}));

TEST(DeviceInfo, PlatformCodesAreValuesAndNotBits)
{
    for (const std::uint64_t platform : {0, 3, 5, 6, 7, 8}) {
        const DeviceInfo device(with(phone(), "osplatform", platform));
        std::int32_t triple[3] = {-1, -2, -3};
        EXPECT_FALSE(device.GetExpectInterfaceCompat(triple[0], triple[1], triple[2])) << platform;
        EXPECT_THAT(triple, ElementsAre(-1, -2, -3));
    }
}

TEST(DeviceInfo, APlatformWithoutExpectedInterfaceLooksForTheDebugBridgeAndMissesNothing)
{
    DeviceInfo device(with(phone(), "osplatform", 8));
    EXPECT_FALSE(device.FindExpectInterface());
    EXPECT_EQ(device.expectInterfaceStatus(), 0U);
    device.setDeviceInfoDic(with(phone(), "DeviceInterface", Array{interfaceOf(255, 66, 1)}));
    EXPECT_TRUE(device.FindExpectInterface());
}

TEST(DeviceInfo, TheBootLoaderOfTheDebugBridgeIsAnotherInterface)
{
    const DeviceInfo device(with(with(phone(), "osplatform", 1), "DeviceInterface", Array{interfaceOf(255, 66, 3)}));
    EXPECT_FALSE(device.FindExpectInterface());
}

TEST(DeviceInfo, TheDevicesOwnClassMayBeTheExpectedOne)
{
    Dictionary properties = with(phone(), "DeviceInterface", nullptr);
    properties.set("bDeviceClass", 6);
    properties.set("bDeviceSubClass", 1);
    properties.set("bDeviceProtocol", 1);
    const DeviceInfo device(properties);
    const LogCapture log;
    EXPECT_TRUE(device.IsCompatible(6, 1, 1));
    EXPECT_FALSE(device.IsCompatible(6, 1, 2));
    EXPECT_TRUE(device.FindExpectInterface());
    EXPECT_THAT(log.infoLines(), IsEmpty()); // the interfaces were not looked at
}

TEST(DeviceInfo, LooksThroughItsInterfaces)
{
    const DeviceInfo device(phone());
    const LogCapture log;
    EXPECT_TRUE(device.findChildInterface(6, 1, 1));
    EXPECT_FALSE(device.findChildInterface(6, 1, 2));
    const std::string line = "interfaceArray ({bInterfaceClass = 8; bInterfaceSubClass = 6; bInterfaceProtocol = 80}, "
                             "{bInterfaceClass = 6; bInterfaceSubClass = 1; bInterfaceProtocol = 1})";
    EXPECT_THAT(log.infoLines(), ElementsAre(line, line));
}

TEST(DeviceInfo, WithoutInterfacesNoneIsFoundAndTheLineIsLogged)
{
    const DeviceInfo device(with(phone(), "DeviceInterface", nullptr));
    const LogCapture log;
    EXPECT_FALSE(device.findChildInterface(6, 1, 1));
    EXPECT_THAT(log.infoLines(), ElementsAre("interfaceArray (null)"));
}

TEST(DeviceInfo, InterfacesOfAnotherFormAreNone)
{
    const DeviceInfo device(with(phone(), "DeviceInterface", Array{"text", 7, Array{1}}));
    EXPECT_FALSE(device.findChildInterface(0, 0, 0));
}

// What else it answers

TEST(DeviceInfo, WritesItsPropertiesToTheLog)
{
    const DeviceInfo device(Dictionary{{"idVendor", 1256}});
    const DeviceInfo without(String("1"));
    const LogCapture log;
    device.writeDeviceBaseInfoToLog();
    without.writeDeviceBaseInfoToLog();
    EXPECT_THAT(log.infoLines(), ElementsAre("deviceInfoDic : {idVendor = 1256}"));
}

TEST(DeviceInfo, AnswersForEveryDeviceWhatOnlyConcreteOnesKnow)
{
    DeviceInfo device(phone());
    EXPECT_EQ(device.playlistFormat(), 0U);
    EXPECT_TRUE(device.mountDrives().isNull());
    EXPECT_TRUE(device.CDROMDrives().isNull());
    EXPECT_EQ(device.status(), 0U);
    EXPECT_EQ(device.capacility(), 0U);
    EXPECT_FALSE(device.expectDeviceInfoInterface());
    EXPECT_EQ(device.syncState(), 0U);
    EXPECT_EQ(device.syncVersion(), 0U);
    EXPECT_EQ(device.syncSupports(), 0U);
    EXPECT_TRUE(device.changeState(3));
    EXPECT_TRUE(device.eject());
    device.refresh(true);
    device.changeId("7", 8);
    device.LoadBaseInfo({{"model", "other"}});
    EXPECT_EQ(device.Id(), "18162688");
    EXPECT_EQ(device.PID(), 0x6860);
    EXPECT_EQ(device.model(), "PX-1");
    EXPECT_FALSE(device.load(true, Object()));
    EXPECT_EQ(device.backupOSPlatform(), 0U);
    EXPECT_FALSE(device.hasDaemonRoot());
}

TEST(DeviceInfo, KeepsEachOfItsFields)
{
    DeviceInfo device(phone());
    std::int32_t number = 0;
    const auto next = [&]<class T>(const T &) {
        ++number;
        if constexpr (std::is_same_v<T, String>)
            return String(std::to_string(number));
        else if constexpr (std::is_same_v<T, Size>)
            return Size{static_cast<double>(number), 1};
        else
            return static_cast<T>(number);
    };
#define FIELD(type, name, setter) device.setter(next(type{}));
#include <kelvane/data/detail/DeviceInfoFields.def>
    number = 0;
#define FIELD(type, name, setter) EXPECT_EQ(device.name(), next(type{})) << #name;
#include <kelvane/data/detail/DeviceInfoFields.def>
    EXPECT_EQ(number, 31);
}

} // namespace
} // namespace kelvane
