// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/media/TagFile.h>

#include <algorithm>
#include <string>

#include <unistd.h>

namespace kelvane {
namespace {

constexpr std::size_t chunkSize = 5'000'000;

// The rules, one after the other.
bool looksAsIfItHadArtwork(const std::string &file)
{
    const std::string header = file.substr(0, 8);
    const bool isTagged = header.find("ID3") != std::string::npos;
    if (!isTagged && header.find("ftyp") == std::string::npos)
        return false;
    for (std::size_t at = 0; at < file.size(); at += chunkSize) {
        const std::string_view chunk = std::string_view(file).substr(at, chunkSize);
        if (chunk.find(isTagged ? "APIC" : "covr") != std::string_view::npos)
            return true;
    }
    return false;
}

} // namespace
} // namespace kelvane

// A byte that says how far before the end of the first chunk what follows the first eight bytes is put, behind a hole; 255
// for no hole.
void kelvane::fuzz(std::string_view input)
{
    const auto distance = input.empty() ? 255U : static_cast<unsigned char>(input[0]);
    input.remove_prefix(input.empty() ? 0 : 1);
    std::string content(input.substr(0, 8));
    const MemoryFile file(content);
    input.remove_prefix(content.size());
    if (distance != 255 && !input.empty())
        content.resize(chunkSize - distance);
    require(::pwrite(file.descriptor(), input.data(), input.size(), static_cast<off_t>(content.size()))
            == static_cast<ssize_t>(input.size()),
        "there is memory for a file");
    content += input;
    require(TagFile(String(file.path())).isExistArtwork() == looksAsIfItHadArtwork(content),
        "a mark is found where it lies within a chunk");
}
