// SPDX-License-Identifier: Apache-2.0
#include "RgbaPixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <system_error>
#include <thread>
#include <vector>

namespace kelvane::decoder {
namespace {

constexpr int fraction = 14; // bits of fixed-point numbers behind the point
constexpr std::int32_t half = 1 << (fraction - 1);

struct Plane {
    Plane(const heif_image *image, heif_channel channel)
        : bytes(heif_image_get_plane_readonly(image, channel, &stride)),
          depth(bytes ? heif_image_get_bits_per_pixel_range(image, channel) : 8),
          width(heif_image_get_width(image, channel)),
          height(heif_image_get_height(image, channel))
    {
    }

    template <class Sample>
    [[nodiscard]] const Sample *row(int y) const noexcept
    {
        return reinterpret_cast<const Sample *>(bytes + std::ptrdiff_t{y} * stride);
    }

    int stride = 0; // bytes; before `bytes`, which sets it
    const std::uint8_t *bytes;
    int depth;
    int width;
    int height;
};

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
    explicit ChromaRow(int width) : red(width + 1U), green(width + 1U), blue(width + 1U) {}

    std::vector<std::int32_t> red;
    std::vector<std::int32_t> green;
    std::vector<std::int32_t> blue;
};

class Conversion {
public:
    Conversion(
        const heif_image *image, const heif_color_profile_nclx *colours, bool isPremultiplied, std::uint8_t *pixels)
        : luma(image, heif_channel_Y),
          cb(image, heif_channel_Cb),
          cr(image, heif_channel_Cr),
          alpha(image, heif_channel_Alpha),
          isRgb(colours && colours->matrix_coefficients == 0 && cb.bytes),
          isAlphaApplied(isPremultiplied),
          coefficients(coefficientsOf(
              colours ? colours->matrix_coefficients : 2, !colours || colours->full_range_flag, luma.depth)),
          to(pixels)
    {
    }

    [[nodiscard]] int width() const noexcept { return luma.width; }
    [[nodiscard]] int height() const noexcept { return luma.height; }

    void convert(int firstRow, int endRow) const
    {
        if (luma.depth > 8)
            convertRows<std::uint16_t>(firstRow, endRow);
        else
            convertRows<std::uint8_t>(firstRow, endRow);
    }

private:
    template <class Sample>
    void convertRows(int firstRow, int endRow) const
    {
        const int shiftX = cb.bytes && cb.width < luma.width ? 1 : 0;
        const int shiftY = cb.bytes && cb.height < luma.height ? 1 : 0;
        ChromaRow chroma(cb.bytes ? luma.width : 0);
        for (int y = firstRow; y < endRow; ++y) {
            auto *row = reinterpret_cast<std::uint32_t *>(to + std::ptrdiff_t{y} * luma.width * 4);
            if (!cb.bytes)
                convertGrey(luma.row<Sample>(y), row);
            else if (isRgb)
                convertRgb(luma.row<Sample>(y), cb.row<Sample>(y), cr.row<Sample>(y), row);
            else {
                if (y == firstRow || shiftY == 0 || y % 2 == 0)
                    readChroma(cb.row<Sample>(y >> shiftY), cr.row<Sample>(y >> shiftY), shiftX, chroma);
                convertColour(luma.row<Sample>(y), chroma, row);
            }
            if (alpha.bytes)
                applyAlpha(y, reinterpret_cast<std::uint8_t *>(row));
        }
    }

    template <class Sample>
    void readChroma(const Sample *cbRow, const Sample *crRow, int shiftX, ChromaRow &row) const
    {
        const auto &[ofRed, ofGreen, ofBlue] = coefficients.chroma;
        for (int i = 0; i < cb.width; ++i) {
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
        for (int x = 0; x < luma.width; ++x) {
            const std::int32_t light = (y[x] - coefficients.lumaZero) * coefficients.luma;
            row[x] = packed(clamped(light + red[x]), clamped(light + green[x]), clamped(light + blue[x]));
        }
    }

    template <class Sample>
    void convertGrey(const Sample *y, std::uint32_t *row) const
    {
        for (int x = 0; x < luma.width; ++x) {
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
        for (int x = 0; x < luma.width; ++x)
            row[x] = packed(light(red[x]), light(green[x]), light(blue[x]));
    }

    void applyAlpha(int y, std::uint8_t *row) const
    {
        const std::uint32_t top = (1U << alpha.depth) - 1;
        for (int x = 0; x < luma.width; ++x, row += 4) {
            const std::uint32_t sample =
                alpha.depth > 8 ? alpha.row<std::uint16_t>(y)[x] : alpha.row<std::uint8_t>(y)[x];
            const std::uint32_t opacity = std::min((sample * 255 + top / 2) / top, 255U);
            for (int i = 0; i < 3; ++i) {
                // Colour brighter than its alpha would not be premultiplied, whatever the file calls it.
                row[i] = static_cast<std::uint8_t>(
                    isAlphaApplied ? std::min<std::uint32_t>(row[i], opacity) : (row[i] * opacity + 127) / 255);
            }
            row[3] = static_cast<std::uint8_t>(opacity);
        }
    }

    const Plane luma;
    const Plane cb;
    const Plane cr;
    const Plane alpha;
    const bool isRgb;
    const bool isAlphaApplied;
    const Coefficients coefficients;
    std::uint8_t *const to;
};

// One thread for each core, one of them this one; where the system gives no more threads, this one does it all.
void inStripes(int rows, const Conversion &conversion)
{
    constexpr int fewestRows = 256;
    const int most = std::max(1, rows / fewestRows);
    const int count = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, std::min(most, 16));
    const auto startOf = [=](int stripe) { return static_cast<int>(std::int64_t{rows} * stripe / count) & ~1; };
    std::vector<std::thread> threads;
    int first = 0;
    try {
        for (; first + 1 < count; ++first)
            threads.emplace_back([&, first] { conversion.convert(startOf(first), startOf(first + 1)); });
    } catch (const std::system_error &) {
        // What no thread was started for is done below.
    }
    conversion.convert(startOf(first), rows);
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace

bool hasKnownPlanes(const heif_image *image)
{
    const heif_colorspace space = heif_image_get_colorspace(image);
    if (space != heif_colorspace_YCbCr && space != heif_colorspace_monochrome)
        return false;
    const Plane luma(image, heif_channel_Y);
    const Plane alpha(image, heif_channel_Alpha);
    const bool isLumaKnown = luma.bytes && luma.depth >= 8 && luma.depth <= 12;
    const bool isAlphaKnown = !alpha.bytes || (alpha.width == luma.width && alpha.height == luma.height);
    if (!isLumaKnown || !isAlphaKnown || space == heif_colorspace_monochrome)
        return isLumaKnown && isAlphaKnown;
    const Plane cb(image, heif_channel_Cb);
    const Plane cr(image, heif_channel_Cr);
    const auto fits = [](int chroma, int full) { return chroma == full || chroma == (full + 1) / 2; };
    return cb.bytes && cr.bytes && cb.depth == luma.depth && cr.depth == luma.depth && cb.width == cr.width
        && cb.height == cr.height && fits(cb.width, luma.width) && fits(cb.height, luma.height);
}

void toRgba(const heif_image *image, const heif_color_profile_nclx *colours, bool isPremultiplied, std::uint8_t *pixels)
{
    const Conversion conversion(image, colours, isPremultiplied, pixels);
    inStripes(conversion.height(), conversion);
}

} // namespace kelvane::decoder
