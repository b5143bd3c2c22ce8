// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
void describe(const String &path, const String &coverPath)
{
    TagFile file(path);
    const auto &data = file.mediadata(); // tags first, then the index, then defaults
    std::printf("%s by %s, from %s\n", data->title().c_str(), data->artist().c_str(), data->album().c_str());
    std::printf("track %d, %d s, %d Hz\n", data->trackNo(), data->duration(), data->sampleRate());

    const AudioMetadata *tags = data->audioMetadata(); // null for a file without any
    if (!tags || tags->GetAttachedPictureCount() == 0)
        return;
    const Image cover = Image::fromData(tags->GetAttachedPictures().front().GetData(), 100);
    std::printf("cover, at most 100 pixels a side: %d x %d\n", cover.width(), cover.height());
    auto destination = ImageDestination::create(coverPath, ImageFormat::Jpeg);
    if (destination && destination->write(cover))
        std::printf("saved as %s\n", coverPath.c_str());
}
//! [recipe]

int main(int, char **arguments)
{
    describe(pathCombine(arguments[1], "Music/02 Flood.m4a"), "cover.jpg");
}
