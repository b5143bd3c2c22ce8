// SPDX-License-Identifier: Apache-2.0
#include "Orientation.h"

#include <cstddef>
#include <cstdint>

namespace kelvane::module {
namespace {

std::uint32_t numberAt(std::string_view bytes, std::size_t at, std::size_t count, bool isLittleEndian)
{
    if (at > bytes.size() || count > bytes.size() - at)
        return 0;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < count; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[at + (isLittleEndian ? count - 1 - i : i)]);
    return number;
}

/// The content of a chunk, each of which has its name and size in front; "" where the file has none of that name.
std::string_view chunk(std::string_view file, std::size_t start, std::string_view name, bool isWebp)
{
    constexpr std::size_t header = 8;
    constexpr std::size_t checksum = 4; // behind the chunks of PNG; those of WebP are filled up to an even size
    for (std::size_t at = start; at + header <= file.size();) {
        const std::size_t size = numberAt(file, at + (isWebp ? 4 : 0), 4, isWebp);
        if (file.substr(at + (isWebp ? 0 : 4), 4) == name)
            return file.substr(at + header, size);
        at += header + size + (isWebp ? size & 1 : checksum);
    }
    return {};
}

} // namespace

Orientation orientationOfTiff(std::string_view block)
{
    constexpr std::uint32_t orientationTag = 0x112;
    constexpr std::size_t entrySize = 12;
    if (block.starts_with("Exif"))
        block.remove_prefix(block.size() < 6 ? block.size() : 6);
    const bool isLittleEndian = block.starts_with("II");
    const std::size_t directory = numberAt(block, 4, 4, isLittleEndian);
    const std::size_t count = numberAt(block, directory, 2, isLittleEndian);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * entrySize;
        if (numberAt(block, entry, 2, isLittleEndian) != orientationTag)
            continue;
        const std::uint32_t value = numberAt(block, entry + 8, 2, isLittleEndian);
        return value >= 1 && value <= 8 ? static_cast<Orientation>(value) : 1;
    }
    return 1;
}

Orientation orientationOfImage(std::string_view file)
{
    if (file.starts_with("II") || file.starts_with("MM"))
        return orientationOfTiff(file);
    if (file.starts_with("RIFF"))
        return orientationOfTiff(chunk(file, 12, "EXIF", true));
    if (file.starts_with("\x89PNG"))
        return orientationOfTiff(chunk(file, 8, "eXIf", false));
    return 1;
}

} // namespace kelvane::module
