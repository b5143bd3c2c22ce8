// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaFiles.h"

#include <kelvane/platform/Image.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

// Makes pictures by other people's programs, and reads them with an independent decoder.

namespace kelvane::testsupport {

/// A picture of many colours, made and encoded by ffmpeg as the extension of `name` says, of ".heic" by heif-enc. `options`
/// go to ffmpeg.
inline std::filesystem::path makeImage(const TemporaryFolder &folder, const std::string &name,
    const std::string &options = {}, int width = 61, int height = 43)
{
    const auto path = folder.path(name);
    if (path.extension() == ".heic") {
        const auto plain = makeImage(folder, name + ".png", options, width, height);
        if (!runShell("heif-enc -o " + quoted(path.native()) + " " + quoted(plain.native()) + " >/dev/null 2>&1"))
            throw std::runtime_error("heif-enc cannot make " + path.native());
        return path;
    }
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    if (!runShell("ffmpeg -v error -y -f lavfi -i testsrc=s=" + size + " -frames:v 1 " + options + " "
            + quoted(path.native())))
        throw std::runtime_error("ffmpeg cannot make " + path.native());
    return path;
}

/// The pixels of a picture file as ffmpeg decodes them: RGBA, not multiplied by alpha.
inline std::string decodedByFfmpeg(const std::filesystem::path &path)
{
    const std::string out = path.native() + ".rgba";
    runShell("ffmpeg -v error -y -noautorotate -i " + quoted(path.native())
        + " -frames:v 1 -sws_flags accurate_rnd+full_chroma_int -f rawvideo -pix_fmt rgba " + quoted(out));
    std::string pixels = readAll(out);
    std::filesystem::remove(out);
    return pixels;
}

/// The mean difference of two blocks of samples, 255 where their sizes differ.
inline double meanDifference(std::string_view a, std::string_view b)
{
    if (a.size() != b.size() || a.empty())
        return 255;
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]));
    return sum / static_cast<double>(a.size());
}

/// Writes tags into a file with exiftool; `arguments` as its command line has them.
inline bool setTags(const std::filesystem::path &path, const std::string &arguments)
{
    return runShell("exiftool -q -overwrite_original " + arguments + " " + quoted(path.native()) + " >/dev/null 2>&1");
}

/// An opaque picture whose pixels all differ from their neighbours.
inline Image colourful(std::int32_t width, std::int32_t height, int alpha = 255)
{
    const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    Data pixels = Data::create(size, [&](std::span<std::byte> room) {
        for (std::size_t i = 0; i < size; i += 4) {
            const std::size_t x = i / 4 % static_cast<std::size_t>(width);
            const std::size_t y = i / 4 / static_cast<std::size_t>(width);
            const auto set = [&](std::size_t at, std::size_t value) {
                room[i + at] = static_cast<std::byte>(value % 256 * static_cast<std::size_t>(alpha) / 255);
            };
            set(0, x * 3);
            set(1, y * 5);
            set(2, x + y);
            room[i + 3] = static_cast<std::byte>(alpha);
        }
    });
    return Image(pixels, width, height);
}

} // namespace kelvane::testsupport
