// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/IRootDeviceData.h>

namespace kelvane {

/// The record of a device's product id and version: two fields, 0 and null until they are set.
///
/// Threads: one at a time.
class KELVANE_EXPORT RootDeviceDataItem : public IRootDeviceData {
public:
    RootDeviceDataItem() = default;

    [[nodiscard]] std::int32_t devicePid() const override;
    void setDevicePid(std::int32_t devicePid) override;
    [[nodiscard]] String deviceVersion() const override;
    void setDeviceVersion(String deviceVersion) override;

private:
    std::int32_t _devicePid = 0;
    String _deviceVersion;
};

} // namespace kelvane
