// SPDX-License-Identifier: Apache-2.0
//
// Base64 both ways beside libmodpbase64, OpenSSL's block functions and GLib. Everybody makes a new result each time, as
// callers do.
//   256 KiB          clean text, fits the processor's caches
//   256 KiB, lines   a line break every 76 characters, which modp_b64 refuses: it is given clean text; the lines may cost us as
//                    much again as the clean text may
//   64 MiB           clean text, does not fit
//   a byte           of texts of 300 KB to 30 MB. What grows is the way to memory: beside it std::memcpy of as many bytes
#include "support/Contest.h"

#include <kelvane/common/Base64Encode.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <glib.h>
#include <memory>
#include <modp_b64.h>
#include <openssl/evp.h>
#include <random>
#include <string>
#include <vector>

using namespace kelvane;
using namespace kelvane::bench;

namespace {

struct Freed {
    void operator()(void *memory) const { std::free(memory); } // as GLib's own
};
using Memory = std::unique_ptr<void, Freed>;

char *chars(const Memory &memory)
{
    return static_cast<char *>(memory.get());
}
unsigned char *bytes(const Memory &memory)
{
    return static_cast<unsigned char *>(memory.get());
}
const unsigned char *bytes(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

// Each returns the size of its result.

std::size_t ourEncode(const std::string &data)
{
    return Base64Encode::encodeBytes(data.data(), data.size()).size();
}
std::size_t ourDecode(const std::string &text)
{
    return Base64Encode::decodeBytes(text.data(), text.size()).size();
}
std::size_t modpEncode(const std::string &data)
{
    const Memory out(std::malloc(modp_b64_encode_len(data.size())));
    return modp_b64_encode(chars(out), data.data(), data.size());
}
std::size_t modpDecode(const std::string &text)
{
    const Memory out(std::malloc(modp_b64_decode_len(text.size())));
    return modp_b64_decode(chars(out), text.data(), text.size());
}
std::size_t opensslEncode(const std::string &data)
{
    const Memory out(std::malloc(data.size() / 3 * 4 + 5));
    return static_cast<std::size_t>(EVP_EncodeBlock(bytes(out), bytes(data), static_cast<int>(data.size())));
}
std::size_t opensslDecode(const std::string &text)
{
    const Memory out(std::malloc(text.size() / 4 * 3 + 1));
    return static_cast<std::size_t>(EVP_DecodeBlock(bytes(out), bytes(text), static_cast<int>(text.size())));
}
std::size_t glibEncode(const std::string &data)
{
    const Memory out(g_base64_encode(bytes(data), data.size()));
    return data.size() == 0 ? 0 : (data.size() + 2) / 3 * 4;
}
std::size_t glibDecode(const std::string &text)
{
    std::size_t size = 0;
    const Memory out(g_base64_decode(text.c_str(), &size));
    return size;
}

using Coder = std::size_t (*)(const std::string &);

/// Seconds that `coder` takes for all of `input`, again and again for some milliseconds.
Contest::Round round(Coder coder, const std::string &input, std::size_t expected)
{
    const int times = input.size() > 10'000'000 ? 1 : 200;
    return [coder, &input, expected, times] {
        std::size_t size = 0;
        const double taken = seconds([&] {
            for (int i = 0; i < times; ++i)
                size = coder(input);
        });
        require(size == expected, "Base64 result has the right size");
        return taken / times;
    };
}

std::string randomBytes(std::size_t size)
{
    std::string data(size, '\0');
    std::mt19937_64 random(1);
    for (char &c : data)
        c = static_cast<char>(random());
    return data;
}

std::string withLines(std::string text)
{
    std::string lines;
    lines.reserve(text.size() + text.size() / 76 + 1);
    for (std::size_t at = 0; at < text.size(); at += 76)
        lines.append(text, at, 76).push_back('\n');
    lines.pop_back();
    return lines;
}

double secondsPerByte(Coder work, const std::string &input)
{
    const int times = 60'000'000 / static_cast<int>(input.size());
    return seconds([&] {
        for (int i = 0; i < times; ++i)
            require(work(input) > 0, "a result");
    }) / times
        / static_cast<double>(input.size());
}

/// As many bytes read and as many written as a coder has to, and nothing else done.
std::size_t copyAsEncoded(const std::string &data)
{
    const Memory out(std::malloc(data.size() / 3 * 4));
    std::memcpy(out.get(), data.data(), data.size());
    std::memcpy(chars(out) + data.size(), data.data(), data.size() / 3);
    asm volatile("" : : "r"(out.get()) : "memory"); // or the compiler leaves out what nobody reads
    return data.size();
}
std::size_t copyAsDecoded(const std::string &text)
{
    const Memory out(std::malloc(text.size() / 4 * 3));
    std::memcpy(out.get(), text.data(), text.size() / 4 * 3);
    asm volatile("" : : "r"(out.get()) : "memory");
    return text.size();
}

void grow()
{
    const std::vector<int> sizes{300'000, 3'000'000, 30'000'000};
    const auto encoding = [](Coder coder) {
        return [coder](int size) { return secondsPerByte(coder, randomBytes(static_cast<std::size_t>(size))); };
    };
    const auto decoding = [](Coder coder) {
        return [coder](int size) {
            const std::string data = randomBytes(static_cast<std::size_t>(size));
            return secondsPerByte(coder, std::string(Base64Encode::encodeBytes(data.data(), data.size()).view()));
        };
    };
    const auto encode = encoding(ourEncode);
    const auto decode = decoding(ourDecode);
    const Unit perByte{"ns/byte", 1e9};
    scaling("base64", "encode a byte", perByte, sizes, encode, 5);
    scaling("base64", "decode a byte", perByte, sizes, decode, 5);
    // The least that any coder can do, at each of the sizes.
    for (const int size : sizes) {
        const std::string bytes = ", " + std::to_string(size) + " bytes";
        Contest("base64", "encode" + bytes, perByte)
            .ours([&] { return encode(size); })
            .peer("std::memcpy", 0, [&] { return encoding(copyAsEncoded)(size); })
            .run();
        Contest("base64", "decode" + bytes, perByte)
            .ours([&] { return decode(size); })
            .peer("std::memcpy", 0, [&] { return decoding(copyAsDecoded)(size); })
            .run();
    }
}

} // namespace

int main()
{
    const Unit microseconds{"µs", 1e6};
    const Unit milliseconds{"ms", 1e3};

    // Sizes that three divides, so that OpenSSL's block functions can take part: they tell no padding from data.
    const std::string small = randomBytes(262'143);
    const std::string smallText(Base64Encode::encodeBytes(small.data(), small.size()).view());
    Contest("base64", "encode 256 KiB", microseconds)
        .ours(round(ourEncode, small, smallText.size()))
        .peer("modp_b64", 0.2, round(modpEncode, small, smallText.size()))
        .peer("OpenSSL", 0, round(opensslEncode, small, smallText.size()))
        .peer("GLib", 0, round(glibEncode, small, smallText.size()))
        .run(15);
    Contest("base64", "decode 256 KiB", microseconds)
        .ours(round(ourDecode, smallText, small.size()))
        .peer("modp_b64", 0.2, round(modpDecode, smallText, small.size()))
        .peer("OpenSSL", 0, round(opensslDecode, smallText, small.size()))
        .peer("GLib", 0, round(glibDecode, smallText, small.size()))
        .run(15);

    const std::string lines = withLines(smallText);
    Contest("base64", "decode 256 KiB, lines of 76", microseconds)
        .ours(round(ourDecode, lines, small.size()))
        .peer("modp_b64, clean", 0.4, round(modpDecode, smallText, small.size()))
        .peer("ours, clean", 0, round(ourDecode, smallText, small.size()))
        .peer("GLib", 0, round(glibDecode, lines, small.size()))
        .run(15);

    const std::string large = randomBytes(67'108'863);
    const std::string largeText(Base64Encode::encodeBytes(large.data(), large.size()).view());
    Contest("base64", "encode 64 MiB", milliseconds)
        .ours(round(ourEncode, large, largeText.size()))
        .peer("modp_b64", 0.8, round(modpEncode, large, largeText.size()))
        .peer("OpenSSL", 0.6, round(opensslEncode, large, largeText.size()))
        .run();
    Contest("base64", "decode 64 MiB", milliseconds)
        .ours(round(ourDecode, largeText, large.size()))
        .peer("modp_b64", 0.8, round(modpDecode, largeText, large.size()))
        .peer("OpenSSL", 0.6, round(opensslDecode, largeText, large.size()))
        .run();
    const auto memory = [&](Coder coder) { return memoryOf([coder, &largeText] { (void)coder(largeText); }); };
    Contest("base64", "decode 64 MiB, peak memory", {"MB", 1e-6})
        .ours(memory(ourDecode))
        .peer("modp_b64", 0, memory(modpDecode))
        .peer("OpenSSL", 0, memory(opensslDecode))
        .run(3);
    grow();
}
