// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/AttachedPicture.h>
#include <kelvane/platform/AudioMetadata.h>

#include <cstdio>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

// A file in memory, whose name says nothing: the kind is seen from the content.
void kelvane::fuzz(std::string_view input)
{
    const int file = memfd_create("fuzz", MFD_CLOEXEC);
    require(file >= 0 && write(file, input.data(), input.size()) == static_cast<ssize_t>(input.size()),
        "there is memory for a file");
    const auto tags = AudioMetadata::CreateMetadataForURL(String("/proc/self/fd/" + std::to_string(file)));
    close(file);
    if (!tags)
        return;
    for (const String &text : {tags->GetTitle(), tags->GetAlbumTitle(), tags->GetArtist(), tags->GetComment(),
             tags->GetGenre(), tags->GetAlbumArtist(), tags->GetCopyright(), tags->GetComposer(), tags->GetGrouping(),
             tags->GetLyrics(), tags->GetDescription(), tags->GetYear(), tags->GetReleaseDate()})
        require(text.isNull() || !text.isEmpty(), "an empty text is no tag");
    for (const Value &number :
        {tags->GetTrackNumber(), tags->GetTrackTotal(), tags->GetDiscNumber(), tags->GetDiscTotal(),
            tags->GetDuration(), tags->GetBitrate(), tags->GetSampleRate(), tags->GetChannelsPerFrame()})
        require(number.isNil() || number.isNumber(), "a number is a number or missing");
    std::size_t bytes = 0;
    for (const AttachedPicture &picture : tags->GetAttachedPictures())
        bytes += picture.GetData().size();
    require(bytes <= 16 * (input.size() + 1), "pictures are no larger than their file");
}
