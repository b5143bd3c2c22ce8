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

/// Where the first and the last byte of the mark stand at their distance, all of it is compared: in other data than
/// marks, that is seldom.
[[gnu::always_inline]] inline bool search(std::string_view bytes, std::string_view mark) noexcept
{
    const Bytes first = Bytes{} + static_cast<unsigned char>(mark.front());
    const Bytes last = Bytes{} + static_cast<unsigned char>(mark.back());
    std::size_t at = 0;
    for (; at + step + markSize <= bytes.size(); at += step) {
        Bytes hits{};
        for (std::size_t i = 0; i < step; i += width) {
            Bytes begins;
            Bytes ends;
            std::memcpy(&begins, bytes.data() + at + i, width);
            std::memcpy(&ends, bytes.data() + at + i + markSize - 1, width);
            hits |= static_cast<Bytes>(begins == first) & static_cast<Bytes>(ends == last);
        }
        if (isAnySet(hits) && bytes.substr(at, step + markSize - 1).find(mark) != std::string_view::npos)
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
