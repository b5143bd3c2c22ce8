// SPDX-License-Identifier: Apache-2.0
#include "MarkSearch.h"

#include <cstdint>
#include <cstring>

namespace kelvane::detail {
namespace {

constexpr std::size_t width = 32;
constexpr std::size_t vectorsAtOnce = 4;
constexpr std::size_t step = width * vectorsAtOnce;

// The compiler makes of these what the processor has; in two halves where that is narrower.
using Bytes [[gnu::vector_size(width)]] = unsigned char;
using Words [[gnu::vector_size(width)]] = std::uint64_t;

[[gnu::always_inline]] inline bool isAnySet(const Bytes &bytes)
{
    Words words;
    std::memcpy(&words, &bytes, width);
    return (words[0] | words[1] | words[2] | words[3]) != 0;
}

/// Keeps of `found` where the byte is the wanted one. Vectors are not returned: without AVX there is no such call.
[[gnu::always_inline]] inline void keepMatches(const char *bytes, const Bytes &wanted, Bytes &found)
{
    Bytes loaded;
    std::memcpy(&loaded, bytes, width);
    found &= static_cast<Bytes>(loaded == wanted);
}

/// Looks for the first and the last byte of the mark at their distance, and at the others where that is found: in sound
/// and pictures it is seldom, in text it is not.
[[gnu::always_inline]] inline bool search(std::string_view bytes, std::string_view mark) noexcept
{
    Bytes wanted[markSize];
    for (std::size_t i = 0; i < markSize; ++i)
        wanted[i] = Bytes{} + static_cast<unsigned char>(mark[i]);
    std::size_t at = 0;
    for (; at + step + markSize <= bytes.size(); at += step) {
        const char *start = bytes.data() + at;
        Bytes hits{};
        for (std::size_t i = 0; i < step; i += width) {
            Bytes found = ~Bytes{};
            keepMatches(start + i, wanted[0], found);
            keepMatches(start + i + markSize - 1, wanted[markSize - 1], found);
            hits |= found;
        }
        if (!isAnySet(hits)) [[likely]]
            continue;
        hits = Bytes{};
        for (std::size_t i = 0; i < step; i += width) {
            Bytes found = ~Bytes{};
            for (std::size_t k = 0; k < markSize; ++k)
                keepMatches(start + i + k, wanted[k], found);
            hits |= found;
        }
        if (isAnySet(hits))
            return true;
    }
    return bytes.substr(at).find(mark) != std::string_view::npos;
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] bool searchWide(std::string_view bytes, std::string_view mark) noexcept
{
    return search(bytes, mark);
}
#endif

} // namespace

bool containsMark(std::string_view bytes, std::string_view mark) noexcept
{
#if defined(__x86_64__)
    static const bool isWide = __builtin_cpu_supports("avx2") != 0;
    if (isWide)
        return searchWide(bytes, mark);
#endif
    return search(bytes, mark);
}

} // namespace kelvane::detail
