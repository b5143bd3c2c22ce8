// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/IDeviceUsbInfo.h>
#include <kelvane/data/IMobileReadSync.h>
#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Object.h>

namespace kelvane {

/// Everything that an application asks of an attached phone or tablet. DeviceInfo is the base of those who answer.
///
/// Operations that only the class of a concrete device can answer have a body here that says so by doing nothing.
///
/// Threads: one at a time.
class KELVANE_EXPORT IDeviceInfo : public IDeviceUsbInfo, public IMobileReadSync {
public:
    ~IDeviceInfo() override;

    /// The name that the user is shown, and the one that the user gave.
    [[nodiscard]] virtual String displayName() const = 0;
    [[nodiscard]] virtual String customName() const = 0;
    virtual void setCustomName(const String &name) = 0;
    [[nodiscard]] virtual String manufacturer() const = 0;
    [[nodiscard]] virtual String model() const = 0;

    /// The volumes of the device that the system has mounted, those that stand for a disc drive among them; null where
    /// that is not known.
    [[nodiscard]] virtual Array mountDrives() const = 0;
    [[nodiscard]] virtual Array CDROMDrives() const = 0;
    [[nodiscard]] virtual std::uint64_t status() const = 0;
    /// What the device can do, a bit each. The spelling is settled.
    [[nodiscard]] virtual std::uint64_t capacility() const = 0;
    /// What stands for the interface that the application talks to; null for none.
    [[nodiscard]] virtual Object expectDeviceInfoInterface() const = 0;

    /// Reads what changes while the device is attached.
    virtual void refresh(bool synchronous) = 0;

    /// Reads everything, telling `userState` along; whether that began. Left to the classes of concrete devices.
    /// @selector load:userState:
    virtual bool load(bool /*synchronous*/, const Object & /*userState*/) { return false; }
    /// The platform of the device before it switched its mode. Left to the classes of concrete devices.
    [[nodiscard]] virtual std::uint64_t backupOSPlatform() const { return 0; }
    /// Whether a service with all rights runs on the device. Left to the classes of concrete devices.
    [[nodiscard]] virtual bool hasDaemonRoot() const { return false; }
    virtual void setHasDaemonRoot(bool /*hasDaemonRoot*/) {}
};

} // namespace kelvane
