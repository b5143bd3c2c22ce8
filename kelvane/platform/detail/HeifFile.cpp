// SPDX-License-Identifier: Apache-2.0
#include "HeifFile.h"

#include "HeifBoxes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::detail {
namespace {

constexpr std::uint64_t mostBytes = 16U << 20; // of the headers, and of EXIF, XMP and profile
constexpr std::uint64_t mostBrandBytes = 4096;
constexpr int mostTopLevelBoxes = 1000;
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

// A length given as a fraction, no more than there is; all of it where the fraction is none.
std::uint32_t cropped(std::uint32_t numerator, std::uint32_t denominator, std::uint32_t size) noexcept
{
    if (denominator == 0 || numerator == 0)
        return size;
    return std::min(size, std::max(1U, numerator / denominator));
}

// What the configuration of an HEVC item says of its samples.
void readConfiguration(HeifFile &file, HeifBytes body) noexcept
{
    constexpr std::size_t chromaFormatOffset = 16;
    HeifReader reader(body);
    reader.take(chromaFormatOffset);
    const std::uint8_t chroma = reader.byte();
    const std::uint8_t depth = reader.byte();
    if (reader.isFailed())
        return;
    file.chromaFormat = chroma & 3;
    if (file.bitsPerChannel == 0)
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
            turn = then(turn, reader.byte() & 1 ? sideways : upsideDown);
            file.isMirrored = true;
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

    void rotate(int quarters)
    {
        file.rotation = (file.rotation + quarters * 90) % 360;
        for (int i = 0; i < quarters; ++i) {
            turn = then(turn, quarterAnticlockwise);
            std::swap(file.uprightWidth, file.uprightHeight);
        }
    }

    void crop(HeifReader &reader)
    {
        const std::uint32_t width = reader.word();
        const std::uint32_t widthDivisor = reader.word();
        const std::uint32_t height = reader.word();
        const std::uint32_t heightDivisor = reader.word();
        file.isCropped = true;
        if (reader.isFailed())
            return;
        file.uprightWidth = cropped(width, widthDivisor, file.uprightWidth);
        file.uprightHeight = cropped(height, heightDivisor, file.uprightHeight);
    }

    HeifFile &file;
    Turn turn = noTurn;
};

void readGrid(HeifFile &file, const HeifItems &items)
{
    constexpr std::size_t mostGridBytes = 12;
    const std::vector<std::byte> content = items.contentOf(items.primary(), mostGridBytes);
    HeifReader reader(content);
    reader.byte();
    const std::size_t size = reader.byte() & 1 ? 4 : 2;
    HeifGrid grid;
    grid.rows = reader.byte() + 1U;
    grid.columns = reader.byte() + 1U;
    grid.width = static_cast<std::uint32_t>(reader.number(size));
    grid.height = static_cast<std::uint32_t>(reader.number(size));
    if (reader.isFailed())
        return;
    const std::vector<std::uint32_t> tiles = items.referencesOf(items.primary(), fourCharacters("dimg"));
    grid.tiles = tiles.size();
    file.grid = grid;
    if (tiles.empty())
        return;
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
    for (const std::uint32_t item : items.referencesTo(items.primary(), fourCharacters("auxl"), mostCandidates))
        file.hasAlpha = file.hasAlpha || isAlpha(items, item);
    file.exif = tiffBlock(descriptionOf(items, items.itemsOfType(fourCharacters("Exif"), mostCandidates)));
    file.xmp = descriptionOf(items, items.itemsOfType(fourCharacters("mime"), mostCandidates, "application/rdf+xml"));
    return true;
}

// The header of a box of the file itself, whose body is not read.
struct TopLevelBox {
    std::uint32_t type = 0;
    std::uint64_t body = 0; // offset
    std::uint64_t end = 0;
};

std::optional<TopLevelBox> topLevelBox(
    const HeifItems::ReadFile &readFile, std::uint64_t offset, std::uint64_t fileSize)
{
    const std::vector<std::byte> header = readFile(offset, 16);
    HeifReader reader(header);
    std::uint64_t size = reader.word();
    TopLevelBox box;
    box.type = reader.word();
    box.body = offset + 8;
    if (size == 1) {
        size = reader.number(8);
        box.body = offset + 16;
    }
    const std::uint64_t left = fileSize - offset;
    if (size == 0)
        size = left;
    // A box may reach behind the end of a file that was cut off; what is there of it is not looked at.
    if (reader.isFailed() || size < box.body - offset || size > left)
        return std::nullopt;
    box.end = offset + size;
    return box;
}

std::optional<HeifFile> describe(const HeifItems::ReadFile &readFile, std::uint64_t fileSize)
{
    HeifFile file;
    std::uint64_t offset = 0;
    for (int count = 0; count < mostTopLevelBoxes && offset < fileSize; ++count) {
        const auto box = topLevelBox(readFile, offset, fileSize);
        if (!box)
            break;
        const std::uint64_t size = box->end - box->body;
        if (box->type == fourCharacters("ftyp"))
            readBrands(file, readFile(box->body, std::min(size, mostBrandBytes)));
        else if (box->type == fourCharacters("meta")) {
            if (file.majorBrand.empty() || size > mostBytes)
                return std::nullopt;
            const std::vector<std::byte> meta = readFile(box->body, size);
            return readItems(file, HeifItems(meta, readFile)) ? std::optional(std::move(file)) : std::nullopt;
        }
        offset = box->end;
    }
    return std::nullopt;
}

std::vector<std::byte> readPart(int descriptor, std::uint64_t fileSize, std::uint64_t offset, std::uint64_t size)
{
    if (offset >= fileSize)
        return {};
    std::vector<std::byte> part(static_cast<std::size_t>(std::min(size, fileSize - offset)));
    std::size_t done = 0;
    while (done < part.size()) {
        const ssize_t got =
            ::pread(descriptor, part.data() + done, part.size() - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    part.resize(done);
    return part;
}

} // namespace

std::optional<HeifFile> HeifFile::read(const std::string &path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0)
        return std::nullopt;
    struct stat status = {};
    std::optional<HeifFile> file;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        const auto fileSize = static_cast<std::uint64_t>(status.st_size);
        file = describe(
            [=](std::uint64_t offset, std::uint64_t size) { return readPart(descriptor, fileSize, offset, size); },
            fileSize);
    }
    ::close(descriptor);
    return file;
}

std::optional<HeifFile> HeifFile::parse(std::span<const std::byte> file)
{
    return describe(
        [file](std::uint64_t offset, std::uint64_t size) {
            HeifReader reader(file);
            reader.take(offset);
            return copyOf(reader.take(std::min<std::uint64_t>(size, reader.rest().size())));
        },
        file.size());
}

} // namespace kelvane::detail
