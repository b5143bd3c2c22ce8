// SPDX-License-Identifier: Apache-2.0
#include "ImageHeader.h"

#include <array>
#include <string_view>

namespace kelvane::detail {
namespace {

using namespace std::string_view_literals;

constexpr int mostChunks = 4096;
using ChunkStart = std::array<std::byte, 18>; // name, size, first bytes of the content

void readLossySize(ImageHeader &header, std::span<const std::byte> content)
{
    constexpr std::uint32_t sizeBits = 0x3fff; // two bits above it say how to scale for viewing
    if (startsWith(content.subspan(3), "\x9d\x01\x2a")) {
        header.width = littleEndian(content.subspan(6), 2) & sizeBits;
        header.height = littleEndian(content.subspan(8), 2) & sizeBits;
    }
}

void readLosslessSize(ImageHeader &header, std::span<const std::byte> content)
{
    constexpr std::uint32_t sizeBits = 0x3fff;
    if (content[0] == std::byte{0x2f}) {
        const std::uint32_t bits = littleEndian(content.subspan(1), 4);
        header.width = (bits & sizeBits) + 1;
        header.height = (bits >> 14 & sizeBits) + 1;
    }
}

} // namespace

ImageHeader readWebPHeader(const ImageBytes &file)
{
    constexpr auto exifName = "Exif\0\0"sv;
    ImageHeader header{ImageFormat::WebP, "org.webmproject.webp"};
    std::uint64_t offset = 12;
    for (int i = 0; i < mostChunks; ++i) {
        ChunkStart start = {};
        if (!file.read(offset, start) && !file.read(offset, std::span(start).first(8)))
            break;
        const auto content = std::span(start).subspan(8);
        const std::uint32_t size = littleEndian(std::span(start).subspan(4), 4);
        if (startsWith(start, "VP8X")) {
            header.width = littleEndian(content.subspan(4), 3) + 1;
            header.height = littleEndian(content.subspan(7), 3) + 1;
        } else if (startsWith(start, "VP8 ") && header.width == 0) {
            readLossySize(header, content);
        } else if (startsWith(start, "VP8L") && header.width == 0) {
            readLosslessSize(header, content);
        } else if (startsWith(start, "EXIF")) {
            header.exif = file.take(offset + 8, size, mostPropertyBytes);
            if (startsWith(header.exif, exifName)) // some writers take the block over from JPEG, name and all
                header.exif.erase(header.exif.begin(), header.exif.begin() + exifName.size());
        } else if (startsWith(start, "ICCP")) {
            header.iccProfile = file.take(offset + 8, size, mostPropertyBytes);
        }
        offset += 8 + std::uint64_t{size} + (size & 1);
    }
    return header;
}

} // namespace kelvane::detail
