// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/foundation/Value.h>
#include <kelvane/platform/AudioMetadata.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace fs = std::filesystem;

// A line with a title, then a media file of whatever kind, into whose tags the title and a track number are written.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    const String title = takeUntil(input, '\n');
    const fs::path folder = fs::path(scratchFolder()) / "music";
    fs::remove_all(folder);
    fs::create_directory(folder);
    const fs::path path = folder / "song";
    std::ofstream(path, std::ios::binary) << input;

    bool isWritten = false;
    if (const auto tags = AudioMetadata::CreateMetadataForURL(path.native())) {
        tags->SetTitle(title);
        tags->SetTrackNumber(7);
        isWritten = tags->WriteMetadata();
    }
    const auto count = std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    require(count == 1, "a write leaves nothing beside the file");
    require(isWritten || contentOf(path) == input, "a write that fails leaves the file as it was");
    require(!isWritten || AudioMetadata::CreateMetadataForURL(path.native()), "what was written can be read");
}
