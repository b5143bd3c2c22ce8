// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/AudioMetadata.h>

#include "detail/FileAccess.h"
#include "detail/FileReplacement.h"
#include "detail/tags/TaggedFile.h"

#include <audioproperties.h>
#include <bitset>
#include <cctype>
#include <cerrno>
#include <system_error>

namespace kelvane {

using detail::TagKey;
using detail::tagKeyCount;

struct AudioMetadata::Private {
    String path;
    std::array<Value, tagKeyCount> values;
    std::bitset<tagKeyCount> changed;
    // Shares the tag library's bytes: most who open a file do not ask for its pictures, the largest part of its tags.
    std::vector<TagLib::ByteVector> pictures;
    std::vector<AttachedPicture> attachedPictures; // made of `pictures` when they are asked for
    Value duration;
    Value bitrate;
    Value sampleRate;
    Value channels;

    [[nodiscard]] const Value &value(TagKey key) const { return values[static_cast<std::size_t>(key)]; }
};

namespace {

void report(String *error, const char *operation, const String &path, std::string_view reason)
{
    if (error)
        *error = String::concat({"cannot ", operation, " tags of \"", path.view(), "\": ", reason});
}

std::string systemReason(int code)
{
    return std::generic_category().message(code);
}

std::string lowerExtension(std::string_view path)
{
    const auto dot = path.rfind('.');
    std::string extension(dot == std::string_view::npos ? std::string_view() : path.substr(dot + 1));
    for (char &c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

Value orNil(auto number)
{
    return number > 0 ? Value(number) : Value();
}

void readAudio(const detail::TaggedFile &tagged, auto &content)
{
    if (tagged.adts.isValid()) {
        content.duration = orNil(tagged.adts.seconds);
        content.bitrate = orNil(static_cast<std::int64_t>(tagged.adts.bitrate));
        content.sampleRate = orNil(static_cast<std::int64_t>(tagged.adts.sampleRate));
        content.channels = orNil(static_cast<std::int64_t>(tagged.adts.channels));
        return;
    }
    const TagLib::AudioProperties *audio = tagged.file->audioProperties();
    if (!audio)
        return;
    constexpr std::int64_t bitsPerKilobit = 1000;
    content.duration = orNil(audio->lengthInMilliseconds() / 1000.0);
    content.bitrate = orNil(tagged.nominalBitrate > 0 ? tagged.nominalBitrate : audio->bitrate() * bitsPerKilobit);
    content.sampleRate = orNil(audio->sampleRate());
    content.channels = orNil(tagged.channels > 0 ? tagged.channels : audio->channels());
}

void readTags(detail::TaggedFile &tagged, auto &content)
{
    for (std::size_t i = 0; i < tagKeyCount; ++i) {
        for (const auto &store : tagged.stores) {
            content.values[i] = store->read(static_cast<TagKey>(i));
            if (!content.values[i].isNil())
                break;
        }
    }
    content.pictures = std::move(tagged.pictures);
    for (const auto &store : tagged.stores)
        store->appendPictures(content.pictures);
}

bool isEmpty(const auto &content)
{
    for (const Value &value : content.values) {
        if (!value.isNil())
            return false;
    }
    return content.pictures.empty() && content.sampleRate.isNil();
}

detail::TaggedFile openDescriptor(detail::FileDescriptor descriptor, const String &path, bool forWriting)
{
    return detail::openTaggedFile(std::make_unique<detail::TagStream>(std::move(descriptor), forWriting),
        lowerExtension(path.view()), forWriting);
}

void writeTags(detail::TaggedFile &tagged, const auto &content)
{
    for (std::size_t i = 0; i < tagKeyCount; ++i) {
        if (!content.changed[i])
            continue;
        for (const auto &store : tagged.stores)
            store->write(static_cast<TagKey>(i), content.values[i]);
    }
}

/// Whether a file that was written lacks nothing that it is meant to have. `set`: the tags that were set. Of those a short
/// text may be missing, for which this kind of tags has no form, such as a word for a year; a long one is missing
/// because it is too long.
bool isComplete(const auto &written, const auto &meant, const std::bitset<tagKeyCount> &set)
{
    constexpr std::size_t shortText = 32'767; // bytes; every kind of tags can count them
    for (std::size_t i = 0; i < tagKeyCount; ++i) {
        if (!written.values[i].isNil() || meant.values[i].isNil())
            continue;
        if (!set[i] || meant.values[i].string().view().size() > shortText)
            return false;
    }
    return meant.pictures.size() == written.pictures.size() && meant.sampleRate == written.sampleRate
        && meant.channels == written.channels;
}

} // namespace

AudioMetadata::AudioMetadata(std::unique_ptr<Private> content) : d(std::move(content)) {}
AudioMetadata::~AudioMetadata() = default;

std::unique_ptr<AudioMetadata> AudioMetadata::CreateMetadataForURL(const String &path, String *error)
{
    constexpr const char *operation = "read";
    if (path.isEmpty() || path.view().find('\0') != std::string_view::npos) {
        report(error, operation, path, "no file name");
        return nullptr;
    }
    detail::FileDescriptor descriptor = detail::openRegularFile(path.c_str());
    if (!descriptor) {
        report(error, operation, path, errno == EINVAL ? "not a regular file" : systemReason(errno));
        return nullptr;
    }
    try {
        auto content = std::make_unique<Private>();
        content->path = path;
        auto tagged = openDescriptor(std::move(descriptor), path, false);
        if (tagged.file) {
            readAudio(tagged, *content);
            readTags(tagged, *content);
            if (!isEmpty(*content))
                return std::unique_ptr<AudioMetadata>(new AudioMetadata(std::move(content)));
        }
        report(error, operation, path, "no audio or video file of a known kind");
    } catch (const std::exception &exception) {
        report(error, operation, path, exception.what());
    }
    return nullptr;
}

bool AudioMetadata::WriteMetadata(String *error)
{
    if (d->changed.none())
        return true;
    const auto fail = [&](std::string_view reason) {
        report(error, "write", d->path, reason);
        return false;
    };
    try {
        detail::FileReplacement replacement(d->path.str());
        detail::FileDescriptor descriptor = replacement.open();
        if (!descriptor)
            return fail(systemReason(errno));
        Private meant;
        {
            auto tagged = openDescriptor(std::move(descriptor), d->path, true);
            if (!tagged.file || tagged.stores.empty() || tagged.stream->isIncomplete())
                return fail("the file is damaged, or is no media file any more");
            readAudio(tagged, meant);
            writeTags(tagged, *d);
            readTags(tagged, meant); // before they are saved
            const bool isSaved = tagged.save();
            if (const int code = tagged.stream->writeError(); code != 0)
                return fail(systemReason(code));
            if (!isSaved || tagged.stream->isIncomplete())
                return fail("they found no place in the file");
        }
        // Texts longer than a kind of tag can count are left out, take the other tags with them, or make a file that
        // nobody reads any more.
        Private written;
        auto copy = openDescriptor(replacement.duplicate(), d->path, false);
        if (copy.file) {
            readAudio(copy, written);
            readTags(copy, written);
        }
        if (!copy.file || !isComplete(written, meant, d->changed))
            return fail("this kind of file cannot hold them");
        if (!replacement.commit())
            return fail(systemReason(errno));
    } catch (const std::exception &exception) {
        return fail(exception.what());
    }
    d->changed.reset();
    return true;
}

void AudioMetadata::set(TagKey key, Value value)
{
    const auto index = static_cast<std::size_t>(key);
    d->values[index] = std::move(value);
    d->changed.set(index);
}

String AudioMetadata::GetReleaseDate() const
{
    // Most kinds of tags have one date for both, and most writers of the others use one for both.
    const String date = d->value(TagKey::ReleaseDate).string();
    return date.isNull() ? GetYear() : date;
}

// clang-format off
#define TEXT(name) String AudioMetadata::Get##name() const { return d->value(TagKey::name).string(); }
#define NUMBER(name) Value AudioMetadata::Get##name() const { return d->value(TagKey::name); }
#define SET_TEXT(name) void AudioMetadata::Set##name(const String &text) { set(TagKey::name, text); }
#define SET_NUMBER(name) void AudioMetadata::Set##name(const Value &number) { set(TagKey::name, number); }
TEXT(Title)
TEXT(AlbumTitle)
TEXT(Artist)
TEXT(Comment)
TEXT(Genre)
TEXT(AlbumArtist)
TEXT(Copyright)
TEXT(Composer)
TEXT(Grouping)
TEXT(AlbumTitleSortOrder)
TEXT(ArtistSortOrder)
TEXT(AlbumArtistSortOrder)
TEXT(ComposerSortOrder)
TEXT(TitleSortOrder)
TEXT(PodcastURL)
TEXT(Lyrics)
TEXT(Description)
TEXT(TVShow)
TEXT(TVShowNetwork)
TEXT(EpisodeID)
TEXT(PodcastIdentifier)
TEXT(iTunesAccount)
TEXT(Year)
TEXT(PurchaseDate)
NUMBER(TrackNumber)
NUMBER(TrackTotal)
NUMBER(DiscNumber)
NUMBER(DiscTotal)
NUMBER(MediaType)
NUMBER(TVEpisode)
NUMBER(TVSeason)
NUMBER(IsPodcast)
NUMBER(IsiTunesU)
SET_TEXT(Title)
SET_TEXT(AlbumTitle)
SET_TEXT(Artist)
SET_TEXT(Comment)
SET_TEXT(Genre)
SET_TEXT(AlbumArtist)
SET_TEXT(Composer)
SET_TEXT(Grouping)
SET_TEXT(AlbumTitleSortOrder)
SET_TEXT(ArtistSortOrder)
SET_TEXT(AlbumArtistSortOrder)
SET_TEXT(ComposerSortOrder)
SET_TEXT(TitleSortOrder)
SET_TEXT(PodcastURL)
SET_TEXT(Lyrics)
SET_TEXT(Year)
SET_TEXT(ReleaseDate)
SET_NUMBER(TrackNumber)
SET_NUMBER(TrackTotal)
SET_NUMBER(DiscNumber)
SET_NUMBER(DiscTotal)
SET_NUMBER(IsPodcast)
SET_NUMBER(IsiTunesU)
// clang-format on

const Value &AudioMetadata::GetDuration() const noexcept
{
    return d->duration;
}

const Value &AudioMetadata::GetBitrate() const noexcept
{
    return d->bitrate;
}

const Value &AudioMetadata::GetSampleRate() const noexcept
{
    return d->sampleRate;
}

const Value &AudioMetadata::GetChannelsPerFrame() const noexcept
{
    return d->channels;
}

const std::vector<AttachedPicture> &AudioMetadata::GetAttachedPictures() const
{
    for (std::size_t i = d->attachedPictures.size(); i < d->pictures.size(); ++i)
        d->attachedPictures.emplace_back(detail::toData(d->pictures[i]));
    return d->attachedPictures;
}

std::size_t AudioMetadata::GetAttachedPictureCount() const noexcept
{
    return d->pictures.size();
}

} // namespace kelvane
