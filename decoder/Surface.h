// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JpegPlanes.h"
#include "RgbaPixels.h"

#include <mutex>
#include <optional>
#include <utility>

namespace kelvane::decoder {

/// What a decoded picture is painted on, or all tiles of one by several threads.
class Surface {
public:
    Surface(int pictureWidth, int pictureHeight) : width(pictureWidth), height(pictureHeight) {}
    virtual ~Surface() = default;
    Surface(const Surface &) = delete;
    Surface &operator=(const Surface &) = delete;

    /// Asked before each picture or tile is painted; false where it cannot be: memory has ended, or it is of another kind
    /// than those before.
    [[nodiscard]] virtual bool accept(
        const HevcPlanes &decoded, const std::optional<detail::HeifColour> &colour, const Place &place) = 0;
    /// Paints rows `firstRow` (even) to `endRow` of what was accepted.
    virtual void paint(const HevcPlanes &decoded, const std::optional<detail::HeifColour> &colour, const Place &place,
        int firstRow, int endRow) const = 0;

    const int width;
    const int height;
};

/// The opacity of another picture.
class AlphaSurface final : public Surface {
public:
    AlphaSurface(int pictureWidth, int pictureHeight)
        : Surface(pictureWidth, pictureHeight),
          _canvas(pictureWidth, pictureHeight, 1)
    {
    }

    bool accept(const HevcPlanes &, const std::optional<detail::HeifColour> &, const Place &) override
    {
        return _canvas.pixels != nullptr;
    }
    void paint(const HevcPlanes &decoded, const std::optional<detail::HeifColour> &, const Place &place, int firstRow,
        int endRow) const override
    {
        paintAlpha(decoded, _canvas, place, firstRow, endRow);
    }
    [[nodiscard]] const Canvas &canvas() const noexcept { return _canvas; }

private:
    const Canvas _canvas;
};

/// A photo: pixels, or planes.
struct Photo {
    Canvas pixels;
    JpegPlanes planes;

    [[nodiscard]] explicit operator bool() const noexcept { return pixels.pixels || planes.memory; }
};

/// A photo's colours. The first picture that is decoded decides whether they stay in planes.
class PhotoSurface final : public Surface {
public:
    PhotoSurface(int pictureWidth, int pictureHeight, bool mayHavePlanes)
        : Surface(pictureWidth, pictureHeight),
          _mayHavePlanes(mayHavePlanes)
    {
    }

    bool accept(const HevcPlanes &decoded, const std::optional<detail::HeifColour> &colour, const Place &place) override
    {
        const bool isForPlanes = _mayHavePlanes && JpegPlanes::take(decoded, colour, place);
        const std::lock_guard guard(_mutex);
        if (!std::exchange(_isBegun, true)) {
            if (isForPlanes)
                _photo.planes = JpegPlanes(width, height);
            else
                _photo.pixels = Canvas(width, height, 4);
        }
        _isMixed = _isMixed || (_photo.planes.memory && !isForPlanes);
        return _photo && !_isMixed;
    }
    void paint(const HevcPlanes &decoded, const std::optional<detail::HeifColour> &colour, const Place &place,
        int firstRow, int endRow) const override
    {
        if (_photo.planes.memory)
            _photo.planes.copy(decoded, place, firstRow, endRow);
        else
            paintColour(decoded, colour, _photo.pixels, place, firstRow, endRow);
    }

    /// Whether a tile came that planes do not take, after others that they did.
    [[nodiscard]] bool isMixed() const noexcept { return _isMixed; }
    [[nodiscard]] const Canvas &pixels() const noexcept { return _photo.pixels; }
    [[nodiscard]] Photo release() noexcept { return std::move(_photo); }

private:
    const bool _mayHavePlanes;
    std::mutex _mutex;
    bool _isBegun = false; // guarded by _mutex, as is all that follows; what was accepted is painted without
    bool _isMixed = false;
    Photo _photo;
};

} // namespace kelvane::decoder
