// SPDX-License-Identifier: Apache-2.0
#include "Base64Blocks_p.h"

#if defined(__x86_64__)

#include <algorithm>

#include <immintrin.h>

// Three generations of vector units. All do the same: to encode, spread each three bytes over four, shift six bits into
// each, and look the characters up; to decode, look the values up, see by the same tables which characters are none,
// and push four times six bits together.

namespace kelvane::detail {

namespace {

// The classes of characters, by the two halves of a byte: a byte is a character of the alphabet where the two entries
// have no bit in common.
#define KELVANE_LOW_HALVES                                                                                             \
    0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A
#define KELVANE_HIGH_HALVES                                                                                            \
    0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10
// What to add to a character of each class, the slash first, to get its value; and to a value to get its character.
#define KELVANE_TO_VALUE 0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0
#define KELVANE_TO_CHARACTER                                                                                           \
    'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,      \
        '+' - 62, '/' - 63, 'A', 0, 0
#define KELVANE_SPREAD 1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10
#define KELVANE_GATHER 2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1

[[gnu::target("ssse3")]] Base64Progress encodeSsse3(
    const std::uint8_t *source, std::size_t size, char *out, std::size_t room) noexcept
{
    const __m128i spread = _mm_setr_epi8(KELVANE_SPREAD);
    const __m128i toCharacter = _mm_setr_epi8(KELVANE_TO_CHARACTER);
    std::size_t read = 0;
    std::size_t written = 0;
    for (; size - read >= 16 && room - written >= 16; read += 12, written += 16) {
        const __m128i bytes =
            _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(source + read)), spread);
        const __m128i odd =
            _mm_mulhi_epu16(_mm_and_si128(bytes, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
        const __m128i even =
            _mm_mullo_epi16(_mm_and_si128(bytes, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
        const __m128i values = _mm_or_si128(odd, even);
        const __m128i isUpper = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
        const __m128i classes =
            _mm_or_si128(_mm_subs_epu8(values, _mm_set1_epi8(51)), _mm_and_si128(isUpper, _mm_set1_epi8(13)));
        _mm_storeu_si128(
            reinterpret_cast<__m128i *>(out + written), _mm_add_epi8(values, _mm_shuffle_epi8(toCharacter, classes)));
    }
    return {read, written};
}

[[gnu::target("ssse3"), gnu::always_inline]] inline bool decodeVectorSsse3(
    const unsigned char *source, std::uint8_t *out) noexcept
{
    const __m128i lowHalves = _mm_setr_epi8(KELVANE_LOW_HALVES);
    const __m128i highHalves = _mm_setr_epi8(KELVANE_HIGH_HALVES);
    const __m128i toValue = _mm_setr_epi8(KELVANE_TO_VALUE);
    const __m128i gather = _mm_setr_epi8(KELVANE_GATHER);
    const __m128i slash = _mm_set1_epi8(0x2F);
    const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i *>(source));
    const __m128i high = _mm_and_si128(_mm_srli_epi32(text, 4), slash);
    const __m128i bad =
        _mm_and_si128(_mm_shuffle_epi8(lowHalves, _mm_and_si128(text, slash)), _mm_shuffle_epi8(highHalves, high));
    if (_mm_movemask_epi8(_mm_cmpgt_epi8(bad, _mm_setzero_si128())) != 0)
        return false;
    const __m128i shift = _mm_shuffle_epi8(toValue, _mm_add_epi8(_mm_cmpeq_epi8(text, slash), high));
    const __m128i pairs = _mm_maddubs_epi16(_mm_add_epi8(text, shift), _mm_set1_epi32(0x01400140));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(groups, gather));
    return true;
}

[[gnu::target("ssse3")]] std::size_t decodeLinesSsse3(
    const unsigned char *source, std::size_t lines, LineShape shape, std::uint8_t *out) noexcept
{
    std::size_t line = 0;
    if (shape.size == 16) {
        while (line < lines && decodeVectorSsse3(source + line * 16, out + line * 12))
            ++line;
        return line;
    }
    const std::size_t last = shape.characters - 16;
    for (; line < lines && shape.breaksWell(source); ++line, source += shape.size, out += shape.characters / 4 * 3) {
        for (std::size_t at = 0; at < last; at += 16) {
            if (!decodeVectorSsse3(source + at, out + at / 4 * 3))
                return line;
        }
        // The last one begins where it ends with the line, and may do a part of the one before again.
        if (!decodeVectorSsse3(source + last, out + last / 4 * 3))
            return line;
    }
    return line;
}

[[gnu::target("avx2")]] Base64Progress encodeAvx2(
    const std::uint8_t *source, std::size_t size, char *out, std::size_t room) noexcept
{
    const __m256i spread = _mm256_setr_epi8(KELVANE_SPREAD, KELVANE_SPREAD);
    const __m256i toCharacter = _mm256_setr_epi8(KELVANE_TO_CHARACTER, KELVANE_TO_CHARACTER);
    std::size_t read = 0;
    std::size_t written = 0;
    for (; size - read >= 28 && room - written >= 32; read += 24, written += 32) {
        const __m128i *const front = reinterpret_cast<const __m128i *>(source + read);
        const __m128i *const back = reinterpret_cast<const __m128i *>(source + read + 12);
        const __m256i bytes = _mm256_shuffle_epi8(
            _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(front)), _mm_loadu_si128(back), 1), spread);
        const __m256i odd =
            _mm256_mulhi_epu16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
        const __m256i even =
            _mm256_mullo_epi16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
        const __m256i values = _mm256_or_si256(odd, even);
        const __m256i isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
        const __m256i classes = _mm256_or_si256(
            _mm256_subs_epu8(values, _mm256_set1_epi8(51)), _mm256_and_si256(isUpper, _mm256_set1_epi8(13)));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + written),
            _mm256_add_epi8(values, _mm256_shuffle_epi8(toCharacter, classes)));
    }
    return {read, written};
}

[[gnu::target("avx2"), gnu::always_inline]] inline bool decodeVectorAvx2(
    const unsigned char *source, std::uint8_t *out) noexcept
{
    const __m256i lowHalves = _mm256_setr_epi8(KELVANE_LOW_HALVES, KELVANE_LOW_HALVES);
    const __m256i highHalves = _mm256_setr_epi8(KELVANE_HIGH_HALVES, KELVANE_HIGH_HALVES);
    const __m256i toValue = _mm256_setr_epi8(KELVANE_TO_VALUE, KELVANE_TO_VALUE);
    const __m256i gather = _mm256_setr_epi8(KELVANE_GATHER, KELVANE_GATHER);
    const __m256i joinLanes = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    const __m256i slash = _mm256_set1_epi8(0x2F);
    const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(source));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), slash);
    const __m256i bad = _mm256_and_si256(
        _mm256_shuffle_epi8(lowHalves, _mm256_and_si256(text, slash)), _mm256_shuffle_epi8(highHalves, high));
    if (_mm256_movemask_epi8(_mm256_cmpgt_epi8(bad, _mm256_setzero_si256())) != 0)
        return false;
    const __m256i shift = _mm256_shuffle_epi8(toValue, _mm256_add_epi8(_mm256_cmpeq_epi8(text, slash), high));
    const __m256i pairs = _mm256_maddubs_epi16(_mm256_add_epi8(text, shift), _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    _mm256_storeu_si256(
        reinterpret_cast<__m256i *>(out), _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, gather), joinLanes));
    return true;
}

[[gnu::target("avx2")]] std::size_t decodeLinesAvx2(
    const unsigned char *source, std::size_t lines, LineShape shape, std::uint8_t *out) noexcept
{
    std::size_t line = 0;
    if (shape.size == 32) {
        while (line < lines && decodeVectorAvx2(source + line * 32, out + line * 24))
            ++line;
        return line;
    }
    const std::size_t last = shape.characters - 32;
    for (; line < lines && shape.breaksWell(source); ++line, source += shape.size, out += shape.characters / 4 * 3) {
        for (std::size_t at = 0; at < last; at += 32) {
            if (!decodeVectorAvx2(source + at, out + at / 4 * 3))
                return line;
        }
        // The last one begins where it ends with the line, and may do a part of the one before again.
        if (!decodeVectorAvx2(source + last, out + last / 4 * 3))
            return line;
    }
    return line;
}

/// The forms without a mask make g++ 12 warn of its own header.
constexpr std::uint64_t allBytes = ~std::uint64_t{0};

/// Two vectors of bytes.
struct alignas(64) Table {
    std::uint8_t entries[128];
};

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// For each ASCII character its value, 0x80 for those outside the alphabet.
constexpr Table valuesOfCharacters = [] {
    Table table{};
    for (auto &entry : table.entries)
        entry = 0x80;
    for (std::uint8_t value = 0; value < 64; ++value)
        table.entries[static_cast<unsigned char>(alphabet[value])] = value;
    return table;
}();

/// KELVANE_SPREAD over a whole vector, and in the second half KELVANE_GATHER.
constexpr Table spreadAndGather = [] {
    Table table{};
    for (std::size_t i = 0; i < 64; ++i) {
        constexpr std::uint8_t spread[] = {1, 0, 2, 1};
        constexpr std::uint8_t gather[] = {2, 1, 0};
        table.entries[i] = static_cast<std::uint8_t>(i / 4 * 3 + spread[i % 4]);
        table.entries[64 + i] = static_cast<std::uint8_t>(i < 48 ? i / 3 * 4 + gather[i % 3] : 0);
    }
    return table;
}();

[[gnu::target("avx512f,avx512bw,avx512vbmi")]] Base64Progress encodeAvx512(
    const std::uint8_t *source, std::size_t size, char *out, std::size_t room) noexcept
{
    const __m512i spread = _mm512_load_si512(spreadAndGather.entries);
    const __m512i toCharacter = _mm512_loadu_si512(alphabet);
    // Where in each eight bytes the six bits of each value begin.
    const __m512i places = _mm512_set1_epi64(0x3036242A1016040A);
    std::size_t read = 0;
    std::size_t written = 0;
    for (; size - read >= 64 && room - written >= 64; read += 48, written += 64) {
        const __m512i bytes = _mm512_maskz_permutexvar_epi8(allBytes, spread, _mm512_loadu_si512(source + read));
        const __m512i values = _mm512_maskz_multishift_epi64_epi8(allBytes, places, bytes);
        _mm512_storeu_si512(out + written, _mm512_maskz_permutexvar_epi8(allBytes, values, toCharacter));
    }
    return {read, written};
}

[[gnu::target("avx512f,avx512bw,avx512vbmi"), gnu::always_inline]] inline __m512i decodeVectorAvx512(
    const unsigned char *source, std::uint8_t *out, __m512i others) noexcept
{
    const __m512i text = _mm512_loadu_si512(source);
    const __m512i values = _mm512_permutex2var_epi8(
        _mm512_load_si512(valuesOfCharacters.entries), text, _mm512_load_si512(valuesOfCharacters.entries + 64));
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    _mm512_storeu_si512(
        out, _mm512_maskz_permutexvar_epi8(allBytes, _mm512_load_si512(spreadAndGather.entries + 64), groups));
    // The upper bit is that of characters outside the alphabet, and that of bytes beyond ASCII.
    constexpr int orAll = 0xFE;
    return _mm512_ternarylogic_epi32(others, values, text, orAll);
}

[[gnu::target("avx512f,avx512bw,avx512vbmi")]] std::size_t decodeLinesAvx512(
    const unsigned char *source, std::size_t lines, LineShape shape, std::uint8_t *out) noexcept
{
    const __m512i noOthers = _mm512_setzero_si512();
    std::size_t line = 0;
    if (shape.size == 64) {
        while (
            line < lines && _mm512_movepi8_mask(decodeVectorAvx512(source + line * 64, out + line * 48, noOthers)) == 0)
            ++line;
        return line;
    }
    const std::size_t last = shape.characters - 64;
    for (; line < lines && shape.breaksWell(source); ++line, source += shape.size, out += shape.characters / 4 * 3) {
        __m512i others = noOthers;
        for (std::size_t at = 0; at < last; at += 64)
            others = decodeVectorAvx512(source + at, out + at / 4 * 3, others);
        // The last one begins where it ends with the line, and may do a part of the one before again.
        others = decodeVectorAvx512(source + last, out + last / 4 * 3, others);
        if (_mm512_movepi8_mask(others) != 0)
            return line;
    }
    return line;
}

} // namespace

std::size_t addVectorBase64Blocks(std::span<Base64Blocks> ways) noexcept
{
    std::size_t count = 0;
    if (__builtin_cpu_supports("ssse3"))
        ways[count++] = {"SSSE3", encodeSsse3, decodeLong<decodeLinesSsse3, 16>};
    if (__builtin_cpu_supports("avx2"))
        ways[count++] = {"AVX2", encodeAvx2, decodeLong<decodeLinesAvx2, 32>};
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi"))
        ways[count++] = {"AVX-512", encodeAvx512, decodeLong<decodeLinesAvx512, 64>};
    return count;
}

} // namespace kelvane::detail

#endif
