// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/data/DeviceInfo.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/PropertyList.h>

#include <cstdlib>
#include <filesystem>

namespace kelvane {
namespace {

// The names of devices are kept in the defaults of the program: here in memory, and for one input alone.
void forgetNames()
{
    static const bool isElsewhere = ::setenv("XDG_CONFIG_HOME", scratchFolder().c_str(), 1) == 0;
    require(isElsewhere, "there is a place for defaults");
    for (const auto &entry : std::filesystem::directory_iterator(scratchFolder()))
        std::filesystem::remove_all(entry.path());
}

void checkInterface(const DeviceInfo &device)
{
    std::int32_t classId = -1;
    std::int32_t subClassId = -1;
    std::int32_t protocolId = -1;
    const bool isExpected = device.GetExpectInterfaceCompat(classId, subClassId, protocolId);
    const std::uint64_t platform = device.OSPlatform();
    require(isExpected == (platform == 1 || platform == 2 || platform == 4), "three platforms expect an interface");
    require(isExpected == (classId != -1), "nothing is filled in where nothing is expected");
    if (!isExpected)
        return;
    const bool isThere = device.IsCompatible(classId, subClassId, protocolId)
        || device.findChildInterface(classId, subClassId, protocolId);
    require(device.FindExpectInterface() == isThere, "what is expected is looked for at the device and below it");
}

void checkNames(const DeviceInfo &device)
{
    require(!device.displayName().isEmpty(), "a device has a name to show");
    require(!device.manufacturer().isEmpty() || device.usbProductName().isEmpty(), "a product stands for its maker");
    const bool isNamed = !device.PSN().isNull() && !device.usbProductName().isEmpty();
    require(!isNamed || device.customName() == device.usbProductName(), "a device begins with the product's name");
}

} // namespace
} // namespace kelvane

// The properties of a device, as a property list may hold them: what is said of it by the system, or by whoever asked it.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    forgetNames();
    const Value properties = PropertyList::read(Data(input.data(), input.size()));
    const DeviceInfo device(properties.dictionary());
    checkInterface(device);
    checkNames(device);
    static_cast<void>(device.Id());
    static_cast<void>(device.VID());
    static_cast<void>(device.PID());
    static_cast<void>(device.expectInterfaceStatus());
    device.writeDeviceBaseInfoToLog();
}
