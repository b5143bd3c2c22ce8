// SPDX-License-Identifier: Apache-2.0
#include "HeifFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

// Writes a version 4 ICC profile of the simplest kind: three primaries and a curve, seen under the profile connection
// space's own white.

namespace kelvane::detail {
namespace {

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>; // rows

struct Primaries {
    std::uint16_t code; // of ITU-T H.273
    std::array<double, 8> xy; // of red, green, blue and white
};

constexpr Primaries knownPrimaries[] = {
    {1, {0.640, 0.330, 0.300, 0.600, 0.150, 0.060, 0.3127, 0.3290}},
    {4, {0.670, 0.330, 0.210, 0.710, 0.140, 0.080, 0.3100, 0.3160}},
    {5, {0.640, 0.330, 0.290, 0.600, 0.150, 0.060, 0.3127, 0.3290}},
    {6, {0.630, 0.340, 0.310, 0.595, 0.155, 0.070, 0.3127, 0.3290}},
    {7, {0.630, 0.340, 0.310, 0.595, 0.155, 0.070, 0.3127, 0.3290}},
    {8, {0.681, 0.319, 0.243, 0.692, 0.145, 0.049, 0.3100, 0.3160}},
    {9, {0.708, 0.292, 0.170, 0.797, 0.131, 0.046, 0.3127, 0.3290}},
    {11, {0.680, 0.320, 0.265, 0.690, 0.150, 0.060, 0.3140, 0.3510}},
    {12, {0.680, 0.320, 0.265, 0.690, 0.150, 0.060, 0.3127, 0.3290}},
    {22, {0.630, 0.340, 0.295, 0.605, 0.155, 0.077, 0.3127, 0.3290}},
};

constexpr Vector connectionWhite = {0.9642, 1.0, 0.8249}; // D50, as profiles round it
constexpr Matrix bradford = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Vector product(const Matrix &m, const Vector &v) noexcept
{
    Vector result{};
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
    return result;
}

Matrix product(const Matrix &a, const Matrix &b) noexcept
{
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
    return result;
}

Matrix inverse(const Matrix &m) noexcept
{
    const auto minor = [&](std::size_t row, std::size_t column) {
        const auto [r1, r2] = std::pair((row + 1) % 3, (row + 2) % 3);
        const auto [c1, c2] = std::pair((column + 1) % 3, (column + 2) % 3);
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant = m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[i][j] = minor(j, i) / determinant;
    return result;
}

Matrix diagonal(const Vector &v) noexcept
{
    return {{{v[0], 0, 0}, {0, v[1], 0}, {0, 0, v[2]}}};
}

Vector fromChromaticity(double x, double y) noexcept
{
    return {x / y, 1, (1 - x - y) / y};
}

// Turns colours seen under `white` into what they look like under the connection space's.
Matrix adaptation(const Vector &white) noexcept
{
    const Vector from = product(bradford, white);
    const Vector to = product(bradford, connectionWhite);
    const Matrix scale = diagonal({to[0] / from[0], to[1] / from[1], to[2] / from[2]});
    return product(inverse(bradford), product(scale, bradford));
}

// Columns are the three colorants under `white`.
Matrix colorants(const std::array<double, 8> &xy, const Vector &white) noexcept
{
    Matrix unscaled{};
    for (std::size_t i = 0; i < 3; ++i) {
        const Vector colour = fromChromaticity(xy[2 * i], xy[2 * i + 1]);
        for (std::size_t row = 0; row < 3; ++row)
            unscaled[row][i] = colour[row];
    }
    return product(unscaled, diagonal(product(inverse(unscaled), white)));
}

class Writer {
public:
    void number(std::uint64_t value, int size)
    {
        for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::byte>(value >> shift));
    }
    void word(std::uint32_t value) { number(value, 4); }
    void text(std::string_view text)
    {
        for (const char character : text)
            bytes.push_back(static_cast<std::byte>(character));
    }
    void fixed(double value) { word(static_cast<std::uint32_t>(std::lround(value * 65536))); }
    void fixed(const Vector &values)
    {
        for (const double value : values)
            fixed(value);
    }
    void begin(std::string_view type)
    {
        text(type);
        word(0);
    }

    std::vector<std::byte> bytes;
};

void appendText(Writer &tag, std::string_view text)
{
    tag.begin("mluc");
    for (const std::uint32_t value : {1U, 12U})
        tag.word(value);
    tag.text("enUS");
    tag.word(static_cast<std::uint32_t>(2 * text.size()));
    tag.word(28);
    for (const char character : text)
        tag.number(static_cast<unsigned char>(character), 2);
}

void appendParameters(Writer &tag, std::uint16_t function, std::initializer_list<double> parameters)
{
    tag.begin("para");
    tag.number(function, 2);
    tag.number(0, 2);
    for (const double parameter : parameters)
        tag.fixed(parameter);
}

// Light of a PQ or HLG signal. Such pictures are brighter than white; a JPEG ends there, and what is over it is cut.
// White is where the broadcasters put it, at 203 of 1000 candela per square metre (ITU-R BT.2408).
double brightLight(std::uint16_t transfer, double signal) noexcept
{
    constexpr double white = 203;
    if (transfer == 16) {
        const double root = std::pow(signal, 1 / 78.84375);
        return 10000 / white
            * std::pow(std::max(root - 0.8359375, 0.0) / (18.8515625 - 18.6875 * root), 1 / 0.1593017578125);
    }
    const double scene =
        signal <= 0.5 ? signal * signal / 3 : (std::exp((signal - 0.55991073) / 0.17883277) + 0.28466892) / 12;
    return 1000 / white * std::pow(scene, 1.2);
}

void appendTable(Writer &tag, std::uint16_t transfer)
{
    constexpr int entries = 1024;
    tag.begin("curv");
    tag.word(entries);
    for (int i = 0; i < entries; ++i) {
        const double light = std::min(1.0, brightLight(transfer, static_cast<double>(i) / (entries - 1)));
        tag.number(static_cast<std::uint64_t>(std::lround(light * 65535)), 2);
    }
}

enum class Curve { unknown, srgb, other };

// The video curves (BT.709 and its kin) count as sRGB's: pictures that name them were made for, and are judged on,
// the same screens, and it is what browsers do.
Curve curveOf(std::uint16_t transfer) noexcept
{
    switch (transfer) {
    case 1:
    case 2:
    case 6:
    case 7:
    case 11:
    case 13:
    case 14:
    case 15:
        return Curve::srgb;
    case 4:
    case 5:
    case 8:
    case 16:
    case 17:
    case 18:
        return Curve::other;
    default:
        return Curve::unknown;
    }
}

void appendCurve(Writer &tag, std::uint16_t transfer)
{
    switch (transfer) {
    case 4:
        return appendParameters(tag, 0, {2.2});
    case 5:
        return appendParameters(tag, 0, {2.8});
    case 8:
        return appendParameters(tag, 0, {1});
    case 17:
        return appendParameters(tag, 0, {2.6});
    case 16:
    case 18:
        return appendTable(tag, transfer);
    default:
        return appendParameters(tag, 3, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045});
    }
}

struct Tag {
    std::string_view name;
    std::vector<std::byte> bytes;
};

template <class Fill>
Tag makeTag(std::string_view name, Fill &&fill)
{
    Writer writer;
    fill(writer);
    while (writer.bytes.size() % 4 != 0)
        writer.number(0, 1);
    return {name, std::move(writer.bytes)};
}

std::vector<std::byte> profileOf(const std::vector<Tag> &tags)
{
    std::size_t offset = 128 + 4 + 12 * tags.size();
    std::size_t size = offset;
    for (const Tag &tag : tags)
        size += tag.bytes.size();
    Writer profile;
    profile.word(static_cast<std::uint32_t>(size));
    profile.word(0);
    profile.word(0x04300000); // version
    profile.text("mntrRGB XYZ ");
    for (const int part : {2024, 1, 1, 0, 0, 0}) // a fixed date, so that the same picture gives the same file
        profile.number(static_cast<std::uint64_t>(part), 2);
    profile.text("acsp");
    profile.bytes.resize(68);
    profile.fixed(connectionWhite);
    profile.bytes.resize(128);
    profile.word(static_cast<std::uint32_t>(tags.size()));
    for (const Tag &tag : tags) {
        profile.text(tag.name);
        profile.word(static_cast<std::uint32_t>(offset));
        profile.word(static_cast<std::uint32_t>(tag.bytes.size()));
        offset += tag.bytes.size();
    }
    for (const Tag &tag : tags)
        profile.bytes.insert(profile.bytes.end(), tag.bytes.begin(), tag.bytes.end());
    return std::move(profile.bytes);
}

} // namespace

std::vector<std::byte> iccProfileOf(const HeifColour &colour)
{
    constexpr std::uint16_t unspecified = 2;
    const std::uint16_t code = colour.primaries == unspecified ? std::uint16_t{1} : colour.primaries;
    const auto primaries = std::find_if(std::begin(knownPrimaries), std::end(knownPrimaries),
        [code](const Primaries &candidate) { return candidate.code == code; });
    const Curve curve = curveOf(colour.transfer);
    if (primaries == std::end(knownPrimaries) || curve == Curve::unknown || (code == 1 && curve == Curve::srgb))
        return {};
    const Vector white = fromChromaticity(primaries->xy[6], primaries->xy[7]);
    const Matrix adapted = adaptation(white);
    const Matrix seen = product(adapted, colorants(primaries->xy, white));
    const auto colorant = [&seen](std::size_t i) {
        return [&seen, i](Writer &tag) {
            tag.begin("XYZ ");
            tag.fixed(Vector{seen[0][i], seen[1][i], seen[2][i]});
        };
    };
    const auto curveTag = [&colour](Writer &tag) { appendCurve(tag, colour.transfer); };
    const std::string_view name = code == 12 ? "Display P3" : code == 9 ? "BT.2020" : "RGB";
    return profileOf({makeTag("desc", [name](Writer &tag) { appendText(tag, name); }),
        makeTag("cprt", [](Writer &tag) { appendText(tag, "CC0"); }),
        makeTag("wtpt",
            [](Writer &tag) {
                tag.begin("XYZ ");
                tag.fixed(connectionWhite);
            }),
        makeTag("chad",
            [&adapted](Writer &tag) {
                tag.begin("sf32");
                for (const Vector &row : adapted)
                    tag.fixed(row);
            }),
        makeTag("rXYZ", colorant(0)), makeTag("gXYZ", colorant(1)), makeTag("bXYZ", colorant(2)),
        makeTag("rTRC", curveTag), makeTag("gTRC", curveTag), makeTag("bTRC", curveTag)});
}

std::vector<std::byte> iccProfileOf(const HeifFile &file)
{
    if (!file.iccProfile.empty())
        return file.iccProfile;
    return file.colour ? iccProfileOf(*file.colour) : std::vector<std::byte>();
}

} // namespace kelvane::detail
