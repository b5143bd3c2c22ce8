// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Base64Encode.h>

#include <kelvane/common/detail/Base64Codec.h>

namespace kelvane {

namespace {

String asText(const Data &data)
{
    return data.isNull() ? String() : String::fromUtf8(data.view());
}

} // namespace

Data Base64Encode::encodeData(const Data &data)
{
    return encodeBytes(data.view().data(), data.size());
}

Data Base64Encode::encodeBytes(const void *bytes, std::size_t length)
{
    return detail::baseEncode(bytes, length, detail::base64Charset, true);
}

Data Base64Encode::encodeString(const String &text, StringEncoding encoding)
{
    return encodeData(dataUsingEncoding(text, encoding));
}

String Base64Encode::stringByEncodeData(const Data &data)
{
    return asText(encodeData(data));
}

String Base64Encode::stringByEncodeBytes(const void *bytes, std::size_t length)
{
    return asText(encodeBytes(bytes, length));
}

String Base64Encode::stringByEncodeString(const String &text, StringEncoding encoding)
{
    return asText(encodeString(text, encoding));
}

Data Base64Encode::decodeData(const Data &data)
{
    return decodeBytes(data.view().data(), data.size());
}

Data Base64Encode::decodeBytes(const void *bytes, std::size_t length)
{
    return detail::baseDecode(bytes, length, detail::base64Reverse, true);
}

Data Base64Encode::decodeString(const String &text)
{
    return decodeData(dataUsingEncoding(text, StringEncoding::Ascii));
}

String Base64Encode::stringByDecodeData(const Data &data)
{
    return asText(decodeData(data));
}

String Base64Encode::stringByDecodeBytes(const void *bytes, std::size_t length)
{
    return asText(decodeBytes(bytes, length));
}

String Base64Encode::stringByDecodeString(const String &text)
{
    return asText(decodeString(text));
}

} // namespace kelvane
