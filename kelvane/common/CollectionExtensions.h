// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>

#include <cstdint>
#include <optional>

namespace kelvane {

class FileHandle;

// What dictionaries, arrays, data and file handles can do beyond their own classes, as free functions whose first
// argument is the object that the original messages were sent to.
//
// Threads: any; a file handle belongs to one thread at a time.
// Errors: nothing throws but std::bad_alloc.

/// Whether the key is among the dictionary's keys; false for null. @selector containsKey:
[[nodiscard]] KELVANE_EXPORT bool containsKey(const Dictionary &dictionary, const String &key) noexcept;

/// The dictionary as a binary property list, format version 1.0; null where it is null or holds what no property
/// list can.
[[nodiscard]] KELVANE_EXPORT Data toBinData(const Dictionary &dictionary);
/// The dictionary as an XML property list in UTF-8; null for the same reasons.
[[nodiscard]] KELVANE_EXPORT Data toXmlData(const Dictionary &dictionary);

/// Stores `value` under `key`; changes nothing where one of them is null or nil. The first argument is the key,
/// whatever the name says. @selector setKey:forValue:
KELVANE_EXPORT void setKey(Dictionary &dictionary, const String &key, const Value &value);

/// The first element, nil for an empty array.
[[nodiscard]] KELVANE_EXPORT Value firstObject(const Array &array);

/// The element that a stable sort would put first: below 0, 0 or above 0 is what `compare` says of two elements in
/// order. Nil for an empty array. @selector find:
[[nodiscard]] KELVANE_EXPORT Value find(const Array &array, const Block<int(const Value &, const Value &)> &compare);

/// The texts of the array, trimmed, without those that are then empty. Elements that are no texts are left out.
[[nodiscard]] KELVANE_EXPORT Array trimObject(const Array &array);

/// The pairs of a strings file in UTF-8; null where the data are no such file. Despite the name an XML property list
/// is not read here, but by fromData().
[[nodiscard]] KELVANE_EXPORT Dictionary fromXmlData(const Data &data);
/// The property list in the data, whichever its form; nil on failure.
[[nodiscard]] KELVANE_EXPORT Value fromBinData(const Data &data);
/// What fromXmlData() reads, else what fromBinData() reads.
[[nodiscard]] KELVANE_EXPORT Value fromData(const Data &data);

/// Takes four bytes from the handle's position: a number in the host's byte order. Nothing where fewer are left.
[[nodiscard]] KELVANE_EXPORT std::optional<std::int32_t> readInt32(FileHandle &handle) noexcept;
/// Writes the four bytes of `value` in the host's byte order; false where that fails. @selector writeInt:
KELVANE_EXPORT bool writeInt(FileHandle &handle, std::int32_t value) noexcept;

} // namespace kelvane
