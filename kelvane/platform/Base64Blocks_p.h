// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/Base64Blocks.h>

#include <algorithm>

namespace kelvane::detail {

/// Lines that are all alike: so many characters, then nothing, a line feed, or a carriage return and a line feed.
struct LineShape {
    std::size_t characters; ///< a multiple of 4
    std::size_t size; ///< with the line break

    /// Whether the line break stands where it should.
    [[nodiscard]] bool breaksWell(const unsigned char *line) const noexcept
    {
        return size == characters || (line[size - 1] == '\n' && (size == characters + 1 || line[characters] == '\r'));
    }
};

/// Decodes lines of the same shape, one vector after the other, and returns how many were as they should be; of the
/// next one nothing counts. A line is at least as long as a vector. Where a line ends is known beforehand, so that the
/// processor need not wait for the one before it. Writes as many bytes as a vector has characters behind the last
/// group of a line, at the most.
using DecodeLines = std::size_t (*)(
    const unsigned char *source, std::size_t lines, LineShape shape, std::uint8_t *out) noexcept;

/// The plain loop: whole groups of clean characters.
Base64Progress decodeGroups(
    const unsigned char *source, std::size_t size, std::uint8_t *out, std::size_t room) noexcept;

/// A text with or without line breaks, of which each line may tell how the next ones look.
template <DecodeLines decodeLines, std::size_t width>
Base64Progress decodeLong(const unsigned char *source, std::size_t size, std::uint8_t *out, std::size_t room) noexcept
{
    Base64Progress done{0, 0};
    const auto takeLines = [&](const LineShape &shape) {
        const std::size_t left = room - done.written;
        const std::size_t most =
            std::min((size - done.read) / shape.size, left < width ? 0 : (left - width) / (shape.characters / 4 * 3));
        const std::size_t taken = decodeLines(source + done.read, most, shape, out + done.written);
        done.read += taken * shape.size;
        done.written += taken * (shape.characters / 4 * 3);
    };
    while (true) {
        const std::size_t start = done.read;
        takeLines({width, width});
        const auto [read, written] =
            decodeGroups(source + done.read, size - done.read, out + done.written, room - done.written);
        done.read += read;
        done.written += written;
        const unsigned char *const lineBreak = source + done.read;
        const std::size_t left = size - done.read;
        const std::size_t breakSize = left >= 1 && lineBreak[0] == '\n' ? 1
            : left >= 2 && lineBreak[0] == '\r' && lineBreak[1] == '\n' ? 2
                                                                        : 0;
        const std::size_t characters = done.read - start;
        if (breakSize == 0 || characters < width)
            return done;
        done.read += breakSize;
        takeLines({characters, characters + breakSize});
    }
}

constexpr std::size_t mostVectorBase64Blocks = 3;
/// Writes down the ways by which the vector unit of this processor works, slowest first, and returns how many.
[[nodiscard]] std::size_t addVectorBase64Blocks(std::span<Base64Blocks> ways) noexcept;

} // namespace kelvane::detail
