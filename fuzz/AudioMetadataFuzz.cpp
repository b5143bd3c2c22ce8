// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/AttachedPicture.h>
#include <kelvane/platform/AudioMetadata.h>

#include <cstddef>

// The name of the file says nothing: the kind is seen from the content.
void kelvane::fuzz(std::string_view input)
{
    const MemoryFile file(input);
    const auto tags = AudioMetadata::CreateMetadataForURL(file.path());
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
