// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TemporaryFolder.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <string>

/// Ends a test that makes its media with ffmpeg where that is missing: skipped on a developer's machine, failed where
/// the machine was set up for testing.
#define REQUIRE_FFMPEG()                                                                                               \
    if (!kelvane::testsupport::hasFfmpeg()) {                                                                          \
        if (std::getenv("CI"))                                                                                         \
            FAIL() << "ffmpeg is not installed";                                                                       \
        GTEST_SKIP() << "ffmpeg is not installed";                                                                     \
    }

namespace kelvane::testsupport {

using Tags = std::map<std::string, std::string>;

inline bool runShell(const std::string &command)
{
    return std::system(command.c_str()) == 0;
}

inline bool hasFfmpeg()
{
    static const bool has = runShell("ffmpeg -version >/dev/null 2>&1");
    return has;
}

inline std::string quoted(const std::string &text)
{
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

inline std::string readAll(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeAll(const std::filesystem::path &path, const std::string &bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// A JPEG of one colour.
inline std::filesystem::path makeCover(const TemporaryFolder &folder, const std::string &colour)
{
    const auto path = folder.path("cover-" + colour + ".jpg");
    runShell("ffmpeg -v error -y -f lavfi -i color=" + colour + ":s=16x16 -frames:v 1 " + quoted(path.native()));
    return path;
}

/// A second and a half of a tone in `folder`, encoded as the extension of `name` says, with `tags` and, where given,
/// a cover. `options` go to ffmpeg. Throws if ffmpeg fails.
inline std::filesystem::path makeMedia(const TemporaryFolder &folder, const std::string &name, const Tags &tags,
    const std::filesystem::path &cover = {}, const std::string &options = {})
{
    const auto path = folder.path(name);
    const bool isVideo = path.extension() == ".mp4" || path.extension() == ".mov";
    std::string command = "ffmpeg -v error -y -f lavfi -i sine=440:d=1.5 ";
    if (isVideo)
        command += "-f lavfi -i testsrc=s=64x48:d=1.5 -c:v mpeg4 -map 0 -map 1 ";
    else if (!cover.empty())
        command += "-i " + quoted(cover.native()) + " -map 0 -map 1 -c:v copy -disposition:v:0 attached_pic ";
    for (const auto &[key, value] : tags)
        command += "-metadata " + quoted(key + "=" + value) + " ";
    command += options + " " + quoted(path.native());
    if (!runShell(command))
        throw std::runtime_error("ffmpeg cannot make " + path.native());
    return path;
}

/// The digest that ffmpeg gives of the encoded sound of a file: what an edit of its tags must not change.
inline std::string soundDigest(const std::filesystem::path &path)
{
    const std::string out = path.native() + ".md5";
    runShell("ffmpeg -v error -y -i " + quoted(path.native()) + " -map 0:a -c copy -f md5 " + quoted(out));
    const std::string digest = readAll(out);
    std::filesystem::remove(out);
    return digest;
}

/// What ffprobe reads for one tag, "" where there is none.
inline std::string probedTag(const std::filesystem::path &path, const std::string &tag)
{
    const std::string out = path.native() + ".tag";
    runShell("ffprobe -v error -show_entries format_tags=" + tag + ":stream_tags=" + tag + " -of default=nw=1:nk=1 "
        + quoted(path.native()) + " >" + quoted(out));
    std::string text = readAll(out);
    std::filesystem::remove(out);
    return text.substr(0, text.find('\n'));
}

} // namespace kelvane::testsupport
