// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/DeviceInfo.h>

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/UserDefaults.h>
#include <kelvane/platform/ZenLogger.h>

#include <algorithm>
#include <limits>
#include <string>

namespace kelvane {

IDeviceUsbInfo::~IDeviceUsbInfo() = default;
IMobileReadSync::~IMobileReadSync() = default;
IDeviceInfo::~IDeviceInfo() = default;

namespace {

/// The key in the user defaults of the names that the user gave, by serial number.
constexpr const char *customNamesKey = "DeviceDisplayName";

struct ExpectedInterface {
    std::uint64_t platform;
    std::int32_t classId;
    std::int32_t subClassId;
    std::int32_t protocolId;
};

constexpr ExpectedInterface expectedInterfaces[] = {
    {1, 255, 66, 1}, // debug bridge
    {2, 6, 1, 1}, // picture and media transfer
    {4, 2, 11, 1}, // object exchange
};

std::string_view textOf(const String &text)
{
    return text.isNull() ? std::string_view("(null)") : text.view();
}

void logInfo(std::initializer_list<std::string_view> parts)
{
    ZenLogger::defaultLogger().ZenLogInfo(String::concat(parts));
}

} // namespace

DeviceInfo::DeviceInfo(Dictionary deviceInfoDic) : _deviceInfoDic(std::move(deviceInfoDic))
{
    loadBaseInfo();
}

DeviceInfo::DeviceInfo(const String & /*deviceId*/) {}

DeviceInfo::~DeviceInfo() = default;

void DeviceInfo::loadBaseInfo()
{
    setClassId(_deviceInfoDic["bDeviceClass"].intValue());
    setSubClassId(_deviceInfoDic["bDeviceSubClass"].intValue());
    setProtocolId(_deviceInfoDic["bDeviceProtocol"].intValue());
    setPSN(DeviceInfo::serialNumber());
    if (DeviceInfo::customName().isNull())
        DeviceInfo::setCustomName(DeviceInfo::usbProductName());
    setOSPlatform(static_cast<std::uint64_t>(std::int64_t{_deviceInfoDic["osplatform"].intValue()}));
    logInfo({"classId = ", std::to_string(classId()), "  _subClassId=", std::to_string(subClassId()), "  _protocolId=",
        std::to_string(protocolId()), "  OSPlatform=", std::to_string(_deviceInfoDic["osplatform"].intValue())});
}

// Properties

String DeviceInfo::Id() const
{
    return _deviceInfoDic["locationID"].stringValue();
}

std::int32_t DeviceInfo::VID() const
{
    return _deviceInfoDic["idVendor"].intValue();
}

std::int32_t DeviceInfo::PID() const
{
    return _deviceInfoDic["idProduct"].intValue();
}

String DeviceInfo::serialNumber() const
{
    return _deviceInfoDic["USB Serial Number"].string();
}

String DeviceInfo::model() const
{
    return _deviceInfoDic["model"].string();
}

String DeviceInfo::largeIcon() const
{
    return _deviceInfoDic["largeicon"].string();
}

String DeviceInfo::alias() const
{
    return _deviceInfoDic["alias"].string();
}

String DeviceInfo::usbProductName() const
{
    return _deviceInfoDic["USB Product Name"].string();
}

String DeviceInfo::manufacturer() const
{
    String manufacturer = _deviceInfoDic["manufacturer"].string();
    return manufacturer.isEmpty() ? usbProductName() : manufacturer;
}

// Names

String DeviceInfo::customName() const
{
    if (!PSN().isNull()) {
        const Dictionary names = UserDefaults::standardUserDefaults().dictionaryForKey(customNamesKey);
        if (String name = names[PSN().view()].string(); !name.isNull()) {
            SystemLog::defaultLog().log(String::concat({"customName  = ", name.view(), "  psn=", PSN().view()}));
            return name;
        }
    }
    const String name = usbProductName();
    logInfo({"usbProductName customName  = ", textOf(name)});
    return name;
}

void DeviceInfo::setCustomName(const String &name)
{
    if (name.isEmpty() || PSN().isNull())
        return;
    UserDefaults::standardUserDefaults().update(customNamesKey, [&](const Value &before) -> Value {
        Dictionary names = before.dictionary();
        names.set(PSN(), name);
        return names;
    });
}

String DeviceInfo::displayName() const
{
    const String name = customName();
    return name.isEmpty() ? String("Android  device") : name;
}

// The expected interface

bool DeviceInfo::GetExpectInterfaceCompat(
    std::int32_t &classId, std::int32_t &subClassId, std::int32_t &protocolId) const
{
    const auto *const expected = std::find_if(std::begin(expectedInterfaces), std::end(expectedInterfaces),
        [&](const ExpectedInterface &one) { return one.platform == OSPlatform(); });
    if (expected == std::end(expectedInterfaces))
        return false;
    classId = expected->classId;
    subClassId = expected->subClassId;
    protocolId = expected->protocolId;
    return true;
}

bool DeviceInfo::IsCompatible(std::int32_t classId, std::int32_t subClassId, std::int32_t protocolId) const
{
    return this->classId() == classId && this->subClassId() == subClassId && this->protocolId() == protocolId;
}

bool DeviceInfo::findChildInterface(std::int32_t classId, std::int32_t subClassId, std::int32_t protocolId) const
{
    const Value interfaces = _deviceInfoDic["DeviceInterface"];
    logInfo({"interfaceArray ", interfaces.description().view()});
    const Array array = interfaces.array();
    return std::any_of(array.begin(), array.end(), [&](const Value &one) {
        const Dictionary triple = one.dictionary();
        return !triple.isNull() && triple["bInterfaceClass"].intValue() == classId
            && triple["bInterfaceSubClass"].intValue() == subClassId
            && triple["bInterfaceProtocol"].intValue() == protocolId;
    });
}

bool DeviceInfo::FindExpectInterface() const
{
    std::int32_t classId = expectedInterfaces[0].classId;
    std::int32_t subClassId = expectedInterfaces[0].subClassId;
    std::int32_t protocolId = expectedInterfaces[0].protocolId;
    (void)GetExpectInterfaceCompat(classId, subClassId, protocolId);
    return IsCompatible(classId, subClassId, protocolId) || findChildInterface(classId, subClassId, protocolId);
}

std::uint64_t DeviceInfo::expectInterfaceStatus() const
{
    std::int32_t ignored = 0;
    const bool isMissing = !FindExpectInterface() && GetExpectInterfaceCompat(ignored, ignored, ignored);
    return isMissing ? std::numeric_limits<std::uint64_t>::max() : 0;
}

void DeviceInfo::writeDeviceBaseInfoToLog() const
{
    if (!_deviceInfoDic.isNull())
        logInfo({"deviceInfoDic : ", _deviceInfoDic.description().view()});
}

} // namespace kelvane
