// SPDX-License-Identifier: Apache-2.0
#include "HevcPicture.h"

#include "HevcStream.h"
#include "Parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <limits>

namespace kelvane::decoder {
namespace {

using detail::fourCharacters;
using detail::HeifGrid;

// A coded picture is filled up to whole blocks at its edges; no encoder's blocks are larger.
constexpr std::int64_t blockSize = 64;

// For what tiles share, and for their parameter sets.
constexpr std::int64_t spareBytes = 16 << 20;

// Each tile costs some time, however small it is. Cameras have some hundred, of 512 x 512.
constexpr std::size_t mostSmallTiles = 1024;
constexpr std::uint64_t smallTile = std::uint64_t{128} * 128;

// A file may say 2^32 for each; the decoder refuses what is far smaller.
std::int64_t mostPixelsFor(std::int64_t width, std::int64_t height)
{
    std::int64_t pixels = 0;
    const bool isTooMany = __builtin_mul_overflow(width + blockSize, height + blockSize, &pixels);
    return isTooMany ? std::numeric_limits<std::int64_t>::max() : pixels;
}

// Paints in stripes, one thread on each. False where memory ended.
template <class Paint>
bool inStripes(int rows, Paint &&paint)
{
    constexpr int stripe = 64;
    std::atomic<int> next = 0;
    return onThreads(std::min(coreCount(), std::max(1, rows / 256)), [&] {
        for (int first = next.fetch_add(stripe); first < rows; first = next.fetch_add(stripe))
            paint(first, std::min(first + stripe, rows));
    });
}

} // namespace

// The tiles of a grid, taken by several threads one after the other.
class HevcPicture::Tiles {
public:
    Tiles(const detail::HeifItems &items, const std::optional<detail::HeifColour> &colour, const HeifGrid &shape,
        std::vector<std::uint32_t> tiles, ItemSize tileSize, std::uint64_t fileSize, Surface &surface)
        : _items(items),
          _colour(colour),
          _grid(shape),
          _tiles(std::move(tiles)),
          _size(tileSize),
          _surface(surface),
          _bytesLeft(static_cast<std::int64_t>(fileSize) + spareBytes)
    {
    }

    [[nodiscard]] HevcDecoder::Outcome decode()
    {
        const auto most = std::min<std::size_t>(static_cast<std::size_t>(coreCount()), _tiles.size());
        if (!onThreads(static_cast<int>(most), [this] { work(); }))
            return HevcDecoder::Outcome::damaged; // memory has ended
        return _outcome;
    }

private:
    void work()
    {
        HevcDecoder decoder(1);
        for (std::size_t i = _next++; i < _tiles.size(); i = _next++) {
            const HevcDecoder::Outcome outcome = decodeTile(i, decoder);
            if (outcome != HevcDecoder::Outcome::decoded)
                _outcome = outcome;
            if (_outcome != HevcDecoder::Outcome::decoded)
                return;
        }
    }

    HevcDecoder::Outcome decodeTile(std::size_t index, HevcDecoder &decoder)
    {
        auto stream = readHevcStream(_items, _tiles[index]);
        if (!stream || (_bytesLeft -= static_cast<std::int64_t>(stream->units.size())) < 0)
            return HevcDecoder::Outcome::damaged;
        const auto outcome = decoder.decode(std::move(stream->units), mostPixelsFor(_size.width, _size.height));
        if (outcome != HevcDecoder::Outcome::decoded)
            return outcome;
        const HevcPlanes &planes = decoder.planes();
        const Place place = placeOf(index);
        if (planes.width < place.width || planes.height < place.height)
            return HevcDecoder::Outcome::damaged;
        const auto &colour = stream->colour ? stream->colour : _colour;
        if (!_surface.accept(planes, colour, place))
            return HevcDecoder::Outcome::damaged;
        _surface.paint(planes, colour, place, 0, place.height);
        return outcome;
    }

    // Tiles may reach over the right and lower edge, however far: a file may say 2^32 for their size.
    [[nodiscard]] Place placeOf(std::size_t index) const
    {
        Place place;
        place.x = static_cast<int>(index % _grid.columns * _size.width);
        place.y = static_cast<int>(index / _grid.columns * _size.height);
        place.width = static_cast<int>(std::min<std::int64_t>(_size.width, _surface.width - place.x));
        place.height = static_cast<int>(std::min<std::int64_t>(_size.height, _surface.height - place.y));
        return place;
    }

    const detail::HeifItems &_items;
    const std::optional<detail::HeifColour> &_colour;
    const HeifGrid &_grid;
    const std::vector<std::uint32_t> _tiles;
    const ItemSize _size;
    Surface &_surface;
    std::atomic<std::int64_t> _bytesLeft; // to be decoded: tiles may share what they hold, but not all of a large file
    std::atomic<std::size_t> _next = 0;
    std::atomic<HevcDecoder::Outcome> _outcome = HevcDecoder::Outcome::decoded;
};

HevcPicture::HevcPicture(const detail::HeifContainer &container, const detail::HeifFile &file)
    : _items(container.items()),
      _fileSize(container.fileSize()),
      _file(file)
{
}

bool HevcPicture::isHevc(std::uint32_t item) const
{
    const std::uint32_t type = _items.typeOf(item);
    return type == fourCharacters("hvc1") || type == fourCharacters("hev1");
}

Photo HevcPicture::decode(bool mayHavePlanes)
{
    const std::uint32_t width = _file.grid ? _file.grid->width : _file.storedWidth;
    const std::uint32_t height = _file.grid ? _file.grid->height : _file.storedHeight;
    PhotoSurface surface(static_cast<int>(width), static_cast<int>(height), mayHavePlanes && !_file.hasAlpha);
    if (!decodeItem(_items.primary(), surface))
        return surface.isMixed() ? decode(false) : Photo();
    if (_file.hasAlpha && !addAlpha(surface.pixels()))
        return {};
    return surface.release();
}

bool HevcPicture::decodeItem(std::uint32_t item, Surface &surface)
{
    if (isHevc(item))
        return decodeSingle(item, surface);
    if (_items.typeOf(item) == fourCharacters("grid"))
        return decodeGrid(item, surface);
    _isUnsupported = true;
    return false;
}

bool HevcPicture::decodeSingle(std::uint32_t item, Surface &surface)
{
    auto stream = readHevcStream(_items, item);
    if (!stream)
        return false;
    HevcDecoder decoder(coreCount());
    const auto outcome = decoder.decode(std::move(stream->units), mostPixelsFor(surface.width, surface.height));
    _isUnsupported = outcome == HevcDecoder::Outcome::unsupported;
    const HevcPlanes &planes = decoder.planes();
    if (outcome != HevcDecoder::Outcome::decoded || planes.width < surface.width || planes.height < surface.height)
        return false;
    const Place place{0, 0, surface.width, surface.height};
    return surface.accept(planes, _file.colour, place) && inStripes(surface.height, [&](int first, int end) {
        surface.paint(planes, _file.colour, place, first, end);
    });
}

bool HevcPicture::decodeGrid(std::uint32_t item, Surface &surface)
{
    const auto grid = detail::readHeifGrid(_items, item);
    std::vector<std::uint32_t> tiles = _items.referencesOf(item, fourCharacters("dimg"));
    if (!grid || tiles.size() != std::size_t{grid->rows} * grid->columns)
        return false;
    if (!isHevc(tiles.front())) {
        _isUnsupported = true;
        return false;
    }
    const ItemSize size = sizeOf(_items, tiles.front());
    const std::uint64_t width = std::uint64_t{size.width} * grid->columns;
    const std::uint64_t height = std::uint64_t{size.height} * grid->rows;
    // Tiles cover the picture, and none lies wholly outside: that is also what bounds the work.
    const auto wholeWidth = static_cast<std::uint64_t>(surface.width);
    const auto wholeHeight = static_cast<std::uint64_t>(surface.height);
    if (width < wholeWidth || height < wholeHeight || width - size.width >= wholeWidth
        || height - size.height >= wholeHeight)
        return false;
    if (tiles.size() > mostSmallTiles && std::uint64_t{size.width} * size.height < smallTile)
        return false;
    const auto outcome = Tiles(_items, _file.colour, *grid, std::move(tiles), size, _fileSize, surface).decode();
    _isUnsupported = outcome == HevcDecoder::Outcome::unsupported;
    return outcome == HevcDecoder::Outcome::decoded;
}

bool HevcPicture::addAlpha(const Canvas &canvas)
{
    const auto size = sizeOf(_items, _file.alphaItem);
    // Larger than the picture it would say nothing more.
    if (size.width == 0 || size.height == 0 || size.width > static_cast<std::uint32_t>(canvas.width)
        || size.height > static_cast<std::uint32_t>(canvas.height))
        return false;
    AlphaSurface alpha(static_cast<int>(size.width), static_cast<int>(size.height));
    if (!decodeItem(_file.alphaItem, alpha))
        return false;
    return inStripes(canvas.height,
        [&](int first, int end) { applyAlpha(canvas, alpha.canvas(), _file.isPremultiplied, first, end); });
}

} // namespace kelvane::decoder
