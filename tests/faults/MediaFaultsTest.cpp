// SPDX-License-Identifier: Apache-2.0
// Songs and photos when calls of the system fail: a song is as it was, or as it should be, with all of its attributes.
#include "FaultTest.h"

#include <kelvane/media/HeicConverter.h>
#include <kelvane/media/TagFile.h>
#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/Image.h>

#include <sys/xattr.h>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

namespace fs = std::filesystem;

const fs::path samples = KELVANE_OWN_SAMPLES;

std::string noteOf(const fs::path &path)
{
    char value[64];
    const ssize_t size = ::getxattr(path.c_str(), "user.note", value, sizeof value);
    return {value, size > 0 ? static_cast<std::size_t>(size) : 0};
}

class MediaFaults : public FaultTest {
protected:
    /// Tries a change of the tags of a sample, of which `isChanged` tells whether it was made.
    static void tryChange(const std::string &name, const fs::path &sample,
        const std::function<bool(const String &path)> &change,
        const std::function<bool(const AudioMetadata &)> &isChanged)
    {
        const std::string song = "song" + sample.extension().string();
        const std::string before = bytesOf(sample);
        tryCalls({name,
            [&](const fs::path &folder) {
                fs::copy(sample, folder / song);
                fs::permissions(folder / song, fs::perms::owner_all);
                // Where the file system has none there is nothing to keep.
                static_cast<void>(::setxattr((folder / song).c_str(), "user.note", "kept", 4, 0));
                writeBytes(folder / "note", noteOf(folder / song));
            },
            [&](const fs::path &folder) { return change((folder / song).native()); },
            [&](const fs::path &folder, bool isDone) -> std::string {
                if (noteOf(folder / song) != bytesOf(folder / "note"))
                    return "an attribute is lost";
                if (fs::status(folder / song).permissions() != fs::perms::owner_all)
                    return "the mode is lost";
                if (isDone || bytesOf(folder / song) != before) {
                    const auto metadata = AudioMetadata::CreateMetadataForURL((folder / song).native());
                    if (!metadata || !isChanged(*metadata))
                        return "the song is neither as it was nor as it should be";
                }
                return strangersIn(folder, {song, "note"});
            },
            [&](const fs::path &folder) {
                const auto metadata = AudioMetadata::CreateMetadataForURL((folder / song).native());
                return (metadata && isChanged(*metadata)) || change((folder / song).native());
            },
            true}); // TagLib leaks then
    }
};

TEST_P(MediaFaults, TagsAreWrittenOrTheFileStays)
{
    for (const char *name : {"01 Ebb.mp3", "02 Flood.m4a"})
        tryChange(
            std::string("write tags ") + name, samples / "Music" / name,
            [](const String &path) {
                const auto metadata = AudioMetadata::CreateMetadataForURL(path);
                if (!metadata)
                    return false;
                metadata->SetTitle("a new title");
                return metadata->WriteMetadata();
            },
            [](const AudioMetadata &metadata) { return metadata.GetTitle() == "a new title"; });
}

TEST_P(MediaFaults, LyricsAreSavedOrTheFileStays)
{
    tryChange(
        "save lyrics", samples / "Music" / "Pears.ogg",
        [](const String &path) { return TagFile(path).saveLyrics("new words of a song"); },
        [](const AudioMetadata &metadata) { return metadata.GetLyrics() == "new words of a song"; });
}

TEST_P(MediaFaults, APhotoIsConvertedOrTheOldOneStays)
{
    if (!HeicConverter::hasDecoder())
        GTEST_SKIP() << "the decoder module was not built";
    const fs::path photo = samples / "Photos" / "Evening.heic";
    tryCalls({"convert HEIC", [](const fs::path &folder) { writeBytes(folder / "photo.jpg", "old"); },
        [&](const fs::path &folder) {
            // True only says that there is a file.
            std::error_code error;
            return HeicConverter::convertHeicToJPG(photo.native(), (folder / "photo.jpg").native())
                && fs::file_size(folder / "photo.jpg", error) != 3 && !error;
        },
        [](const fs::path &folder, bool isDone) -> std::string {
            if (!isDone && bytesOf(folder / "photo.jpg") == "old")
                return strangersIn(folder, {"photo.jpg"});
            return Image::fromFile((folder / "photo.jpg").native()).isNull() ? "the photo is not whole"
                                                                             : strangersIn(folder, {"photo.jpg"});
        }});
}

KELVANE_ALL_FAULTS(MediaFaults);

} // namespace
