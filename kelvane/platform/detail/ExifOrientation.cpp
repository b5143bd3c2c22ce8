// SPDX-License-Identifier: Apache-2.0
#include "ExifOrientation.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace kelvane::detail {
namespace {

constexpr std::size_t entrySize = 12;
constexpr std::uint16_t shortType = 3;
constexpr std::uint16_t longType = 4;

enum Tag : std::uint16_t {
    orientationTag = 0x0112,
    exifTag = 0x8769,
    pixelWidthTag = 0xa002,
    pixelHeightTag = 0xa003,
};

// Reads and writes the numbers of a TIFF block, which says in its header how they are laid out. What does not lie in the
// block reads as 0 and is not written.
class TiffBlock {
public:
    explicit TiffBlock(std::vector<std::byte> &block)
        : bytes(block),
          isBigEndian(!block.empty() && block[0] == std::byte{'M'})
    {
    }

    [[nodiscard]] bool has(std::size_t offset, std::size_t size) const noexcept
    {
        return offset <= bytes.size() && size <= bytes.size() - offset;
    }

    [[nodiscard]] std::uint32_t number(std::size_t offset, std::size_t size) const noexcept
    {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size && has(offset, size); ++i)
            value = value << 8 | std::to_integer<std::uint32_t>(bytes[offset + (isBigEndian ? i : size - 1 - i)]);
        return value;
    }

    void setNumber(std::size_t offset, std::size_t size, std::uint32_t value) noexcept
    {
        for (std::size_t i = 0; i < size && has(offset, size); ++i, value >>= 8)
            bytes[offset + (isBigEndian ? size - 1 - i : i)] = static_cast<std::byte>(value);
    }

    // An entry with one number.
    void setEntry(std::size_t offset, std::uint16_t tag, std::uint16_t type, std::uint32_t value) noexcept
    {
        setNumber(offset, 2, tag);
        setNumber(offset + 2, 2, type);
        setNumber(offset + 4, 4, 1);
        setNumber(offset + 8, 4, 0);
        setNumber(offset + 8, type == shortType ? 2 : 4, value);
    }

    // How many entries the directory at `offset` has; 0 where they are not all there.
    [[nodiscard]] std::size_t entriesOf(std::size_t offset) const noexcept
    {
        const std::size_t count = number(offset, 2);
        return has(offset, 2 + count * entrySize + 4) ? count : 0;
    }

    [[nodiscard]] std::optional<std::size_t> find(std::size_t directory, std::uint16_t tag) const noexcept
    {
        for (std::size_t i = 0, count = entriesOf(directory); i < count; ++i)
            if (const std::size_t entry = directory + 2 + i * entrySize; number(entry, 2) == tag)
                return entry;
        return std::nullopt;
    }

private:
    std::vector<std::byte> &bytes;
    const bool isBigEndian;
};

std::vector<std::byte> blockWithOrientation(std::uint16_t orientation)
{
    constexpr std::string_view header("MM\0*\0\0\0\x08\0\1", 10);
    std::vector<std::byte> block(header.size() + entrySize + 4);
    std::transform(header.begin(), header.end(), block.begin(), [](char c) { return static_cast<std::byte>(c); });
    TiffBlock(block).setEntry(header.size(), orientationTag, shortType, orientation);
    return block;
}

// Writes the directory once more, at the end, with one entry more: nothing else has to move.
void addOrientation(std::vector<std::byte> &exif, std::size_t directory, std::uint16_t orientation)
{
    const std::size_t count = TiffBlock(exif).entriesOf(directory);
    exif.resize((exif.size() + 1) / 2 * 2);
    const std::size_t added = exif.size();
    exif.resize(added + 2 + (count + 1) * entrySize + 4);
    TiffBlock tiff(exif);
    std::size_t to = added + 2;
    bool isAdded = false;
    for (std::size_t i = 0; i <= count; ++i, to += entrySize) {
        const std::size_t from = directory + 2 + (i - (isAdded ? 1 : 0)) * entrySize;
        if (!isAdded && (i == count || tiff.number(from, 2) > orientationTag)) {
            tiff.setEntry(to, orientationTag, shortType, orientation);
            isAdded = true;
        } else
            std::copy_n(exif.begin() + static_cast<std::ptrdiff_t>(from), entrySize,
                exif.begin() + static_cast<std::ptrdiff_t>(to));
    }
    tiff.setNumber(added, 2, static_cast<std::uint32_t>(count + 1));
    tiff.setNumber(4, 4, static_cast<std::uint32_t>(added));
}

} // namespace

std::vector<std::byte> exifWith(const NewPictureFacts &facts, std::vector<std::byte> exif)
{
    TiffBlock tiff(exif);
    const std::size_t directory = tiff.number(4, 4);
    const std::size_t count = tiff.entriesOf(directory);
    if (tiff.number(2, 2) != 42 || directory < 8 || count == 0)
        return blockWithOrientation(facts.orientation);
    tiff.setNumber(directory + 2 + count * entrySize, 4, 0); // no thumbnail follows
    if (const auto pointer = tiff.find(directory, exifTag)) {
        const std::size_t details = tiff.number(*pointer + 8, 4);
        if (const auto entry = tiff.find(details, pixelWidthTag))
            tiff.setEntry(*entry, pixelWidthTag, longType, facts.width);
        if (const auto entry = tiff.find(details, pixelHeightTag))
            tiff.setEntry(*entry, pixelHeightTag, longType, facts.height);
    }
    if (const auto entry = tiff.find(directory, orientationTag))
        tiff.setEntry(*entry, orientationTag, shortType, facts.orientation);
    else
        addOrientation(exif, directory, facts.orientation);
    return exif;
}

std::vector<std::byte> xmpWithOrientation(std::uint16_t orientation, std::vector<std::byte> xmp)
{
    constexpr std::string_view name = "tiff:Orientation";
    const std::string_view text(reinterpret_cast<const char *>(xmp.data()), xmp.size());
    for (std::size_t at = text.find(name); at != std::string_view::npos; at = text.find(name, at)) {
        at += name.size();
        const std::size_t value = text.find_first_not_of(" \t\r\n='\">", at);
        if (value != std::string_view::npos && text[value] >= '1' && text[value] <= '8')
            xmp[value] = static_cast<std::byte>('0' + orientation);
    }
    return xmp;
}

} // namespace kelvane::detail
