// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Value.h>

#include <string_view>

namespace kelvane::detail {

// The binary form: "bplist00", the objects, one after the other, a table of their offsets and a trailer that tells
// where the table is. Containers refer to their elements by number. All numbers are big-endian.

/// See PropertyList::toBinary().
[[nodiscard]] Data writeBinaryPropertyList(const Value &value);
/// See PropertyList::read().
[[nodiscard]] Value readBinaryPropertyList(std::string_view bytes);

constexpr std::string_view binaryPropertyListMagic = "bplist00";
constexpr std::size_t binaryPropertyListTrailer = 32;

} // namespace kelvane::detail
