// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

/// The product id and the version of an attached device.
///
/// Threads: one at a time.
class KELVANE_EXPORT IRootDeviceData {
public:
    virtual ~IRootDeviceData();

    [[nodiscard]] virtual std::int32_t devicePid() const = 0;
    /// @selector setDevicePid:
    virtual void setDevicePid(std::int32_t devicePid) = 0;
    /// Null until it is set.
    [[nodiscard]] virtual String deviceVersion() const = 0;
    /// @selector setDeviceVersion:
    virtual void setDeviceVersion(String deviceVersion) = 0;

protected:
    IRootDeviceData() = default;
    IRootDeviceData(const IRootDeviceData &) = default;
    IRootDeviceData &operator=(const IRootDeviceData &) = default;
};

} // namespace kelvane
