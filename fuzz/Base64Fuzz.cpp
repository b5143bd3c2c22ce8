// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/Base64Encode.h>
#include <kelvane/common/detail/Base64Codec.h>
#include <tests/support/PlainBase64.h>

using namespace kelvane;

namespace {

bool isSame(const Data &data, const std::optional<std::string> &plain)
{
    return data.isNull() ? !plain : plain && data.view() == *plain;
}

} // namespace

// Every way of coding that this processor has against the rules, one after the other.
void kelvane::fuzz(std::string_view input)
{
    const auto *text = input.data();
    for (const detail::Base64Blocks &blocks : detail::base64BlocksHere()) {
        require(isSame(detail::baseDecode(text, input.size(), detail::base64Reverse, true, blocks),
                    testsupport::plainBase64Decode(input, true)),
            "decoding follows the rules");
        require(isSame(detail::baseDecode(text, input.size(), detail::base64Reverse, false, blocks),
                    testsupport::plainBase64Decode(input, false)),
            "decoding without padding follows the rules");
        const Data encoded = detail::baseEncode(text, input.size(), detail::base64Charset, true, blocks);
        require(isSame(encoded, testsupport::plainBase64Encode(input, true)), "encoding follows the rules");
    }
    require(input.empty() || Base64Encode::decodeData(Base64Encode::encodeBytes(text, input.size())).view() == input,
        "what was encoded comes back");
}
