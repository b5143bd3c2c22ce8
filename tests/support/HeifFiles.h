// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/HeifContainer.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Makes HEIF files: real ones by heif-enc, and from their parts others that no encoder writes.

namespace kelvane::testsupport {

inline std::string quoted(const std::filesystem::path &path)
{
    return "'" + path.string() + "'";
}

/// Runs a command line of other people's programs; whether it succeeded.
inline bool runCommand(const std::string &line)
{
    return std::system(("(" + line + ") >/dev/null 2>&1").c_str()) == 0;
}

inline std::string readFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::filesystem::path &path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// What `command` prints.
inline std::string outputOf(const std::string &command, const std::filesystem::path &scratch)
{
    const std::filesystem::path file = scratch / "output-of-command";
    if (std::system((command + " >" + quoted(file) + " 2>/dev/null").c_str()) != 0)
        return {};
    return readFile(file);
}

/// The number in as many bytes, most significant first.
inline std::string bigEndian(std::uint64_t value, int bytes)
{
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift);
    return text;
}

inline std::string box(std::string_view type, const std::string &body)
{
    return bigEndian(body.size() + 8, 4) + std::string(type) + body;
}

inline std::string sizeBox(std::uint32_t width, std::uint32_t height)
{
    return box("ispe", bigEndian(0, 4) + bigEndian(width, 4) + bigEndian(height, 4));
}

inline std::string turnBox(int quarters)
{
    return box("irot", bigEndian(static_cast<std::uint64_t>(quarters), 1));
}

inline std::string mirrorBox(bool isSideways)
{
    return box("imir", bigEndian(isSideways ? 1 : 0, 1));
}

/// Keeps `width` by `height` pixels of the middle.
inline std::string cropBox(std::uint32_t width, std::uint32_t height)
{
    return box("clap",
        bigEndian(width, 4) + bigEndian(1, 4) + bigEndian(height, 4) + bigEndian(1, 4) + bigEndian(0, 4)
            + bigEndian(1, 4) + bigEndian(0, 4) + bigEndian(1, 4));
}

inline std::string colourBox(int primaries, int transfer, int matrix, bool isFullRange)
{
    const auto number = [](int value) { return bigEndian(static_cast<std::uint64_t>(value), 2); };
    return box("colr", "nclx" + number(primaries) + number(transfer) + number(matrix) + (isFullRange ? '\x80' : '\0'));
}

struct HeifItem {
    std::string type;
    std::string content;
    std::vector<std::string> properties; ///< whole boxes
};

struct HeifReference {
    std::string type;
    std::uint16_t from = 0;
    std::vector<std::uint16_t> to;
};

/// The bytes of a HEIF file of these items; they are numbered from 1 on, and the first one is the primary.
inline std::string heifFile(const std::vector<HeifItem> &items, const std::vector<HeifReference> &references = {},
    std::string_view majorBrand = "heic")
{
    std::string infos = bigEndian(0, 4) + bigEndian(items.size(), 2);
    std::string properties;
    std::string associations = bigEndian(0, 4) + bigEndian(items.size(), 4);
    std::uint64_t propertyCount = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        infos += box("infe", bigEndian(2U << 24, 4) + bigEndian(i + 1, 2) + bigEndian(0, 2) + items[i].type + '\0');
        associations += bigEndian(i + 1, 2) + bigEndian(items[i].properties.size(), 1);
        for (const std::string &property : items[i].properties) {
            properties += property;
            associations += bigEndian(++propertyCount, 1);
        }
    }
    std::string referenceBoxes;
    for (const HeifReference &reference : references) {
        std::string body = bigEndian(reference.from, 2) + bigEndian(reference.to.size(), 2);
        for (const std::uint16_t target : reference.to)
            body += bigEndian(target, 2);
        referenceBoxes += box(reference.type, body);
    }
    const std::string brands = box("ftyp", std::string(majorBrand) + bigEndian(0, 4) + "mif1heic");
    const auto metaWith = [&](std::uint64_t dataOffset) {
        std::string locations = bigEndian(0, 4) + bigEndian(0x4400, 2) + bigEndian(items.size(), 2);
        for (std::size_t i = 0; i < items.size(); ++i) {
            locations += bigEndian(i + 1, 2) + bigEndian(0, 2) + bigEndian(1, 2) + bigEndian(dataOffset, 4)
                + bigEndian(items[i].content.size(), 4);
            dataOffset += items[i].content.size();
        }
        return box("meta",
            bigEndian(0, 4) + box("hdlr", bigEndian(0, 8) + "pict" + std::string(13, '\0'))
                + box("pitm", bigEndian(0, 4) + bigEndian(1, 2)) + box("iinf", infos) + box("iloc", locations)
                + (referenceBoxes.empty() ? "" : box("iref", bigEndian(0, 4) + referenceBoxes))
                + box("iprp", box("ipco", properties) + box("ipma", associations)));
    };
    const std::uint64_t dataOffset = brands.size() + metaWith(0).size() + 8;
    std::string data;
    for (const HeifItem &item : items)
        data += item.content;
    return brands + metaWith(dataOffset) + box("mdat", data);
}

/// The primary item of a file, with its content and its properties but "irot", "imir" and "clap".
inline HeifItem primaryItemOf(const std::filesystem::path &path)
{
    using namespace kelvane::detail;
    const auto container = HeifContainer::open(path.string());
    if (!container)
        throw std::runtime_error("no HEIF file: " + path.string());
    const HeifItems &items = container->items();
    const auto text = [](HeifBytes bytes) {
        return std::string(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    };
    HeifItem item;
    item.type = bigEndian(items.typeOf(items.primary()), 4);
    item.content = text(items.contentOf(items.primary(), 1U << 28));
    for (const HeifBox &property : items.propertiesOf(items.primary()))
        if (property.type != fourCharacters("irot") && property.type != fourCharacters("imir")
            && property.type != fourCharacters("clap"))
            item.properties.push_back(box(bigEndian(property.type, 4), text(property.body)));
    return item;
}

/// What a grid item holds.
inline std::string gridContent(int rows, int columns, std::uint32_t width, std::uint32_t height)
{
    return bigEndian(0, 1) + bigEndian(1, 1) + bigEndian(static_cast<std::uint64_t>(rows - 1), 1)
        + bigEndian(static_cast<std::uint64_t>(columns - 1), 1) + bigEndian(width, 4) + bigEndian(height, 4);
}

/// A picture with something else in each corner, as PNG: `filter` is one of ffmpeg's, applied to it. Soft edges, so that
/// what JPEG loses is little.
inline bool makePicture(const std::filesystem::path &path, int width, int height, const std::string &filter = "null",
    const std::string &format = "rgb24")
{
    return runCommand("ffmpeg -v error -y -f lavfi -i testsrc2=size=" + std::to_string(width) + "x"
        + std::to_string(height) + " -frames:v 1 -vf 'gblur=sigma=4," + filter + "' -pix_fmt " + format + " "
        + quoted(path));
}

/// Encodes pictures with heif-enc.
inline bool encodeHeic(
    const std::filesystem::path &from, const std::filesystem::path &to, const std::string &options = "")
{
    return runCommand("heif-enc -q 85 " + options + " -o " + quoted(to) + " " + quoted(from));
}

} // namespace kelvane::testsupport
