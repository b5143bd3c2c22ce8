// SPDX-License-Identifier: Apache-2.0
#include "FileFacts.h"

#include "MpegAudio.h"
#include "StreamFacts.h"

#include <kelvane/foundation/detail/Utf8.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

extern "C" {
#include <libavutil/parseutils.h>
}

namespace kelvane::module {
namespace {

struct NamedText {
    const char *key;
    const char *tag;
    detail::MediaFactKind kind;
};

constexpr NamedText namedTexts[] = {
    {"kMDItemTitle", "title", detail::MediaFactText},
    {"kMDItemAlbum", "album", detail::MediaFactText},
    {"kMDItemAuthors", "artist", detail::MediaFactElement},
    {"kMDItemComment", "comment", detail::MediaFactText},
    {"kMDItemMusicalGenre", "genre", detail::MediaFactText},
    {"kMDItemCopyright", "copyright", detail::MediaFactText},
    {"kMDItemComposer", "composer", detail::MediaFactText},
};

// Some kinds of files keep the tags of the whole with the only stream.
const char *tagOf(const AVFormatContext &format, const char *name)
{
    if (const AVDictionaryEntry *entry = av_dict_get(format.metadata, name, nullptr, 0))
        return entry->value;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream &stream = *format.streams[i];
        if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO && stream.codecpar->codec_type != AVMEDIA_TYPE_VIDEO)
            continue;
        if (const AVDictionaryEntry *entry = isCover(stream) ? nullptr : av_dict_get(stream.metadata, name, nullptr, 0))
            return entry->value;
    }
    return nullptr;
}

// Bytes that are no text become the sign for that.
std::string validText(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const kelvane::detail::DecodedCharacter character = kelvane::detail::decodeCharacter(bytes);
        kelvane::detail::appendUtf8(text, character.codePoint);
        bytes.remove_prefix(character.length);
    }
    return text;
}

// The first frame tells what the header of the file, which has none, cannot.
void completeMpegAudio(MediaInput &input)
{
    AVFormatContext &format = input.format();
    AVCodecParameters &audio = *format.streams[0]->codecpar;
    char bytes[4];
    const std::size_t taken = input.file().read(avio_tell(format.pb), bytes, sizeof bytes);
    const std::optional<MpegAudioFrame> frame = mpegAudioFrame({bytes, taken});
    if (!frame)
        return;
    audio.sample_rate = frame->sampleRate;
    av_channel_layout_uninit(&audio.ch_layout);
    av_channel_layout_default(&audio.ch_layout, frame->channels);
    if (audio.bit_rate <= 0)
        audio.bit_rate = frame->bitRate;
    constexpr AVCodecID codecs[] = {AV_CODEC_ID_MP1, AV_CODEC_ID_MP2, AV_CODEC_ID_MP3};
    audio.codec_id = codecs[frame->layer - 1];
    format.duration = static_cast<std::int64_t>(durationOf(format) > 0
            ? durationOf(format) * AV_TIME_BASE
            : static_cast<double>(input.file().size() - avio_tell(format.pb)) * 8 * AV_TIME_BASE
                / static_cast<double>(audio.bit_rate));
}

// The demuxer leaves to who decodes what the header of the file says of the sound.
void completeFlac(AVCodecParameters &audio)
{
    constexpr int headerSize = 34;
    if (audio.codec_id != AV_CODEC_ID_FLAC || audio.extradata_size < headerSize)
        return;
    const std::uint8_t *bytes = audio.extradata + 10;
    audio.sample_rate = bytes[0] << 12 | bytes[1] << 4 | bytes[2] >> 4;
    av_channel_layout_uninit(&audio.ch_layout);
    av_channel_layout_default(&audio.ch_layout, (bytes[2] >> 1 & 7) + 1);
}

bool isNamed(const AVFormatContext &format, const char *demuxer)
{
    return std::strcmp(format.iformat->name, demuxer) == 0;
}

} // namespace

FileFacts::FileFacts(MediaInput &input) : _fileSize(input.file().size())
{
    if (isNamed(input.format(), "mp3") && input.format().nb_streams > 0)
        completeMpegAudio(input);
    if (isNamed(input.format(), "flac") && input.format().nb_streams > 0)
        completeFlac(*input.format().streams[0]->codecpar);
    if (needsAnalysis(input.format()))
        input.analyse();
    const AVFormatContext &format = input.format();
    const double seconds = durationOf(format);
    addTexts(format);
    addDates(format);
    addStreams(format, seconds);
}

void FileFacts::addTexts(const AVFormatContext &format)
{
    for (const NamedText &named : namedTexts)
        addText(named.key, tagOf(format, named.tag), named.kind);
    if (const char *track = tagOf(format, "track"))
        if (const long number = std::strtol(track, nullptr, 10); number > 0)
            addInteger("kMDItemAudioTrackNumber", number);
}

void FileFacts::addDates(const AVFormatContext &format)
{
    if (const char *date = tagOf(format, "date"))
        if (const long year = std::strtol(date, nullptr, 10); year > 0)
            addInteger("kMDItemRecordingYear", year);
    const char *created = tagOf(format, "creation_time");
    std::int64_t microseconds = 0;
    if (created && av_parse_time(&microseconds, created, 0) >= 0 && microseconds > 0)
        addReal("kMDItemContentCreationDate", static_cast<double>(microseconds) / 1e6, detail::MediaFactDate);
}

void FileFacts::addStreams(const AVFormatContext &format, double seconds)
{
    const AVStream *audio = mainStream(format, AVMEDIA_TYPE_AUDIO);
    const AVStream *video = mainStream(format, AVMEDIA_TYPE_VIDEO);
    if (seconds > 0)
        addReal("kMDItemDurationSeconds", seconds);
    if (audio) {
        addInteger("kMDItemAudioBitRate", audio->codecpar->bit_rate);
        addInteger("kMDItemAudioSampleRate", audio->codecpar->sample_rate);
        addInteger("kMDItemAudioChannelCount", audio->codecpar->ch_layout.nb_channels);
    }
    if (video) {
        addInteger("kMDItemVideoBitRate", video->codecpar->bit_rate);
        addInteger("kMDItemPixelWidth", video->codecpar->width);
        addInteger("kMDItemPixelHeight", video->codecpar->height);
    }
    if (seconds > 0)
        addInteger("kMDItemTotalBitRate", static_cast<std::int64_t>(static_cast<double>(_fileSize) * 8 / seconds));
    for (const AVStream *stream : {audio, video})
        if (stream) {
            addText("kMDItemCodecs", codecName(stream->codecpar->codec_id).c_str(), detail::MediaFactElement);
            addText("kMDItemMediaTypes", stream == audio ? "Sound" : "Video", detail::MediaFactElement);
        }
}

void FileFacts::addText(const char *key, const char *text, detail::MediaFactKind kind)
{
    if (!text)
        return;
    const std::string &kept = _texts.emplace_back(validText(text));
    _facts.push_back({key, kept.c_str(), 0, 0, kind, 0});
}

// What a header says when it does not know is left out.
void FileFacts::addInteger(const char *key, std::int64_t number)
{
    if (number > 0)
        _facts.push_back({key, nullptr, number, 0, detail::MediaFactInteger, 0});
}

void FileFacts::addReal(const char *key, double number, detail::MediaFactKind kind)
{
    _facts.push_back({key, nullptr, 0, number, kind, 0});
}

} // namespace kelvane::module
