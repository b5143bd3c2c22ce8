// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/detail/MimeGlobs.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace kelvane {
namespace {

// The first line of an extension counts, as the list reads.
std::map<std::string, std::string, std::less<>> pairsOf(std::string_view text)
{
    std::map<std::string, std::string, std::less<>> pairs;
    while (!text.empty()) {
        std::string_view line = takeUntil(text, '\n');
        const bool isComment = line.starts_with('#');
        takeUntil(line, ':');
        const std::string_view type = takeUntil(line, ':');
        const std::string_view pattern = takeUntil(line, ':');
        if (isComment || !line.empty() || type.find('/') == std::string_view::npos || !pattern.starts_with("*."))
            continue;
        const std::string_view extension = pattern.substr(2);
        if (!extension.empty() && extension.find_first_of(".*?[") == std::string_view::npos)
            pairs.emplace(extension, type);
    }
    return pairs;
}

} // namespace
} // namespace kelvane

// The system's list of file name patterns.
void kelvane::fuzz(std::string_view input)
{
    std::ofstream(scratchFolder() + "/globs2", std::ios::binary) << input;
    const detail::MimeGlobs globs({scratchFolder(), "/nowhere"});
    for (const auto &[extension, type] : pairsOf(input)) {
        require(globs.mimeTypeOf(extension) == type, "the first line of an extension counts");
        require(!globs.extensionOf(type).empty(), "a MIME type has one of its extensions");
    }
    require(globs.mimeTypeOf("").empty(), "no extension has no type");
}
