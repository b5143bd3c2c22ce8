// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Base64Encode.h>
#include <kelvane/common/detail/Base64Codec.h>

#include <tests/support/PlainBase64.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {
namespace {

using namespace std::string_literals;
using testsupport::plainBase64Decode;
using testsupport::plainBase64Encode;

Data bytes(const std::string &text)
{
    return Data(text.data(), text.size());
}

std::string encoded(const std::string &text)
{
    return std::string(Base64Encode::encodeData(bytes(text)).view());
}

std::optional<std::string> asOptional(const Data &data)
{
    return data.isNull() ? std::nullopt : std::optional<std::string>(data.view());
}

std::optional<std::string> decoded(const std::string &text)
{
    return asOptional(Base64Encode::decodeData(bytes(text)));
}

TEST(Base64Encode, EncodesTheVectorsOfTheStandard)
{
    EXPECT_EQ(encoded("f"), "Zg==");
    EXPECT_EQ(encoded("fo"), "Zm8=");
    EXPECT_EQ(encoded("foo"), "Zm9v");
    EXPECT_EQ(encoded("foob"), "Zm9vYg==");
    EXPECT_EQ(encoded("fooba"), "Zm9vYmE=");
    EXPECT_EQ(encoded("foobar"), "Zm9vYmFy");
}

TEST(Base64Encode, DecodesTheVectorsOfTheStandard)
{
    for (const char *text : {"f", "fo", "foo", "foob", "fooba", "foobar"})
        EXPECT_EQ(decoded(encoded(text)), text);
}

TEST(Base64Encode, EmptyInputGivesNull)
{
    EXPECT_TRUE(Base64Encode::encodeData(bytes("")).isNull());
    EXPECT_TRUE(Base64Encode::encodeData(Data()).isNull());
    EXPECT_TRUE(Base64Encode::encodeBytes(nullptr, 3).isNull());
    EXPECT_TRUE(Base64Encode::encodeString("", StringEncoding::Utf8).isNull());
    EXPECT_TRUE(Base64Encode::stringByEncodeData(Data()).isNull());
    EXPECT_TRUE(Base64Encode::decodeData(Data()).isNull());
    EXPECT_TRUE(Base64Encode::decodeBytes(nullptr, 4).isNull());
    EXPECT_EQ(decoded(""), std::nullopt);
    EXPECT_EQ(decoded(" \n"), std::nullopt);
    EXPECT_EQ(decoded("\0Zm9v"s), std::nullopt);
    EXPECT_EQ(decoded("="), std::nullopt);
}

TEST(Base64Encode, PaddingIsRequiredAndExact)
{
    EXPECT_EQ(decoded("Zg=="), "f");
    EXPECT_EQ(decoded("Zg="), std::nullopt);
    EXPECT_EQ(decoded("Zg= "), std::nullopt);
    EXPECT_EQ(decoded("Zg"), std::nullopt);
    EXPECT_EQ(decoded("Zg==="), std::nullopt);
    EXPECT_EQ(decoded("Zm8"), std::nullopt);
    EXPECT_EQ(decoded("Zm8=="), std::nullopt);
    EXPECT_EQ(decoded("Zm9v="), std::nullopt);
    EXPECT_EQ(decoded("Z==="), std::nullopt);
    EXPECT_EQ(decoded("Zg==x"), std::nullopt);
    EXPECT_EQ(decoded("Zg==Zg=="), std::nullopt);
    EXPECT_EQ(decoded("Zg== \t"), "f");
    EXPECT_EQ(decoded("Zg = \n="), "f");
}

TEST(Base64Encode, LeftoverBitsAreZero)
{
    EXPECT_EQ(decoded("Zh=="), std::nullopt);
    EXPECT_EQ(decoded("Zm9="), std::nullopt);
    EXPECT_EQ(decoded("Zm8="), "fo");
}

TEST(Base64Encode, WhiteSpaceIsSkippedWhereverItStands)
{
    EXPECT_EQ(decoded("Zm9v\nYmFy"), "foobar");
    EXPECT_EQ(decoded(" Z m 9 v  YmFy "), "foobar");
    EXPECT_EQ(decoded("Zm\t\n\v\f\r \xA0\xFF"
                      "9v"),
        "foo");
}

TEST(Base64Encode, DecodingEndsAtTheFirstNul)
{
    EXPECT_EQ(decoded("Zm9v\0!!!"s), "foo");
    EXPECT_EQ(decoded("Zg==\0x"s), "f");
    EXPECT_EQ(decoded("Zg=\0="s), std::nullopt);
}

TEST(Base64Encode, OtherCharactersAreRefused)
{
    for (const char *text : {"Zm9-", "Zm9_", "-m9v", "Zm9v_", "Zm9v\x08", "Zm9v\x80", "Zm9v\xC2\xA0"})
        EXPECT_EQ(decoded(text), std::nullopt) << text;
}

TEST(Base64Encode, TextsGoByTheirEncoding)
{
    EXPECT_EQ(Base64Encode::stringByEncodeString("\xC3\xA9", StringEncoding::Utf8), "w6k=");
    EXPECT_EQ(Base64Encode::stringByEncodeString("\xC3\xA9", StringEncoding::IsoLatin1), "6Q==");
    EXPECT_EQ(Base64Encode::stringByEncodeString("\xC3\xA9", StringEncoding::Utf16BigEndian), "AOk=");
    EXPECT_EQ(Base64Encode::stringByEncodeString("\xC3\xA9", StringEncoding::Utf16LittleEndian), "6QA=");
    EXPECT_EQ(Base64Encode::stringByEncodeString("\xC3\xA9", StringEncoding::Utf16), "//7pAA==");
    EXPECT_TRUE(Base64Encode::stringByEncodeString("\xC3\xA9", StringEncoding::Ascii).isNull());
    EXPECT_TRUE(Base64Encode::stringByEncodeString("\xC4\x80", StringEncoding::IsoLatin1).isNull());
    EXPECT_TRUE(Base64Encode::stringByEncodeString("\xFF", StringEncoding::Utf8).isNull());
    EXPECT_TRUE(Base64Encode::encodeString(nullptr, StringEncoding::Utf8).isNull());
    EXPECT_EQ(Base64Encode::encodeString("foo", StringEncoding::Ascii), bytes("Zm9v"));
}

TEST(Base64Encode, EveryFormOfInputGivesTheSame)
{
    EXPECT_EQ(Base64Encode::encodeBytes("foo", 3), bytes("Zm9v"));
    EXPECT_EQ(Base64Encode::stringByEncodeBytes("foo", 3), "Zm9v");
    EXPECT_EQ(Base64Encode::stringByEncodeData(bytes("foo")), "Zm9v");
    EXPECT_EQ(Base64Encode::decodeBytes("Zm9v", 4), bytes("foo"));
    EXPECT_EQ(Base64Encode::decodeString("Zm9v"), bytes("foo"));
    EXPECT_EQ(Base64Encode::stringByDecodeData(bytes("Zm9v")), "foo");
    EXPECT_EQ(Base64Encode::stringByDecodeBytes("Zm9v", 4), "foo");
    EXPECT_EQ(Base64Encode::stringByDecodeString("w6k="), "\xC3\xA9");
}

TEST(Base64Encode, DecodeStringOfOtherThanAsciiGivesNull)
{
    EXPECT_TRUE(Base64Encode::decodeString("Zm9v\xC3\xA9").isNull());
    EXPECT_TRUE(Base64Encode::decodeString("Zm9v\xC2\xA0").isNull());
    EXPECT_TRUE(Base64Encode::decodeString(nullptr).isNull());
}

TEST(Base64Encode, BytesThatAreNoUtf8GiveNoText)
{
    EXPECT_TRUE(Base64Encode::stringByDecodeString("/w==").isNull());
    EXPECT_EQ(decoded("/w=="), "\xFF");
}

TEST(Base64Encode, AllInputsUpToThreeBytesComeBack)
{
    std::uint8_t input[3];
    std::uint8_t output[3];
    char text[4];
    for (std::size_t size = 1; size <= 3; ++size) {
        for (std::uint32_t value = 0; value < 1U << (8 * size); ++value) {
            for (std::size_t i = 0; i < size; ++i)
                input[i] = static_cast<std::uint8_t>(value >> (8 * i));
            ASSERT_EQ(detail::baseEncode(input, size, text, 4, detail::base64Charset, true), 4U);
            ASSERT_EQ(detail::baseDecode(text, 4, output, 3, detail::base64Reverse, true), size);
            ASSERT_TRUE(std::equal(input, input + size, output)) << value;
        }
    }
}

// The 64 characters, the padding, three that are skipped, one outside the alphabet and the NUL.
const std::string alphabetOf70 = detail::base64Charset + "=-\n\xA0 \0"s;

TEST(Base64Encode, TextsOfTwoAndThreeCharactersFollowThePlainRules)
{
    std::string text;
    for (const std::size_t size : {2U, 3U}) {
        for (std::size_t i = 0; i < (size == 2 ? 70U * 70U : 70U * 70U * 70U); ++i) {
            text.clear();
            for (std::size_t rest = i, n = 0; n < size; ++n, rest /= 70)
                text.push_back(alphabetOf70[rest % 70]);
            ASSERT_EQ(decoded(text), plainBase64Decode(text, true)) << testing::PrintToString(text);
            ASSERT_EQ(asOptional(detail::baseDecode(text.data(), size, detail::base64Reverse, false)),
                plainBase64Decode(text, false))
                << testing::PrintToString(text);
        }
    }
}

TEST(Base64Encode, TextsOfFourCharactersFollowThePlainRules)
{
    // All 70^4 of them. A plain group has an answer that needs no rules; the rest goes through them.
    const std::string &alphabet = alphabetOf70;
    char text[4];
    std::uint8_t out[3];
    for (std::uint32_t i = 0; i < 70U * 70U * 70U * 70U; ++i) {
        std::uint32_t group = 0;
        bool isPlain = true;
        for (std::uint32_t rest = i, n = 0; n < 4; ++n, rest /= 70) {
            text[n] = alphabet[rest % 70];
            isPlain = isPlain && rest % 70 < 64;
            group = group << 6 | (rest % 70 & 63U);
        }
        const std::size_t size = detail::baseDecode(text, 4, out, 3, detail::base64Reverse, true);
        if (isPlain) {
            ASSERT_TRUE(
                size == 3 && out[0] == group >> 16 && out[1] == (group >> 8 & 255U) && out[2] == (group & 255U));
            continue;
        }
        const auto expected = plainBase64Decode(std::string(text, 4), true).value_or("");
        ASSERT_EQ(std::string_view(reinterpret_cast<const char *>(out), size), expected)
            << testing::PrintToString(std::string(text, 4));
    }
}

TEST(Base64Encode, RandomTextsFollowThePlainRules)
{
    std::mt19937 random(7);
    const std::string odd = "=\n \xA0-\0"s;
    for (int round = 0; round < 20000; ++round) {
        std::string input(1 + random() % 100, ' ');
        for (char &c : input)
            c = static_cast<char>(random());
        std::string text = encoded(input);
        for (auto changes = random() % 4; changes > 0; --changes)
            text.insert(random() % (text.size() + 1), 1, odd[random() % odd.size()]);
        ASSERT_EQ(decoded(text), plainBase64Decode(text, true)) << testing::PrintToString(text);
        ASSERT_EQ(asOptional(detail::baseDecode(text.data(), text.size(), detail::base64Reverse, false)),
            plainBase64Decode(text, false));
    }
}

/// Every way of this processor, one after the other.
class Base64Ways : public testing::TestWithParam<detail::Base64Blocks> {
protected:
    static void expectPlain(const std::string &text)
    {
        for (const bool requirePadding : {true, false})
            ASSERT_EQ(asOptional(detail::baseDecode(
                          text.data(), text.size(), detail::base64Reverse, requirePadding, GetParam())),
                plainBase64Decode(text, requirePadding))
                << testing::PrintToString(text);
    }
};

INSTANTIATE_TEST_SUITE_P(Here, Base64Ways,
    testing::ValuesIn(detail::base64BlocksHere().begin(), detail::base64BlocksHere().end()), [](const auto &way) {
        std::string name = way.param.name;
        std::erase(name, '-');
        return name;
    });

TEST_P(Base64Ways, EncodeAllLengthsAsThePlainRulesDo)
{
    std::mt19937 random(3);
    std::string input;
    for (std::size_t size = 1; size <= 400; ++size) {
        input.push_back(static_cast<char>(random()));
        for (const bool padded : {true, false})
            ASSERT_EQ(asOptional(detail::baseEncode(input.data(), size, detail::base64Charset, padded, GetParam())),
                plainBase64Encode(input, padded));
    }
}

TEST_P(Base64Ways, DecodeAllLengthsAsThePlainRulesDo)
{
    std::mt19937 random(4);
    std::string text;
    for (int size = 1; size <= 400; ++size) {
        text.push_back(detail::base64Charset[random() % 64]);
        expectPlain(text);
        expectPlain(text + "=");
        expectPlain(text + "==");
    }
}

TEST_P(Base64Ways, DecodeEveryByteAtEveryPlaceAsThePlainRulesDo)
{
    std::mt19937 random(5);
    std::string text(200, ' ');
    for (char &c : text)
        c = detail::base64Charset[random() % 64];
    for (std::size_t place = 0; place < 72; ++place) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string changed = text;
            changed[place] = static_cast<char>(byte);
            expectPlain(changed);
            changed.insert(place, 4 - (place % 4), static_cast<char>(byte));
            expectPlain(changed);
        }
    }
}

TEST_P(Base64Ways, DecodeLinesOfAnyLengthAsThePlainRulesDo)
{
    std::mt19937 random(6);
    std::string data(1000, ' ');
    for (char &c : data)
        c = static_cast<char>(random());
    const std::string clean = encoded(data);
    for (const std::string lineBreak : {"\n", "\r\n", "\n\n", " \n", "\xA0"}) {
        for (std::size_t width = 1; width <= 140; ++width) {
            std::string text = clean;
            for (std::size_t at = width; at < text.size(); at += width + lineBreak.size())
                text.insert(at, lineBreak);
            ASSERT_EQ(asOptional(detail::baseDecode(text.data(), text.size(), detail::base64Reverse, true, GetParam())),
                data);
            expectPlain(text + lineBreak);
            expectPlain(text.substr(0, text.size() - 1));
            expectPlain(text.replace(text.size() / 2, 1, "-"));
        }
    }
}

TEST_P(Base64Ways, DecodeRandomTextsAsThePlainRulesDo)
{
    std::mt19937 random(7);
    const std::string odd = "=\n\r \xA0\xFF-\0"s;
    for (int round = 0; round < 10000; ++round) {
        std::string input(1 + random() % 300, ' ');
        for (char &c : input)
            c = static_cast<char>(random());
        std::string text = encoded(input);
        for (auto changes = random() % 6; changes > 0; --changes)
            text.insert(random() % (text.size() + 1), 1, odd[random() % odd.size()]);
        expectPlain(text);
    }
}

TEST_P(Base64Ways, StayWithinTheirBuffers)
{
    // Buffers of the exact size, so that the sanitizers see a byte too far.
    for (std::size_t size = 1; size <= 200; ++size) {
        const std::vector<std::uint8_t> input(size, 0xA5);
        std::vector<char> text((size + 2) / 3 * 4);
        std::vector<std::uint8_t> output(size);
        ASSERT_EQ(
            detail::baseEncode(input.data(), size, text.data(), text.size(), detail::base64Charset, true, GetParam()),
            text.size());
        ASSERT_EQ(
            detail::baseDecode(text.data(), text.size(), output.data(), size, detail::base64Reverse, true, GetParam()),
            size);
        ASSERT_EQ(output, input);
        ASSERT_EQ(detail::baseDecode(
                      text.data(), text.size(), output.data(), size - 1, detail::base64Reverse, true, GetParam()),
            0U);
    }
}

TEST(Base64Encode, ANarrowGuessOfTheSizeCostsNothingButTime)
{
    // A first line that is shorter than the others, and an empty one, make the guess too small.
    const std::string input(3000, 'x');
    const std::string text = encoded(input);
    EXPECT_EQ(decoded("\n" + text), input);
    EXPECT_EQ(decoded("e\n" + text.substr(1)), input);
    EXPECT_EQ(decoded(text.substr(0, 100) + "    " + text.substr(100)), input);
    EXPECT_EQ(decoded(std::string(1000, ' ')), std::nullopt);
}

TEST(Base64Encode, OtherAlphabetsTakeTheRulesOneByOne)
{
    std::string charset = detail::base64Charset;
    charset[62] = '-';
    charset[63] = '_';
    const auto reverse = detail::base64ReverseOf(charset.c_str());
    const std::string input(300, '\xFB');
    const Data text = detail::baseEncode(input.data(), input.size(), charset.c_str(), true);
    EXPECT_EQ(text.view().substr(0, 4), "-_v7");
    EXPECT_EQ(asOptional(detail::baseDecode(text.view().data(), text.size(), reverse, true)), input);
    EXPECT_EQ(decoded(std::string(text.view())), std::nullopt);
}

TEST(Base64Encode, TheCoreLeavesPaddingOutWhereAsked)
{
    EXPECT_EQ(asOptional(detail::baseEncode("f", 1, detail::base64Charset, false)), "Zg");
    EXPECT_EQ(asOptional(detail::baseEncode("fo", 2, detail::base64Charset, false)), "Zm8");
    EXPECT_EQ(asOptional(detail::baseEncode("foo", 3, detail::base64Charset, false)), "Zm9v");
    EXPECT_EQ(asOptional(detail::baseDecode("Zg", 2, detail::base64Reverse, false)), "f");
    EXPECT_EQ(asOptional(detail::baseDecode("Z", 1, detail::base64Reverse, false)), std::nullopt);
}

TEST(Base64Encode, TheCoreNeverWritesBeyondItsBuffer)
{
    const std::uint8_t source[] = {'f', 'o', 'o', 'b'};
    char text[8];
    EXPECT_EQ(detail::baseEncode(source, 4, text, 8, detail::base64Charset, true), 8U);
    EXPECT_EQ(detail::baseEncode(source, 4, text, 7, detail::base64Charset, true), 0U);
    EXPECT_EQ(detail::baseEncode(source, 4, text, 6, detail::base64Charset, false), 6U);
    std::uint8_t out[4];
    EXPECT_EQ(detail::baseDecode("Zm9vYg==", 8, out, 4, detail::base64Reverse, true), 4U);
    EXPECT_EQ(detail::baseDecode("Zm9vYg==", 8, out, 3, detail::base64Reverse, true), 0U);
    EXPECT_EQ(detail::baseDecode("Zm9vYmFy", 8, out, 4, detail::base64Reverse, true), 0U);
}

} // namespace
} // namespace kelvane
