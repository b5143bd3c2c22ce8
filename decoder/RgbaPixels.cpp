// SPDX-License-Identifier: Apache-2.0
#include "RgbaPixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <utility>
#include <vector>

namespace kelvane::decoder {
namespace {

constexpr int fraction = 14; // bits of fixed-point numbers behind the point
constexpr std::int32_t half = 1 << (fraction - 1);

// Red, green and blue are sums of what luma and the two chroma samples give, each a fixed-point number.
struct Coefficients {
    std::int32_t luma;
    std::int32_t lumaZero;
    std::int32_t chromaZero;
    std::array<std::array<std::int32_t, 2>, 3> chroma; // for red, green, blue: of Cb, of Cr
};

// Rows of red, green, blue: factors of Cb and Cr where all samples go from 0 to 1 (ITU-T H.273).
std::array<std::array<double, 2>, 3> chromaFactors(int matrix)
{
    constexpr int coGreen = 8;
    if (matrix == coGreen)
        return {{{-1, 1}, {1, 0}, {-1, -1}}};
    double red = 0.299;
    double blue = 0.114;
    switch (matrix) {
    case 1:
        red = 0.2126, blue = 0.0722;
        break;
    case 4:
        red = 0.30, blue = 0.11;
        break;
    case 7:
        red = 0.212, blue = 0.087;
        break;
    case 9:
    case 10:
        red = 0.2627, blue = 0.0593;
        break;
    default:
        break;
    }
    const double green = 1 - red - blue;
    return {{{0, 2 * (1 - red)}, {-2 * (1 - blue) * blue / green, -2 * (1 - red) * red / green}, {2 * (1 - blue), 0}}};
}

Coefficients coefficientsOf(int matrix, bool isFullRange, int depth)
{
    const double top = (1 << depth) - 1;
    const double scale = 1 << (depth - 8);
    const double lumaRange = isFullRange ? top : 219 * scale;
    const double chromaRange = isFullRange ? top : 224 * scale;
    const auto fixed = [](double value) { return static_cast<std::int32_t>(std::lround(value * (1 << fraction))); };
    Coefficients result = {};
    result.luma = fixed(255 / lumaRange);
    result.lumaZero = isFullRange ? 0 : static_cast<std::int32_t>(16 * scale);
    result.chromaZero = 1 << (depth - 1);
    const auto factors = chromaFactors(matrix);
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 2; ++j)
            result.chroma[i][j] = fixed(factors[i][j] * 255 / chromaRange);
    return result;
}

std::uint32_t clamped(std::int32_t value) noexcept
{
    return static_cast<std::uint32_t>(std::clamp(value >> fraction, 0, 255));
}

std::uint32_t packed(std::uint32_t red, std::uint32_t green, std::uint32_t blue) noexcept
{
    return red | green << 8 | blue << 16 | 0xff000000U; // RGBA in memory, as all systems we are built for count
}

// What chroma adds to each pixel of a row.
struct ChromaRow {
    explicit ChromaRow(std::size_t width) : red(width + 1), green(width + 1), blue(width + 1) {}

    std::vector<std::int32_t> red;
    std::vector<std::int32_t> green;
    std::vector<std::int32_t> blue;
};

class Conversion {
public:
    Conversion(const HevcPlanes &source, const std::optional<detail::HeifColour> &colour, const Canvas &target,
        const Place &where)
        : planes(source),
          canvas(target),
          place(where),
          matrix(colour ? colour->matrix : source.matrix),
          coefficients(coefficientsOf(matrix, colour ? colour->isFullRange : source.isFullRange, source.depth))
    {
    }

    void convert(int firstRow, int endRow) const
    {
        if (planes.depth > 8)
            convertRows<std::uint16_t>(firstRow, endRow);
        else
            convertRows<std::uint8_t>(firstRow, endRow);
    }

private:
    template <class Sample>
    void convertRows(int firstRow, int endRow) const
    {
        constexpr int rgb = 0;
        ChromaRow chroma(planes.isGrey ? 0 : static_cast<std::size_t>(planes.width));
        for (int y = firstRow; y < endRow; ++y) {
            auto *row = reinterpret_cast<std::uint32_t *>(canvas.row(place.y + y)) + place.x;
            const auto *luma = planes.row<Sample>(0, y);
            const auto *cb = planes.row<Sample>(1, y >> planes.shiftY);
            const auto *cr = planes.row<Sample>(2, y >> planes.shiftY);
            if (planes.isGrey)
                convertGrey(luma, row);
            else if (matrix == rgb)
                convertRgb(luma, cb, cr, row);
            else {
                if (y == firstRow || planes.shiftY == 0 || y % 2 == 0)
                    readChroma(cb, cr, chroma);
                convertColour(luma, chroma, row);
            }
        }
    }

    template <class Sample>
    void readChroma(const Sample *cbRow, const Sample *crRow, ChromaRow &row) const
    {
        const auto &[ofRed, ofGreen, ofBlue] = coefficients.chroma;
        const int shiftX = planes.shiftX;
        for (int i = 0; i < (place.width + shiftX) >> shiftX; ++i) {
            const std::int32_t u = cbRow[i] - coefficients.chromaZero;
            const std::int32_t v = crRow[i] - coefficients.chromaZero;
            const std::int32_t red = u * ofRed[0] + v * ofRed[1] + half;
            const std::int32_t green = u * ofGreen[0] + v * ofGreen[1] + half;
            const std::int32_t blue = u * ofBlue[0] + v * ofBlue[1] + half;
            const auto at = static_cast<std::size_t>(i) << shiftX;
            row.red[at] = red;
            row.green[at] = green;
            row.blue[at] = blue;
            if (shiftX) {
                row.red[at + 1] = red;
                row.green[at + 1] = green;
                row.blue[at + 1] = blue;
            }
        }
    }

    template <class Sample>
    void convertColour(const Sample *y, const ChromaRow &chroma, std::uint32_t *row) const
    {
        const std::int32_t *red = chroma.red.data();
        const std::int32_t *green = chroma.green.data();
        const std::int32_t *blue = chroma.blue.data();
        for (int x = 0; x < place.width; ++x) {
            const std::int32_t light = (y[x] - coefficients.lumaZero) * coefficients.luma;
            row[x] = packed(clamped(light + red[x]), clamped(light + green[x]), clamped(light + blue[x]));
        }
    }

    template <class Sample>
    void convertGrey(const Sample *y, std::uint32_t *row) const
    {
        for (int x = 0; x < place.width; ++x) {
            const std::uint32_t light = clamped((y[x] - coefficients.lumaZero) * coefficients.luma + half);
            row[x] = packed(light, light, light);
        }
    }

    // Green, blue and red stand where luma and chroma do otherwise.
    template <class Sample>
    void convertRgb(const Sample *green, const Sample *blue, const Sample *red, std::uint32_t *row) const
    {
        const auto light = [this](Sample sample) {
            return clamped((sample - coefficients.lumaZero) * coefficients.luma + half);
        };
        for (int x = 0; x < place.width; ++x)
            row[x] = packed(light(red[x]), light(green[x]), light(blue[x]));
    }

    const HevcPlanes &planes;
    const Canvas &canvas;
    const Place place;
    const int matrix;
    const Coefficients coefficients;
};

template <class Sample>
void paintAlphaRows(const HevcPlanes &planes, const Canvas &canvas, const Place &place, int firstRow, int endRow)
{
    const std::uint32_t top = (1U << planes.depth) - 1;
    for (int y = firstRow; y < endRow; ++y) {
        const auto *from = planes.row<Sample>(0, y);
        std::uint8_t *to = canvas.row(place.y + y) + place.x;
        for (int x = 0; x < place.width; ++x)
            to[x] = static_cast<std::uint8_t>((from[x] * 255U + top / 2) / top);
    }
}

Canvas cropped(const Canvas &canvas, const detail::HeifTransform &crop)
{
    // What the file says of its size held for the stream as well, or the picture would not have come so far.
    const int left = std::min(static_cast<int>(crop.left), canvas.width - 1);
    const int top = std::min(static_cast<int>(crop.top), canvas.height - 1);
    Canvas result(std::min(static_cast<int>(crop.width), canvas.width - left),
        std::min(static_cast<int>(crop.height), canvas.height - top), 4);
    for (int y = 0; result.pixels && y < result.height; ++y)
        std::memcpy(result.row(y), canvas.row(top + y) + std::ptrdiff_t{4} * left, result.rowBytes());
    return result;
}

Canvas turnedAnticlockwise(const Canvas &canvas)
{
    Canvas result(canvas.height, canvas.width, 4);
    for (int y = 0; result.pixels && y < result.height; ++y) {
        const std::uint8_t *from = canvas.row(0) + std::ptrdiff_t{4} * (canvas.width - 1 - y);
        std::uint8_t *to = result.row(y);
        for (int x = 0; x < result.width; ++x, from += canvas.rowBytes(), to += 4)
            std::memcpy(to, from, 4);
    }
    return result;
}

void mirror(const Canvas &canvas, bool isSideways)
{
    if (!isSideways) {
        for (int y = 0; y < canvas.height / 2; ++y)
            std::swap_ranges(canvas.row(y), canvas.row(y) + canvas.rowBytes(), canvas.row(canvas.height - 1 - y));
        return;
    }
    for (int y = 0; y < canvas.height; ++y) {
        auto *row = reinterpret_cast<std::uint32_t *>(canvas.row(y));
        std::reverse(row, row + canvas.width);
    }
}

} // namespace

std::uint8_t *allocatePixels(std::size_t size) noexcept
{
    constexpr std::size_t largePage = 2U << 20;
    if (size < 4 * largePage)
        return static_cast<std::uint8_t *>(std::malloc(size));
    void *pages = nullptr;
    if (::posix_memalign(&pages, largePage, size) != 0)
        return nullptr;
#ifdef MADV_HUGEPAGE
    ::madvise(pages, size / largePage * largePage, MADV_HUGEPAGE);
#endif
    return static_cast<std::uint8_t *>(pages);
}

void paintColour(const HevcPlanes &planes, const std::optional<detail::HeifColour> &colour, const Canvas &canvas,
    const Place &place, int firstRow, int endRow)
{
    Conversion(planes, colour, canvas, place).convert(firstRow, endRow);
}

void paintAlpha(const HevcPlanes &planes, const Canvas &canvas, const Place &place, int firstRow, int endRow)
{
    if (planes.depth > 8)
        paintAlphaRows<std::uint16_t>(planes, canvas, place, firstRow, endRow);
    else
        paintAlphaRows<std::uint8_t>(planes, canvas, place, firstRow, endRow);
}

void applyAlpha(const Canvas &pixels, const Canvas &alpha, bool isPremultiplied, int firstRow, int endRow)
{
    for (int y = firstRow; y < endRow; ++y) {
        std::uint8_t *pixel = pixels.row(y);
        const std::uint8_t *opacities = alpha.row(static_cast<int>(std::int64_t{y} * alpha.height / pixels.height));
        for (int x = 0; x < pixels.width; ++x, pixel += 4) {
            const std::uint32_t opacity = opacities[std::int64_t{x} * alpha.width / pixels.width];
            for (int i = 0; i < 3; ++i) {
                // Colour brighter than its alpha would not be premultiplied, whatever the file calls it.
                pixel[i] = static_cast<std::uint8_t>(
                    isPremultiplied ? std::min<std::uint32_t>(pixel[i], opacity) : (pixel[i] * opacity + 127) / 255);
            }
            pixel[3] = static_cast<std::uint8_t>(opacity);
        }
    }
}

Canvas transformed(Canvas canvas, const std::vector<detail::HeifTransform> &transforms)
{
    using Kind = detail::HeifTransform::Kind;
    for (const detail::HeifTransform &transform : transforms) {
        if (transform.kind == Kind::crop)
            canvas = cropped(canvas, transform);
        else if (transform.kind == Kind::mirror)
            mirror(canvas, transform.isSideways);
        for (int i = 0; canvas.pixels && i < transform.quarters; ++i)
            canvas = turnedAnticlockwise(canvas);
        if (!canvas.pixels)
            break;
    }
    return canvas;
}

} // namespace kelvane::decoder
