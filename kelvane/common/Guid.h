// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/Uuid.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace kelvane {

/// An identifier that owns one UUID and shows it as 16 bytes, as text and as data. It may hold none, where it was made
/// from a text that is no UUID.
///
/// Threads: any; it never changes.
/// Errors: nothing throws but std::bad_alloc; an initialiser without its argument gives a null pointer.
class KELVANE_EXPORT Guid {
public:
    /// Generates a new UUID.
    Guid() noexcept : _uuid(Uuid::generate()) {}
    /// Holds that UUID, or none.
    explicit Guid(const std::optional<Uuid> &uuid) noexcept : _uuid(uuid) {}

    /// A new one.
    [[nodiscard]] static std::shared_ptr<Guid> UUID();
    /// One of the first 16 bytes of the data; null where there are fewer. @selector uuidWithData:
    [[nodiscard]] static std::shared_ptr<Guid> uuidWithData(const Data &data);
    /// One of a text. Null for a null text; a Guid without a UUID for a text that is none.
    /// @selector initWithUUIDString:
    [[nodiscard]] static std::shared_ptr<Guid> initWithUUIDString(const String &text);
    /// One of 16 bytes, null for a null pointer. @selector initWithUUIDBytes:
    [[nodiscard]] static std::shared_ptr<Guid> initWithUUIDBytes(const std::uint8_t *bytes);
    /// One of a UUID, null for none. @selector initWithCFUUIDRef:
    [[nodiscard]] static std::shared_ptr<Guid> initWithCFUUIDRef(const std::optional<Uuid> &uuid);

    /// The text form of data (as uuidWithData()) or of a Guid; a text as it is, unchecked; null for anything else.
    /// @selector valueToGuidString:
    [[nodiscard]] static String valueToGuidString(const Value &value);

    /// Writes the 16 bytes in the order of the text form; nothing where no UUID is held. @selector getUUIDBytes:
    void getUUIDBytes(std::uint8_t *buffer) const noexcept;
    /// 36 characters, letters in upper case; null where no UUID is held.
    [[nodiscard]] String UUIDString() const;
    /// The 16 bytes; zeros where no UUID is held.
    [[nodiscard]] Data UUIDData() const;

private:
    const std::optional<Uuid> _uuid;
};

/// Whether the host is little-endian, which the library takes for granted: true.
[[nodiscard]] KELVANE_EXPORT bool IsLittleEndian() noexcept;

} // namespace kelvane
