// SPDX-License-Identifier: Apache-2.0
#include "MimeGlobs.h"

#include "FileAccess.h"

#include <algorithm>
#include <cstdlib>
#include <unistd.h>

namespace kelvane::detail {
namespace {

// The list of a desktop with everything installed has 40 KB.
constexpr std::size_t maximumSize = std::size_t{4} << 20;

std::string readFile(const std::string &path)
{
    const FileDescriptor file = openRegularFile(path.c_str());
    if (!file)
        return {};
    std::string text;
    char block[16384];
    while (text.size() < maximumSize) {
        const ssize_t got = ::read(file.get(), block, sizeof block);
        if (got <= 0)
            break;
        text.append(block, static_cast<std::size_t>(got));
    }
    return text;
}

/// What stands before `separator`, which is taken off with it.
std::string_view takeUntil(std::string_view &text, char separator)
{
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

std::vector<std::string> systemFolders()
{
    const char *variable = std::getenv("XDG_DATA_DIRS"); // NOLINT(concurrency-mt-unsafe): read once
    std::string_view rest = variable && *variable ? variable : "/usr/local/share:/usr/share";
    std::vector<std::string> folders;
    while (!rest.empty()) {
        const std::string_view folder = takeUntil(rest, ':');
        if (folder.starts_with('/'))
            folders.push_back(std::string(folder) + "/mime");
    }
    return folders;
}

} // namespace

MimeGlobs::MimeGlobs(const std::vector<std::string> &folders)
{
    _texts.reserve(folders.size());
    for (const std::string &folder : folders)
        addLines(_texts.emplace_back(readFile(folder + "/globs2")));
    const auto byKey = [](const auto &a, const auto &b) { return a.first < b.first; };
    std::stable_sort(_byExtension.begin(), _byExtension.end(), byKey);
    std::stable_sort(_byMimeType.begin(), _byMimeType.end(), byKey);
}

const MimeGlobs &MimeGlobs::system()
{
    static const MimeGlobs globs(systemFolders());
    return globs;
}

void MimeGlobs::addLines(std::string_view text)
{
    constexpr std::string_view patternCharacters = ".*?[";
    // "50:audio/ogg:*.ogg", those of the greatest weight first; a fourth field ("cs") restricts the pattern.
    while (!text.empty()) {
        std::string_view line = takeUntil(text, '\n');
        if (line.starts_with('#'))
            continue;
        takeUntil(line, ':');
        const std::string_view mimeType = takeUntil(line, ':');
        const std::string_view pattern = takeUntil(line, ':');
        if (!line.empty() || !pattern.starts_with("*.") || mimeType.find('/') == std::string_view::npos)
            continue;
        const std::string_view extension = pattern.substr(2);
        if (extension.empty() || extension.find_first_of(patternCharacters) != std::string_view::npos)
            continue;
        _byExtension.emplace_back(extension, mimeType);
        _byMimeType.emplace_back(mimeType, extension);
    }
}

std::string_view MimeGlobs::find(const Pairs &pairs, std::string_view key)
{
    const auto found = std::lower_bound(
        pairs.begin(), pairs.end(), key, [](const auto &pair, std::string_view wanted) { return pair.first < wanted; });
    return found != pairs.end() && found->first == key ? found->second : std::string_view();
}

std::string_view MimeGlobs::mimeTypeOf(std::string_view extension) const
{
    return find(_byExtension, extension);
}

std::string_view MimeGlobs::extensionOf(std::string_view mimeType) const
{
    return find(_byMimeType, mimeType);
}

} // namespace kelvane::detail
