// SPDX-License-Identifier: Apache-2.0
#include "TaggedFile.h"

#include <algorithm>
#include <mpegfile.h>

namespace kelvane::detail {
namespace {

constexpr long id3HeaderSize = 10;
// An Ogg page's header, its table of segments and the name of the codec fit into it.
constexpr unsigned long probeSize = 512;

TagLib::ByteVector blockAt(TagStream &stream, long offset)
{
    stream.seek(offset, TagStream::Beginning);
    return stream.readBlock(probeSize);
}

/// Size of the ID3v2 tag that `header` begins, with its header and footer.
long id3Size(const TagLib::ByteVector &header)
{
    constexpr unsigned char footerFlag = 0x10;
    long size = 0;
    for (int i = 6; i < id3HeaderSize; ++i)
        size = size << 7 | (static_cast<unsigned char>(header[i]) & 0x7f);
    const bool hasFooter = (static_cast<unsigned char>(header[5]) & footerFlag) != 0;
    return id3HeaderSize + size + (hasFooter ? id3HeaderSize : 0);
}

TagFormat oggFormat(std::string_view page)
{
    constexpr std::size_t segmentCountAt = 26;
    if (page.size() <= segmentCountAt)
        return TagFormat::Unknown;
    const std::size_t packet = segmentCountAt + 1 + static_cast<unsigned char>(page[segmentCountAt]);
    const std::string_view codec = page.substr(std::min(packet, page.size()));
    if (codec.starts_with("\x01vorbis"))
        return TagFormat::OggVorbis;
    if (codec.starts_with("OpusHead"))
        return TagFormat::OggOpus;
    if (codec.starts_with("Speex   "))
        return TagFormat::OggSpeex;
    return codec.starts_with("\x7f"
                             "FLAC")
        ? TagFormat::OggFlac
        : TagFormat::Unknown;
}

bool isMp4(std::string_view start)
{
    // Old movies begin with something else than "ftyp".
    constexpr std::string_view first[] = {"ftyp", "moov", "mdat", "wide", "pnot"};
    return start.size() >= 8 && std::find(std::begin(first), std::end(first), start.substr(4, 4)) != std::end(first);
}

TagFormat byMagic(std::string_view start)
{
    using namespace std::string_view_literals;
    if (start.starts_with("fLaC"))
        return TagFormat::Flac;
    if (start.starts_with("OggS"))
        return oggFormat(start);
    if (start.starts_with("\x30\x26\xb2\x75\x8e\x66\xcf\x11"sv))
        return TagFormat::Asf;
    if (start.starts_with("RIFF") && start.substr(8).starts_with("WAVE"))
        return TagFormat::Wav;
    if (start.starts_with("FORM") && start.substr(8).starts_with("AIF"))
        return TagFormat::Aiff;
    if (start.starts_with("MAC "))
        return TagFormat::Ape;
    if (start.starts_with("wvpk"))
        return TagFormat::WavPack;
    if (start.starts_with("MPCK") || start.starts_with("MP+"))
        return TagFormat::Musepack;
    if (start.starts_with("TTA"))
        return TagFormat::TrueAudio;
    if (isAdtsHeader(start))
        return TagFormat::Adts;
    return isMp4(start) ? TagFormat::Mp4 : TagFormat::Unknown;
}

} // namespace

TagFormat detectTagFormat(TagStream &stream, std::string_view extension)
{
    TagLib::ByteVector start = blockAt(stream, 0);
    const bool hasId3 = start.startsWith("ID3") && start.size() >= id3HeaderSize;
    if (hasId3)
        start = blockAt(stream, id3Size(start));
    const TagFormat format = byMagic({start.data(), start.size()});
    if (format != TagFormat::Unknown)
        return format;
    if (hasId3)
        return TagFormat::Mpeg;
    constexpr std::string_view mpeg[] = {"mp3", "mp2", "mp1", "mpga", "aac"};
    const bool isNamedMpeg = std::find(std::begin(mpeg), std::end(mpeg), extension) != std::end(mpeg);
    return isNamedMpeg || TagLib::MPEG::File::isSupported(&stream) ? TagFormat::Mpeg : TagFormat::Unknown;
}

} // namespace kelvane::detail
