// SPDX-License-Identifier: Apache-2.0
#include "ImageHeader.h"

#include <array>
#include <map>
#include <string_view>

namespace kelvane::detail {
namespace {

using namespace std::string_view_literals;

constexpr auto exifName = "Exif\0\0"sv;
constexpr auto profileName = "ICC_PROFILE\0"sv;
constexpr int mostSegments = 4096;

enum Marker : std::uint32_t {
    startOfFrame0 = 0xc0,
    temporary = 0x01,
    huffmanTables = 0xc4,
    reserved = 0xc8,
    arithmeticTables = 0xcc,
    startOfFrame15 = 0xcf,
    restart0 = 0xd0,
    restart7 = 0xd7,
    endOfImage = 0xd9,
    startOfScan = 0xda,
    app1 = 0xe1,
    app2 = 0xe2,
};

bool isStartOfFrame(std::uint32_t marker) noexcept
{
    return marker >= startOfFrame0 && marker <= startOfFrame15 && marker != huffmanTables && marker != reserved
        && marker != arithmeticTables;
}

// Those that stand alone; zero stands behind a byte of data that is no marker.
bool hasNoContent(std::uint32_t marker) noexcept
{
    return marker <= temporary || (marker >= restart0 && marker <= restart7);
}

// A profile too large for one segment comes in numbered parts.
class Profile {
public:
    void add(std::span<const std::byte> content)
    {
        constexpr std::size_t start = profileName.size() + 2;
        if (content.size() <= start)
            return;
        const auto part = content.subspan(start);
        _parts.try_emplace(
            std::to_integer<int>(content[profileName.size()]), std::vector<std::byte>(part.begin(), part.end()));
        _count = std::to_integer<std::size_t>(content[profileName.size() + 1]);
    }

    [[nodiscard]] std::vector<std::byte> whole() const
    {
        std::vector<std::byte> bytes;
        if (_parts.empty() || _parts.size() != _count)
            return bytes;
        for (const auto &[number, part] : _parts)
            bytes.insert(bytes.end(), part.begin(), part.end());
        return bytes;
    }

private:
    std::map<int, std::vector<std::byte>> _parts; // 255 of 64 KiB at the most
    std::size_t _count = 0;
};

} // namespace

ImageHeader readJpegHeader(const ImageBytes &file)
{
    ImageHeader header{ImageFormat::Jpeg, "public.jpeg"};
    Profile profile;
    std::uint64_t offset = 2;
    std::array<std::byte, 4> start = {};
    for (int i = 0; i < mostSegments && file.read(offset, start); ++i) {
        const auto marker = std::to_integer<std::uint32_t>(start[1]);
        // Filling bytes, and what a damaged file has between its segments: decoders look for the next one, too.
        if (start[0] != std::byte{0xff} || marker == 0xff || hasNoContent(marker)) {
            ++offset;
            continue;
        }
        if (marker == startOfScan || marker == endOfImage)
            break;
        const std::uint32_t size = bigEndian(std::span(start).subspan(2), 2);
        std::array<std::byte, 5> frame = {};
        if (size < 2)
            break;
        if (isStartOfFrame(marker) && header.width == 0 && file.read(offset + 4, frame)) {
            header.height = bigEndian(std::span(frame).subspan(1), 2);
            header.width = bigEndian(std::span(frame).subspan(3), 2);
        } else if (marker == app1 || marker == app2) {
            const auto content = file.take(offset + 4, size - 2, size);
            if (marker == app1 && header.exif.empty() && startsWith(content, exifName))
                header.exif.assign(content.begin() + exifName.size(), content.end());
            else if (marker == app2 && startsWith(content, profileName))
                profile.add(content);
        }
        offset += 2 + std::uint64_t{size};
    }
    header.iccProfile = profile.whole();
    return header;
}

} // namespace kelvane::detail
