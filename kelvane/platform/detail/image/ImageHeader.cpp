// SPDX-License-Identifier: Apache-2.0
#include "ImageHeader.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace kelvane::detail {
namespace {

using namespace std::string_view_literals;
using Start = std::array<std::byte, 32>;

ImageHeader readGifHeader(const Start &start)
{
    ImageHeader header{ImageFormat::Gif, "com.compuserve.gif"};
    header.width = littleEndian(std::span(start).subspan(6), 2);
    header.height = littleEndian(std::span(start).subspan(8), 2);
    return header;
}

ImageHeader readBmpHeader(const Start &start)
{
    constexpr std::uint32_t oldHeaderSize = 12;
    ImageHeader header{ImageFormat::Bmp, "com.microsoft.bmp"};
    const auto bytes = std::span(start);
    if (littleEndian(bytes.subspan(14), 4) == oldHeaderSize) {
        header.width = littleEndian(bytes.subspan(18), 2);
        header.height = littleEndian(bytes.subspan(20), 2);
        return header;
    }
    // A negative height says that the rows come from the top.
    const auto width = static_cast<std::int32_t>(littleEndian(bytes.subspan(18), 4));
    const std::int64_t height = static_cast<std::int32_t>(littleEndian(bytes.subspan(22), 4));
    header.width = static_cast<std::uint32_t>(std::max(width, 0));
    header.height = static_cast<std::uint32_t>(std::abs(height));
    return header;
}

} // namespace

std::optional<ImageHeader> readImageHeader(const ImageBytes &file)
{
    Start start = {}; // what a short file lacks reads as 0
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), start.size()));
    if (!file.read(0, std::span(start).first(count)))
        return std::nullopt;
    if (startsWith(start, "\xff\xd8\xff"))
        return readJpegHeader(file);
    if (startsWith(start, "\x89PNG\r\n\x1a\n"))
        return readPngHeader(file);
    if (startsWith(start, "GIF87a") || startsWith(start, "GIF89a"))
        return readGifHeader(start);
    if (startsWith(start, "II*\0"sv) || startsWith(start, "MM\0*"sv))
        return readTiffHeader(file);
    if (startsWith(start, "RIFF") && startsWith(std::span(start).subspan(8), "WEBP"))
        return readWebPHeader(file);
    constexpr std::uint32_t largestBmpHeader = 124;
    const std::uint32_t bmpHeader = littleEndian(std::span(start).subspan(14), 4);
    if (startsWith(start, "BM") && bmpHeader >= 12 && bmpHeader <= largestBmpHeader)
        return readBmpHeader(start);
    return std::nullopt;
}

} // namespace kelvane::detail
