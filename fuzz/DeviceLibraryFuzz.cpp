// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <tools/kelvane/DeviceLibrary.h>
#include <tools/kelvane/ExitCode.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using tool::DeviceLibrary;

void useLibrary(DeviceLibrary &library)
{
    library.forEachRecord(true, [](const std::shared_ptr<tool::SyncRecord> &record) {
        require(record && record->media, "an item has its tags");
    });
    static_cast<void>(library.transfers());
    static_cast<void>(library.removals());
    library.forEachArtwork([](const DeviceLibrary::ItemArtwork &) {});
    library.beginWriting();
    tool::SyncRecord record;
    record.source = "/source/of/an/item";
    record.devicePath = "Music/item.mp3";
    record.media = std::make_shared<MediaBase>();
    library.save(record);
    library.setArtwork(record.devicePath, "artwork");
    library.remove(record.source);
    library.endWriting();
}

} // namespace
} // namespace kelvane

// The library that a device comes with, which anything may have written to.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    const fs::path folder = fs::path(scratchFolder()) / "device";
    fs::remove_all(folder);
    fs::create_directories(folder / DeviceLibrary::folder);
    const fs::path path = folder / DeviceLibrary::fileName;
    std::ofstream(path, std::ios::binary) << input;
    tool::DeviceFolder device(folder.string());
    try {
        DeviceLibrary library(device);
        try {
            useLibrary(library);
        } catch (const DeviceLibrary::LibraryError &) {
            return;
        }
    } catch (const tool::StopError &) {
        require(contentOf(path) == input, "what is no library stays as it is");
    }
}
