// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/IDeviceInfo.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Size.h>
#include <kelvane/foundation/String.h>

#include <cstdint>
#include <utility>

namespace kelvane {

/// The record of one attached phone or tablet: made from the USB properties that UsbDiscovery gives, asked for its names
/// and numbers, and for the USB interface that an application expects to talk to. The name that the user gave a device is
/// kept in the user defaults, by the device's serial number. Classes of concrete devices derive from it and fill in the
/// rest.
///
/// Threads: one at a time; records of the same device on several threads keep each other's names.
/// Ownership: owns its texts and the dictionary.
/// Errors: nothing throws; what the dictionary does not hold is null or 0. A device without a serial number has no custom
/// name of its own.
class KELVANE_EXPORT DeviceInfo : public IDeviceInfo {
public:
    /// @selector initWithInfo:
    explicit DeviceInfo(Dictionary deviceInfoDic);
    /// A record without properties: what is read from them is null or 0, whatever `deviceId` is. @selector initWithId:
    explicit DeviceInfo(const String &deviceId);
    ~DeviceInfo() override;
    DeviceInfo(const DeviceInfo &) = delete;
    DeviceInfo &operator=(const DeviceInfo &) = delete;

    /// Takes class, serial number and platform from the properties, and, where the device has no name yet, gives it the
    /// one of the product.
    void loadBaseInfo();

    // Read from the properties on every call -------------------------------------------------------------------------

    [[nodiscard]] const Dictionary &deviceInfoDic() const noexcept { return _deviceInfoDic; }
    void setDeviceInfoDic(Dictionary properties) noexcept { _deviceInfoDic = std::move(properties); }
    /// The text of "locationID".
    [[nodiscard]] String Id() const override;
    [[nodiscard]] std::int32_t VID() const override;
    [[nodiscard]] std::int32_t PID() const override;
    [[nodiscard]] String serialNumber() const override;
    [[nodiscard]] String model() const override;
    [[nodiscard]] virtual String largeIcon() const;
    [[nodiscard]] virtual String alias() const;
    [[nodiscard]] String usbProductName() const override;
    /// "manufacturer" of the properties, usbProductName() where that is absent or empty.
    [[nodiscard]] String manufacturer() const override;

    // Intended: what is set here is not what the functions above answer, which read the properties whatever was set. It
    // is kept for derived classes that answer from it.
    void setDisplayName(String displayName) noexcept { _displayName = std::move(displayName); }
    void setVID(std::int32_t VID) noexcept { _vendorId = VID; }
    void setPID(std::int32_t PID) noexcept { _productId = PID; }
    void setSerialNumber(String serialNumber) noexcept { _serialNumber = std::move(serialNumber); }
    void setModel(String model) noexcept { _model = std::move(model); }
    void setLargeIcon(String largeIcon) noexcept { _largeIcon = std::move(largeIcon); }
    void setAlias(String alias) noexcept { _alias = std::move(alias); }
    void setManufacturer(String manufacturer) noexcept { _manufacturer = std::move(manufacturer); }

    // Names ----------------------------------------------------------------------------------------------------------

    /// The name that the user gave the device with this PSN(), else usbProductName().
    [[nodiscard]] String customName() const override;
    /// Keeps `name` for PSN() in the user defaults. Null, an empty name, and a device without PSN() change nothing.
    void setCustomName(const String &name) override;
    /// customName(), or "Android  device". Intended: with two blanks; texts of applications are compared with it.
    [[nodiscard]] String displayName() const override;

    // The expected interface -----------------------------------------------------------------------------------------

    /// @selector GetExpectInterfaceCompat:SubClassId:ProtId:
    /// Fills in the triple that OSPlatform() 1, 2 or 4 expects; false, and nothing filled in, for any other code. Codes are
    /// values and not bits.
    bool GetExpectInterfaceCompat(std::int32_t &classId, std::int32_t &subClassId, std::int32_t &protocolId) const;
    /// @selector IsCompatible:SubClassId:ProtId:
    /// Whether the device's own class is this triple.
    [[nodiscard]] bool IsCompatible(std::int32_t classId, std::int32_t subClassId, std::int32_t protocolId) const;
    /// @selector findChildInterface:SubClassId:ProtId:
    /// Whether one of the device's interfaces has this triple.
    [[nodiscard]] bool findChildInterface(std::int32_t classId, std::int32_t subClassId, std::int32_t protocolId) const;
    /// Whether the device or one of its interfaces has the triple that its platform expects; without an expected one, that
    /// of the debug bridge.
    [[nodiscard]] bool FindExpectInterface() const;
    /// All bits set where the platform expects an interface and the device does not have it, else 0.
    [[nodiscard]] std::uint64_t expectInterfaceStatus() const;

    /// Writes the properties, if there are any, to the log.
    void writeDeviceBaseInfoToLog() const;

    // Fields ---------------------------------------------------------------------------------------------------------

    // One reader and one writer for each: `brand()` and `setBrand(brand)`. detail/DeviceInfoFields.def lists them.
#define FIELD(type, name, setter)                                                                                      \
    [[nodiscard]] const type &name() const noexcept                                                                    \
    {                                                                                                                  \
        return _fields.name;                                                                                           \
    }                                                                                                                  \
    void setter(type value) noexcept                                                                                   \
    {                                                                                                                  \
        _fields.name = std::move(value);                                                                               \
    }
#include <kelvane/data/detail/DeviceInfoFields.def>

    // What only the class of a concrete device knows: here the same for all ------------------------------------------

    [[nodiscard]] std::uint64_t syncState() const override
    {
        return _syncState;
    }
    [[nodiscard]] std::uint64_t syncVersion() const override
    {
        return 0;
    }
    [[nodiscard]] std::uint64_t syncSupports() const override
    {
        return 0;
    }
    [[nodiscard]] std::uint64_t playlistFormat() const override
    {
        return 0;
    }
    [[nodiscard]] Array mountDrives() const override
    {
        return nullptr;
    }
    [[nodiscard]] Array CDROMDrives() const override
    {
        return nullptr;
    }
    [[nodiscard]] std::uint64_t status() const override
    {
        return 0;
    }
    [[nodiscard]] std::uint64_t capacility() const override
    {
        return 0;
    }
    [[nodiscard]] Object expectDeviceInfoInterface() const override
    {
        return nullptr;
    }
    bool changeState(std::uint64_t /*state*/) override
    {
        return true;
    }
    bool eject() override
    {
        return true;
    }
    void refresh(bool /*synchronous*/) override {}
    void changeId(const String & /*deviceId*/, std::int32_t /*devicePid*/) override {}
    void LoadBaseInfo(const Dictionary & /*properties*/) override {}

protected:
    std::uint64_t _syncState = 0;
    String _displayName;
    std::int32_t _vendorId = 0;
    std::int32_t _productId = 0;
    String _serialNumber;
    String _model;
    String _largeIcon;
    String _alias;
    String _manufacturer;

private:
    struct Fields {
#define FIELD(type, name, setter) type name{};
#include <kelvane/data/detail/DeviceInfoFields.def>
    };

    Dictionary _deviceInfoDic;
    Fields _fields;
};

} // namespace kelvane
