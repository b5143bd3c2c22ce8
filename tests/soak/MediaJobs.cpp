// SPDX-License-Identifier: Apache-2.0
#include "Files.h"
#include "Job.h"

#include <kelvane/foundation/Value.h>
#include <kelvane/media/HeicConverter.h>
#include <kelvane/media/Mediadata.h>
#include <kelvane/media/TagFile.h>
#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageSource.h>
#include <kelvane/platform/Thumbnail.h>

#include <array>
#include <string>

namespace kelvane::soak {
namespace {

namespace fs = std::filesystem;

constexpr std::array sounds{"Music/01 Ebb.mp3", "Music/02 Flood.m4a", "Music/Bell.wav", "Music/Gears & Blossom.mp3",
    "Music/Le toit bleu.opus", "Music/Pears.ogg", "Music/Windfall.aiff", "Music/Степь.flac"};
constexpr std::array films{"Videos/Drift.mov", "Videos/Sunrise over Nothing.mp4"};
constexpr std::array pictures{"Photos/Carpet.png", "Photos/Evening.heic", "Photos/Hills.jpg", "Photos/Portrait.jpg"};

std::size_t pictureBytes(const AudioMetadata &tags)
{
    std::size_t bytes = 0;
    for (const AttachedPicture &picture : tags.GetAttachedPictures())
        bytes += picture.GetData().size();
    return bytes;
}

void rewrite(Turn &turn, const char *name)
{
    const fs::path path = copySample(name, turn.folder);
    const auto before = AudioMetadata::CreateMetadataForURL(path.native());
    check(before != nullptr, std::string("the tags of ") + name + " can be read");
    const String title = "Title " + std::to_string(turn.random());
    const String album = "Albüm " + std::to_string(turn.random());
    const int track = turn.between(1, 99);
    before->SetTitle(title);
    before->SetAlbumTitle(album);
    before->SetTrackNumber(track);
    check(before->WriteMetadata(), std::string("the tags of ") + name + " can be written");
    const auto after = AudioMetadata::CreateMetadataForURL(path.native());
    check(after && after->GetTitle() == title && after->GetAlbumTitle() == album
            && after->GetTrackNumber().intValue() == track,
        std::string("the tags of ") + name + " read as they were written");
    check(after->GetArtist() == before->GetArtist() && pictureBytes(*after) == pictureBytes(*before),
        std::string("the other tags of ") + name + " stay");
    check(after->GetDuration() == before->GetDuration(), std::string("the sound of ") + name + " stays");
}

void look(const char *name)
{
    TagFile file((samples() / name).native());
    const auto &media = file.mediadata();
    check(!media->title().isEmpty(), "a file has a title");
    check(media->fileSize() == static_cast<std::int64_t>(fs::file_size(samples() / name)), "a file has its size");
    for (const String &artwork : media->artworks()) {
        const auto picture = ImageSource::open(artwork);
        fs::remove(artwork.str());
        check(picture != nullptr, "an artwork is a picture");
    }
}

} // namespace

void rewriteTags(Turn &turn)
{
    for (const char *name : sounds)
        rewrite(turn, name);
    const fs::path path = copySample(sounds[0], turn.folder);
    const String lyrics = "A long line of lyrics, number " + std::to_string(turn.random());
    check(TagFile(path.native()).saveLyrics(lyrics), "lyrics can be saved");
    check(TagFile(path.native()).simpleMediadata()->lyrics() == lyrics, "lyrics read as they were saved");
    check(!TagFile(path.native()).saveLyrics("others, which are long, too"), "lyrics that are there are kept");

    writeFile(turn.folder / "damaged.mp3", contentOf(path).substr(0, static_cast<std::size_t>(turn.between(0, 400))));
    if (const auto damaged = AudioMetadata::CreateMetadataForURL((turn.folder / "damaged.mp3").native()))
        static_cast<void>(damaged->GetTitle());
}

void readMedia(Turn & /*turn*/)
{
    for (const char *name : sounds)
        look(name);
    for (const char *name : films) {
        look(name);
        const Data jpeg = Thumbnail::jpegOfFile((samples() / name).native(), 64);
        const Image small = Image::fromData(jpeg);
        check(!small.isNull() && small.width() <= 64 && small.height() <= 64, "a film has a small picture");
    }
    for (const char *name : pictures)
        check(!Thumbnail::jpegOfFile((samples() / name).native(), 64).isEmpty(), "a photo has a small picture");
}

void convertPhotos(Turn &turn)
{
    const fs::path photo = samples() / "Photos/Evening.heic";
    const fs::path jpeg = turn.folder / "photo.jpg";
    check(HeicConverter::isHeic(photo.native()), "a photo is known by its brand");
    check(HeicConverter::convertHeicToJPG(photo.native(), jpeg.native()), "a photo can be converted");
    const auto made = ImageSource::open(jpeg.native());
    const auto original = ImageSource::open(photo.native());
    check(made && made->format() == ImageFormat::Jpeg && made->pixelSize() == original->pixelSize(),
        "a photo becomes a JPEG of its size");
    check(!Image::fromFile(jpeg.native()).isNull(), "a JPEG can be shown");

    std::string bytes = contentOf(photo);
    bytes.resize(static_cast<std::size_t>(turn.between(0, static_cast<int>(bytes.size()) - 1)));
    writeFile(turn.folder / "damaged.heic", bytes);
    const bool isMade = HeicConverter::convertHeicToJPG(
        (turn.folder / "damaged.heic").native(), (turn.folder / "damaged.jpg").native());
    check(isMade == fs::exists(turn.folder / "damaged.jpg"), "a conversion that fails leaves no file");
}

} // namespace kelvane::soak
