// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/StringEncoding.h>

#include <cstddef>

namespace kelvane {

/// Base64 in the standard alphabet (RFC 4648), padded, decoded strictly.
///
/// Decoding skips white space and the bytes 160 and 255 wherever they stand, ends at the first NUL, and refuses
/// characters outside the alphabet, missing or superfluous padding and leftover bits that are not zero.
///
/// Threads: any thread, any operation.
/// Errors: nothing throws but std::bad_alloc; any failure gives null. So does empty input, both ways, and a text that
/// stands for no bytes.
class KELVANE_EXPORT Base64Encode {
public:
    Base64Encode() = delete;

    /// @selector encodeData:
    [[nodiscard]] static Data encodeData(const Data &data);
    /// @selector encodeBytes:length:
    [[nodiscard]] static Data encodeBytes(const void *bytes, std::size_t length);
    /// The text's bytes in that encoding, encoded. @selector encodeString:withStringEncoding:
    [[nodiscard]] static Data encodeString(const String &text, StringEncoding encoding);
    /// @selector stringByEncodeData:
    [[nodiscard]] static String stringByEncodeData(const Data &data);
    /// @selector stringByEncodeBytes:length:
    [[nodiscard]] static String stringByEncodeBytes(const void *bytes, std::size_t length);
    /// @selector stringByEncodeString:withStringEncoding:
    [[nodiscard]] static String stringByEncodeString(const String &text, StringEncoding encoding);

    /// @selector decodeData:
    [[nodiscard]] static Data decodeData(const Data &data);
    /// @selector decodeBytes:length:
    [[nodiscard]] static Data decodeBytes(const void *bytes, std::size_t length);
    /// Null for a text with other characters than those of ASCII. @selector decodeString:
    [[nodiscard]] static Data decodeString(const String &text);
    /// The decoded bytes as a text, null where they are no UTF-8. @selector stringByDecodeData:
    [[nodiscard]] static String stringByDecodeData(const Data &data);
    /// @selector stringByDecodeBytes:length:
    [[nodiscard]] static String stringByDecodeBytes(const void *bytes, std::size_t length);
    /// @selector stringByDecodeString:
    [[nodiscard]] static String stringByDecodeString(const String &text);
};

} // namespace kelvane
