// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

/// How the characters of a text become bytes. The values are those of the original interface and are stored by
/// applications.
enum class StringEncoding : std::uint32_t {
    Ascii = 1,
    Utf8 = 4,
    IsoLatin1 = 5,
    Utf16 = 10, ///< a byte order mark, then the host's byte order
    Utf16BigEndian = 0x90000100,
    Utf16LittleEndian = 0x94000100
};

/// The text's bytes in that encoding; null where the text is null or has a character that the encoding lacks.
[[nodiscard]] KELVANE_EXPORT Data dataUsingEncoding(const String &text, StringEncoding encoding);

} // namespace kelvane
