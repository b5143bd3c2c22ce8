// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HeifFiles.h"

#include <cmath>
#include <ostream>

namespace kelvane::testsupport {

/// A picture as a viewer shows it: RGB, 8 bits, turned by its EXIF orientation where it has one.
struct ShownPicture {
    int width = 0;
    int height = 0;
    std::string pixels;
};

/// Read by ffmpeg.
inline ShownPicture readPicture(const std::filesystem::path &path, const std::filesystem::path &scratch)
{
    const std::filesystem::path raw = scratch / "shown.ppm";
    std::filesystem::remove(raw);
    runCommand("ffmpeg -v error -y -i " + quoted(path) + " -frames:v 1 -pix_fmt rgb24 " + quoted(raw));
    std::ifstream file(raw, std::ios::binary);
    std::string magic;
    int top = 0;
    ShownPicture picture;
    file >> magic >> picture.width >> picture.height >> top;
    file.get();
    picture.pixels.assign(std::istreambuf_iterator<char>(file), {});
    return picture;
}

/// The upright picture that libheif itself makes of a HEIF file; of several the first.
inline ShownPicture uprightByLibheif(const std::filesystem::path &heif, const std::filesystem::path &scratch)
{
    const std::filesystem::path png = scratch / "upright.png";
    const std::filesystem::path first = scratch / "upright-1.png";
    std::filesystem::remove(png);
    std::filesystem::remove(first);
    runCommand("heif-convert " + quoted(heif) + " " + quoted(png));
    return readPicture(std::filesystem::exists(first) ? first : png, scratch);
}

/// How far two pictures are from each other, in steps of 255.
struct PictureDifference {
    double mean = 255;
    double nearlyAll = 255; ///< 99 of 100 samples differ by no more
    int most = 255;

    friend std::ostream &operator<<(std::ostream &out, const PictureDifference &difference)
    {
        return out << "mean " << difference.mean << ", 99 % within " << difference.nearlyAll << ", most "
                   << difference.most;
    }
};

/// 255 throughout where they are not of one size.
inline PictureDifference difference(const ShownPicture &a, const ShownPicture &b)
{
    PictureDifference result;
    if (a.width != b.width || a.height != b.height || a.pixels.size() != b.pixels.size() || a.pixels.empty())
        return result;
    std::array<std::size_t, 256> counts = {};
    for (std::size_t i = 0; i < a.pixels.size(); ++i)
        ++counts[static_cast<std::size_t>(
            std::abs(static_cast<unsigned char>(a.pixels[i]) - static_cast<unsigned char>(b.pixels[i])))];
    double sum = 0;
    std::size_t seen = 0;
    result.nearlyAll = -1;
    for (std::size_t step = 0; step < counts.size(); ++step) {
        sum += static_cast<double>(step * counts[step]);
        seen += counts[step];
        if (counts[step] > 0)
            result.most = static_cast<int>(step);
        if (result.nearlyAll < 0 && seen * 100 >= a.pixels.size() * 99)
            result.nearlyAll = static_cast<double>(step);
    }
    result.mean = sum / static_cast<double>(a.pixels.size());
    return result;
}

} // namespace kelvane::testsupport
