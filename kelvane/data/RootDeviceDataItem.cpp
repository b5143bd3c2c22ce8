// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/RootDeviceDataItem.h>

#include <utility>

namespace kelvane {

IRootDeviceData::~IRootDeviceData() = default;

std::int32_t RootDeviceDataItem::devicePid() const
{
    return _devicePid;
}

void RootDeviceDataItem::setDevicePid(std::int32_t devicePid)
{
    _devicePid = devicePid;
}

String RootDeviceDataItem::deviceVersion() const
{
    return _deviceVersion;
}

void RootDeviceDataItem::setDeviceVersion(String deviceVersion)
{
    _deviceVersion = std::move(deviceVersion);
}

} // namespace kelvane
