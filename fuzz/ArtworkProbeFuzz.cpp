// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/media/TagFile.h>

#include <algorithm>
#include <string>
#include <vector>

#include <unistd.h>

namespace kelvane {
namespace {

constexpr std::size_t chunkSize = 5'000'000;
constexpr std::size_t headerSize = 8;

// The rules, one after the other. `chunks`: what is in the file apart from its hole, cut where the chunks are.
bool looksAsIfItHadArtwork(const std::vector<std::string> &chunks)
{
    const std::string header = chunks.front().substr(0, headerSize);
    const bool isTagged = header.find("ID3") != std::string::npos;
    if (!isTagged && header.find("ftyp") == std::string::npos)
        return false;
    return std::any_of(chunks.begin(), chunks.end(),
        [&](const std::string &chunk) { return chunk.find(isTagged ? "APIC" : "covr") != std::string::npos; });
}

} // namespace
} // namespace kelvane

// A byte that says how far before the end of the first chunk what follows the header is put, behind a hole; from 16 on there
// is none.
void kelvane::fuzz(std::string_view input)
{
    const std::size_t distance = input.empty() ? 16U : static_cast<unsigned char>(input[0]);
    input.remove_prefix(input.empty() ? 0 : 1);
    const std::string header(input.substr(0, headerSize));
    input.remove_prefix(header.size());
    const bool hasHole = distance < 16 && !input.empty();
    const std::size_t start = hasHole ? chunkSize - distance : header.size();

    const MemoryFile file(header);
    require(::pwrite(file.descriptor(), input.data(), input.size(), static_cast<off_t>(start))
            == static_cast<ssize_t>(input.size()),
        "there is memory for a file");
    std::vector<std::string> chunks{header + (hasHole ? std::string(1, '\0') : "")};
    chunks.front() += input.substr(0, hasHole ? distance : input.size());
    if (hasHole && input.size() > distance)
        chunks.emplace_back(input.substr(distance));
    require(TagFile(String(file.path())).isExistArtwork() == looksAsIfItHadArtwork(chunks),
        "a mark is found where it lies within a chunk");
}
