// SPDX-License-Identifier: Apache-2.0
#include "TaggedFile.h"

#include "Id3v2Frames.h"
#include "Id3v2Store.h"
#include "Mp4Atoms.h"
#include "Mp4Store.h"
#include "NamedTextStores.h"

#include <aifffile.h>
#include <apefile.h>
#include <asffile.h>
#include <flacfile.h>
#include <flacpicture.h>
#include <id3v2header.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>
#include <opusfile.h>
#include <speexfile.h>
#include <tdebuglistener.h>
#include <trueaudiofile.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>

namespace kelvane::detail {
namespace {

namespace ID3v2 = TagLib::ID3v2;

/// The library reports on damaged files on the terminal otherwise, in builds that have that switched on.
class SilentListener : public TagLib::DebugListener {
    void printMessage(const TagLib::String &) override {}
};

void silenceLibrary()
{
    static SilentListener listener;
    static const bool isSet = (TagLib::setDebugListener(&listener), true);
    (void)isSet;
}

/// A tag is written in the version it has, so that old players go on reading it; 2.2 is written as 2.3, because the
/// library does not write it. A tag with frames of 2.4 becomes a 2.4 tag: they would be lost otherwise.
ID3v2::Version versionOf(const ID3v2::Tag &tag)
{
    if (!tag.header() || tag.header()->majorVersion() >= 4)
        return ID3v2::v4;
    for (const char *id : {"ASPI", "EQU2", "RVA2", "SEEK", "SIGN", "TDEN", "TDRL", "TDTG", "TMOO", "TPRO", "TSST"}) {
        if (!tag.frameList(id).isEmpty())
            return ID3v2::v4;
    }
    return ID3v2::v3;
}

template <class File>
File &install(TaggedFile &tagged, std::unique_ptr<File> file)
{
    File &installed = *file;
    tagged.file = std::move(file);
    tagged.save = [&installed] { return installed.save(); };
    return installed;
}

template <class Store>
void add(TaggedFile &tagged, auto *tag)
{
    if (tag)
        tagged.stores.push_back(std::make_unique<Store>(*tag));
}

/// A tag that was read with keepingFrameFactory().
void addId3v2(TaggedFile &tagged, ID3v2::Tag *tag)
{
    if (tag)
        restorePodcastAddress(*tag);
    add<Id3v2Store>(tagged, tag);
}

/// A file of chunks, one of which is the tag. The library reads that with a frame factory of its own choice.
template <class File>
class ChunkedFile : public File {
public:
    using File::File;

    void rereadId3v2(ID3v2::Tag &tag)
    {
        for (unsigned int i = 0; i < this->chunkCount(); ++i) {
            const TagLib::ByteVector name = this->chunkName(i);
            if (name == "ID3 " || name == "id3 ")
                return rereadFrames(tag, *this, static_cast<long>(this->chunkOffset(i)));
        }
    }
};

/// Reads the tag again where the library's own reading is not good enough: it would lose frames in a save.
template <class File>
void addChunkOfId3v2(TaggedFile &tagged, ChunkedFile<File> &file, ID3v2::Tag *tag, bool forWriting)
{
    if (file.hasID3v2Tag() && (forWriting || !tag->frameList("WFED").isEmpty()))
        file.rereadId3v2(*tag);
    if (forWriting || file.hasID3v2Tag())
        add<Id3v2Store>(tagged, tag);
}

TagLib::MPEG::File &openMpeg(TaggedFile &tagged, bool forWriting, bool hasProperties = true)
{
    using TagLib::MPEG::File;
    File &file = install(tagged, std::make_unique<File>(tagged.stream.get(), keepingFrameFactory(), hasProperties));
    if (forWriting || file.hasID3v2Tag())
        addId3v2(tagged, file.ID3v2Tag(true));
    if (file.hasAPETag())
        add<ApeStore>(tagged, file.APETag());
    if (file.hasID3v1Tag())
        add<Id3v1Store>(tagged, file.ID3v1Tag());
    tagged.save = [&file] {
        return file.save(File::AllTags, File::StripNone, versionOf(*file.ID3v2Tag(true)), File::DoNotDuplicate);
    };
    return file;
}

void openAdts(TaggedFile &tagged, bool forWriting)
{
    auto &file = openMpeg(tagged, forWriting, false);
    const long start = file.hasID3v2Tag() ? static_cast<long>(file.ID3v2Tag()->header()->completeTagSize()) : 0;
    tagged.adts = readAdtsStream(tagged.stream->descriptor(), start, tagged.stream->length());
}

void openFlac(TaggedFile &tagged, bool forWriting)
{
    using TagLib::FLAC::File;
    File &file = install(tagged, std::make_unique<File>(tagged.stream.get(), keepingFrameFactory()));
    const auto pictures = file.pictureList();
    for (const TagLib::FLAC::Picture *picture : pictures)
        tagged.pictures.push_back(picture->data());
    if (forWriting || file.hasXiphComment())
        add<XiphStore>(tagged, file.xiphComment(true));
    if (file.hasID3v2Tag())
        addId3v2(tagged, file.ID3v2Tag());
    if (file.hasID3v1Tag())
        add<Id3v1Store>(tagged, file.ID3v1Tag());
}

template <class File>
File &openOgg(TaggedFile &tagged)
{
    File &file = install(tagged, std::make_unique<File>(tagged.stream.get()));
    add<XiphStore>(tagged, file.tag());
    return file;
}

void openVorbis(TaggedFile &tagged)
{
    const auto &file = openOgg<TagLib::Ogg::Vorbis::File>(tagged);
    if (file.isValid() && file.audioProperties())
        tagged.nominalBitrate = file.audioProperties()->bitrateNominal();
}

void openMp4(TaggedFile &tagged, bool forWriting)
{
    using TagLib::MP4::File;
    TagStream &stream = *tagged.stream;
    const Mp4Layout layout = scanMp4(stream);
    if (!layout.isSane)
        return;
    tagged.channels = layout.channels;
    stream.seek(layout.itemsOffset, TagStream::Beginning);
    auto store = std::make_unique<Mp4Store>(stream.readBlock(static_cast<unsigned long>(layout.itemsSize)));
    // The library would read the tags, covers and all, a second time.
    if (!forWriting && layout.itemsOffset > 0)
        stream.hideAtom(layout.itemsAtom);
    File &file = install(tagged, std::make_unique<File>(&stream));
    tagged.save = [&file, &stream, &items = *store] { return items.save(file, stream); };
    tagged.stores.push_back(std::move(store));
}

void openAsf(TaggedFile &tagged)
{
    add<AsfStore>(tagged, install(tagged, std::make_unique<TagLib::ASF::File>(tagged.stream.get())).tag());
}

void openAiff(TaggedFile &tagged, bool forWriting)
{
    using File = ChunkedFile<TagLib::RIFF::AIFF::File>;
    File &file = install(tagged, std::make_unique<File>(tagged.stream.get()));
    addChunkOfId3v2(tagged, file, file.tag(), forWriting);
    tagged.save = [&file] { return file.save(versionOf(*file.tag())); };
}

void openWav(TaggedFile &tagged, bool forWriting)
{
    using File = ChunkedFile<TagLib::RIFF::WAV::File>;
    File &file = install(tagged, std::make_unique<File>(tagged.stream.get()));
    addChunkOfId3v2(tagged, file, file.ID3v2Tag(), forWriting);
    if (file.hasInfoTag())
        add<InfoStore>(tagged, file.InfoTag());
    tagged.save = [&file] { return file.save(File::AllTags, File::StripNone, versionOf(*file.ID3v2Tag())); };
}

template <class File>
void openApe(TaggedFile &tagged, bool forWriting)
{
    File &file = install(tagged, std::make_unique<File>(tagged.stream.get()));
    if (forWriting || file.hasAPETag())
        add<ApeStore>(tagged, file.APETag(true));
    if (file.hasID3v1Tag())
        add<Id3v1Store>(tagged, file.ID3v1Tag());
}

void openTrueAudio(TaggedFile &tagged, bool forWriting)
{
    using TagLib::TrueAudio::File;
    File &file = install(tagged, std::make_unique<File>(tagged.stream.get(), keepingFrameFactory()));
    if (forWriting || file.hasID3v2Tag())
        addId3v2(tagged, file.ID3v2Tag(true));
    if (file.hasID3v1Tag())
        add<Id3v1Store>(tagged, file.ID3v1Tag());
}

void openFormat(TaggedFile &tagged, TagFormat format, bool forWriting)
{
    switch (format) {
    case TagFormat::Unknown:
        return;
    case TagFormat::Mpeg:
        return void(openMpeg(tagged, forWriting));
    case TagFormat::Adts:
        return openAdts(tagged, forWriting);
    case TagFormat::Flac:
        return openFlac(tagged, forWriting);
    case TagFormat::OggVorbis:
        return openVorbis(tagged);
    case TagFormat::OggOpus:
        return void(openOgg<TagLib::Ogg::Opus::File>(tagged));
    case TagFormat::OggSpeex:
        return void(openOgg<TagLib::Ogg::Speex::File>(tagged));
    case TagFormat::OggFlac:
        return void(openOgg<TagLib::Ogg::FLAC::File>(tagged));
    case TagFormat::Mp4:
        return openMp4(tagged, forWriting);
    case TagFormat::Asf:
        return openAsf(tagged);
    case TagFormat::Aiff:
        return openAiff(tagged, forWriting);
    case TagFormat::Wav:
        return openWav(tagged, forWriting);
    case TagFormat::Ape:
        return openApe<TagLib::APE::File>(tagged, forWriting);
    case TagFormat::WavPack:
        return openApe<TagLib::WavPack::File>(tagged, forWriting);
    case TagFormat::Musepack:
        return openApe<TagLib::MPC::File>(tagged, forWriting);
    case TagFormat::TrueAudio:
        return openTrueAudio(tagged, forWriting);
    }
}

} // namespace

TaggedFile openTaggedFile(std::unique_ptr<TagStream> stream, std::string_view extension, bool forWriting)
{
    silenceLibrary();
    TaggedFile tagged;
    tagged.stream = std::move(stream);
    const TagFormat format = detectTagFormat(*tagged.stream, extension);
    tagged.stream->seek(0, TagStream::Beginning);
    openFormat(tagged, format, forWriting);
    if (tagged.file && !tagged.file->isValid())
        tagged = {};
    return tagged;
}

} // namespace kelvane::detail
