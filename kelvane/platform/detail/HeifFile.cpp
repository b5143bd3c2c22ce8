// SPDX-License-Identifier: Apache-2.0
#include "HeifFile.h"

#include "HeifContainer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <tuple>
#include <utility>

namespace kelvane::detail {
namespace {

constexpr std::uint64_t mostBytes = 16U << 20; // of EXIF and of XMP
constexpr std::size_t mostCandidates = 16; // items looked at to find the one that belongs to the primary item

// Where a point of the stored picture comes to lie: two rows of a matrix, x to the right and y down.
using Turn = std::array<int, 4>;
constexpr Turn noTurn = {1, 0, 0, 1};
constexpr Turn quarterAnticlockwise = {0, 1, -1, 0};
constexpr Turn upsideDown = {1, 0, 0, -1}; // top and bottom change places
constexpr Turn sideways = {-1, 0, 0, 1}; // left and right do

constexpr Turn then(const Turn &first, const Turn &second) noexcept
{
    return {second[0] * first[0] + second[1] * first[2], second[0] * first[1] + second[1] * first[3],
        second[2] * first[0] + second[3] * first[2], second[2] * first[1] + second[3] * first[3]};
}

// The EXIF orientation by which a viewer turns the stored picture so.
int orientationOf(const Turn &turn) noexcept
{
    constexpr std::array<Turn, 8> turns = {noTurn, sideways, {-1, 0, 0, -1}, upsideDown, {0, 1, 1, 0}, {0, -1, 1, 0},
        {0, -1, -1, 0}, quarterAnticlockwise};
    return static_cast<int>(std::find(turns.begin(), turns.end(), turn) - turns.begin()) + 1;
}

std::string brand(HeifReader &reader)
{
    const HeifBytes bytes = reader.take(4);
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

std::vector<std::byte> copyOf(HeifBytes bytes)
{
    return {bytes.begin(), bytes.end()};
}

void readBrands(HeifFile &file, HeifBytes body)
{
    HeifReader reader(body);
    file.majorBrand = brand(reader);
    reader.word();
    while (reader.rest().size() >= 4)
        file.compatibleBrands.push_back(brand(reader));
}

void readColour(HeifFile &file, HeifBytes body)
{
    HeifReader reader(body);
    const std::uint32_t kind = reader.word();
    const bool isProfile = kind == fourCharacters("prof") || kind == fourCharacters("rICC");
    if (isProfile && file.iccProfile.empty())
        file.iccProfile = copyOf(reader.rest());
    if (kind != fourCharacters("nclx") || file.colour)
        return;
    HeifColour colour;
    colour.primaries = reader.half();
    colour.transfer = reader.half();
    colour.matrix = reader.half();
    colour.isFullRange = (reader.byte() & 0x80) != 0;
    if (!reader.isFailed())
        file.colour = colour;
}

// A number that the file gives as a fraction; one that is none is 0.
double fraction(HeifReader &reader, bool isSigned) noexcept
{
    const std::uint32_t numerator = reader.word();
    const std::uint32_t denominator = reader.word();
    if (denominator == 0)
        return 0;
    return (isSigned ? static_cast<std::int32_t>(numerator) : static_cast<double>(numerator)) / denominator;
}

// The pixels from `first` on that a clean aperture of `length`, its middle `offset` off the picture's, has in common
// with the `size` that are there: where they begin, and how many they are. All of them where there are none.
std::pair<std::uint32_t, std::uint32_t> apertureOf(double first, double length, std::uint32_t size) noexcept
{
    const double last = std::round(length - 1 + first);
    const double from = std::max(first, 0.0);
    const double to = std::min(last, size - 1.0);
    if (size == 0 || !(from <= to))
        return {0, size};
    return {static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - from) + 1};
}

// What the configuration of an HEVC item says of its samples.
void readConfiguration(HeifFile &file, HeifBytes body) noexcept
{
    constexpr std::size_t lumaDepthOffset = 17;
    HeifReader reader(body);
    reader.take(lumaDepthOffset);
    const std::uint8_t depth = reader.byte();
    if (!reader.isFailed() && file.bitsPerChannel == 0)
        file.bitsPerChannel = static_cast<std::uint8_t>((depth & 7) + 8);
}

class PropertyReader {
public:
    explicit PropertyReader(HeifFile &described) : file(described) {}

    void read(const std::vector<HeifBox> &properties)
    {
        for (const HeifBox &box : properties)
            if (box.type == fourCharacters("ispe"))
                readSize(box.body);
        for (const HeifBox &box : properties)
            readOne(box);
        file.orientation = orientationOf(turn);
    }

private:
    void readSize(HeifBytes body)
    {
        HeifReader reader(body);
        reader.word();
        const std::uint32_t width = reader.word();
        const std::uint32_t height = reader.word();
        if (reader.isFailed())
            return;
        file.storedWidth = file.uprightWidth = width;
        file.storedHeight = file.uprightHeight = height;
    }

    void readOne(const HeifBox &box)
    {
        HeifReader reader(box.body);
        if (box.type == fourCharacters("irot"))
            rotate(reader.byte() & 3);
        else if (box.type == fourCharacters("imir")) {
            mirror((reader.byte() & 1) != 0);
        } else if (box.type == fourCharacters("clap"))
            crop(reader);
        else if (box.type == fourCharacters("colr"))
            readColour(file, box.body);
        else if (box.type == fourCharacters("pixi")) {
            reader.word();
            reader.byte();
            file.bitsPerChannel = reader.byte();
        } else if (box.type == fourCharacters("hvcC"))
            readConfiguration(file, box.body);
    }

    void mirror(bool isSideways)
    {
        turn = then(turn, isSideways ? sideways : upsideDown);
        file.isMirrored = true;
        HeifTransform transform;
        transform.kind = HeifTransform::Kind::mirror;
        transform.isSideways = isSideways;
        file.transforms.push_back(transform);
    }

    void rotate(int quarters)
    {
        HeifTransform transform;
        transform.quarters = quarters;
        file.transforms.push_back(transform);
        file.rotation = (file.rotation + quarters * 90) % 360;
        for (int i = 0; i < quarters; ++i) {
            turn = then(turn, quarterAnticlockwise);
            std::swap(file.uprightWidth, file.uprightHeight);
        }
    }

    void crop(HeifReader &reader)
    {
        const double width = fraction(reader, false);
        const double height = fraction(reader, false);
        const double right = fraction(reader, true);
        const double down = fraction(reader, true);
        file.isCropped = true;
        if (reader.isFailed())
            return;
        // The left edge is rounded down and the top one to the nearest, as libheif does it.
        const double left = std::floor(right + (file.uprightWidth - 1.0) / 2 - (width - 1) / 2);
        const double top = std::round(down + (file.uprightHeight - 1.0) / 2 - (height - 1) / 2);
        HeifTransform transform;
        transform.kind = HeifTransform::Kind::crop;
        std::tie(transform.left, transform.width) = apertureOf(left, width, file.uprightWidth);
        std::tie(transform.top, transform.height) = apertureOf(top, height, file.uprightHeight);
        file.uprightWidth = transform.width;
        file.uprightHeight = transform.height;
        file.transforms.push_back(transform);
    }

    HeifFile &file;
    Turn turn = noTurn;
};

// The tiles tell the depth of a grid that does not.
void readGrid(HeifFile &file, const HeifItems &items)
{
    file.grid = readHeifGrid(items, items.primary());
    const std::vector<std::uint32_t> tiles = items.referencesOf(items.primary(), fourCharacters("dimg"));
    if (file.bitsPerChannel == 0 && !tiles.empty())
        for (const HeifBox &box : items.propertiesOf(tiles.front()))
            if (box.type == fourCharacters("hvcC"))
                readConfiguration(file, box.body);
}

bool isAlpha(const HeifItems &items, std::uint32_t item)
{
    for (const HeifBox &box : items.propertiesOf(item)) {
        const std::string_view text(reinterpret_cast<const char *>(box.body.data()), box.body.size());
        if (box.type == fourCharacters("auxC")
            && (text.find("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha") == 4
                || text.find("urn:mpeg:hevc:2015:auxid:1") == 4))
            return true;
    }
    return false;
}

void readAlpha(HeifFile &file, const HeifItems &items)
{
    for (const std::uint32_t item : items.referencesTo(items.primary(), fourCharacters("auxl"), mostCandidates)) {
        if (!isAlpha(items, item))
            continue;
        file.hasAlpha = true;
        file.alphaItem = item;
        const auto multipliers = items.referencesOf(items.primary(), fourCharacters("prem"));
        file.isPremultiplied = std::find(multipliers.begin(), multipliers.end(), item) != multipliers.end();
        return;
    }
}

// Of those that describe something, the item that describes the primary one; the first where none says so.
std::vector<std::byte> descriptionOf(const HeifItems &items, const std::vector<std::uint32_t> &candidates)
{
    if (candidates.empty())
        return {};
    std::uint32_t chosen = candidates.front();
    for (const std::uint32_t candidate : candidates) {
        const auto described = items.referencesOf(candidate, fourCharacters("cdsc"));
        if (std::find(described.begin(), described.end(), items.primary()) != described.end()) {
            chosen = candidate;
            break;
        }
    }
    return items.contentOf(chosen, mostBytes);
}

bool isTiffHeader(HeifBytes bytes) noexcept
{
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    using namespace std::string_view_literals;
    return text.starts_with("II*\0"sv) || text.starts_with("MM\0*"sv);
}

// The item begins with a number of bytes to leave out. Where that leads nowhere, the block itself is looked for: some
// writers count the number itself, some leave it out.
std::vector<std::byte> tiffBlock(std::vector<std::byte> item)
{
    constexpr std::size_t mostSkipped = 64;
    HeifReader reader(item);
    const std::uint32_t offset = reader.word();
    reader.take(offset);
    if (!reader.isFailed() && isTiffHeader(reader.rest()))
        return copyOf(reader.rest());
    for (std::size_t at = 0; at < std::min(mostSkipped, item.size()); ++at)
        if (isTiffHeader(HeifBytes(item).subspan(at)))
            return copyOf(HeifBytes(item).subspan(at));
    return {};
}

bool readItems(HeifFile &file, const HeifItems &items)
{
    const std::uint32_t type = items.typeOf(items.primary());
    if (type == 0)
        return false;
    for (int shift = 24; shift >= 0; shift -= 8)
        file.itemType += static_cast<char>(type >> shift & 0xff);
    PropertyReader(file).read(items.propertiesOf(items.primary()));
    if (type == fourCharacters("grid"))
        readGrid(file, items);
    readAlpha(file, items);
    file.exif = tiffBlock(descriptionOf(items, items.itemsOfType(fourCharacters("Exif"), mostCandidates)));
    file.xmp = descriptionOf(items, items.itemsOfType(fourCharacters("mime"), mostCandidates, "application/rdf+xml"));
    return true;
}

} // namespace

std::optional<HeifGrid> readHeifGrid(const HeifItems &items, std::uint32_t item)
{
    constexpr std::size_t mostGridBytes = 12;
    const std::vector<std::byte> content = items.contentOf(item, mostGridBytes);
    HeifReader reader(content);
    reader.byte();
    const std::size_t size = reader.byte() & 1 ? 4 : 2;
    HeifGrid grid;
    grid.rows = reader.byte() + 1U;
    grid.columns = reader.byte() + 1U;
    grid.width = static_cast<std::uint32_t>(reader.number(size));
    grid.height = static_cast<std::uint32_t>(reader.number(size));
    grid.tiles = items.referencesOf(item, fourCharacters("dimg")).size();
    return reader.isFailed() ? std::nullopt : std::optional(grid);
}

std::optional<HeifFile> HeifFile::read(const std::string &path)
{
    const auto container = HeifContainer::open(path);
    return container ? describe(*container) : std::nullopt;
}

std::optional<HeifFile> HeifFile::parse(std::span<const std::byte> file)
{
    const auto container = HeifContainer::open(file);
    return container ? describe(*container) : std::nullopt;
}

std::optional<HeifFile> HeifFile::describe(const HeifContainer &container)
{
    HeifFile file;
    readBrands(file, container.brands());
    return readItems(file, container.items()) ? std::optional(std::move(file)) : std::nullopt;
}

} // namespace kelvane::detail
