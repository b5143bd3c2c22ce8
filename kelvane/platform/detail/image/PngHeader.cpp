// SPDX-License-Identifier: Apache-2.0
#include "ImageHeader.h"

#include <algorithm>
#include <array>
#include <zlib.h>

namespace kelvane::detail {
namespace {

constexpr int mostChunks = 1 << 16;

// The profile behind its name, a zero byte and the number of the method, which is always 0.
std::vector<std::byte> unpackedProfile(std::span<const std::byte> chunk)
{
    const auto name = std::find(chunk.begin(), chunk.end(), std::byte{0});
    if (chunk.end() - name < 3)
        return {};
    const auto packed = chunk.subspan(static_cast<std::size_t>(name - chunk.begin()) + 2);
    std::vector<std::byte> profile;
    z_stream stream = {};
    if (inflateInit(&stream) != Z_OK)
        return {};
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<std::byte *>(packed.data())); // only read
    stream.avail_in = static_cast<uInt>(packed.size());
    int result = Z_OK;
    std::array<std::byte, 16384> piece = {};
    while (result == Z_OK && profile.size() < mostPropertyBytes) {
        stream.next_out = reinterpret_cast<Bytef *>(piece.data());
        stream.avail_out = static_cast<uInt>(piece.size());
        result = inflate(&stream, Z_NO_FLUSH);
        const std::size_t count = piece.size() - stream.avail_out;
        profile.insert(profile.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END ? profile : std::vector<std::byte>();
}

} // namespace

std::optional<ImageHeader> readPngHeader(const ImageBytes &file)
{
    constexpr std::uint32_t mostLength = 0x7fffffff;
    ImageHeader header{ImageFormat::Png, "public.png"};
    std::uint64_t offset = 8;
    std::array<std::byte, 16> start = {};
    if (!file.read(offset, start) || !startsWith(std::span(start).subspan(4), "IHDR"))
        return std::nullopt;
    header.width = bigEndian(std::span(start).subspan(8), 4);
    header.height = bigEndian(std::span(start).subspan(12), 4);
    const auto name = std::span(start).subspan(4, 4);
    for (int i = 0; i < mostChunks && file.read(offset, std::span(start).first(8)); ++i) {
        const std::uint32_t size = bigEndian(start, 4);
        if (size > mostLength || startsWith(name, "IEND"))
            break;
        if (startsWith(name, "eXIf"))
            header.exif = file.take(offset + 8, size, mostPropertyBytes);
        else if (startsWith(name, "iCCP"))
            header.iccProfile = unpackedProfile(file.take(offset + 8, size, mostPropertyBytes));
        offset += 12 + std::uint64_t{size};
    }
    return header;
}

} // namespace kelvane::detail
