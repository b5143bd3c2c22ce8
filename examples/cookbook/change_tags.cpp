// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
bool retitle(const String &path, const String &title)
{
    TagFile file(path);
    const auto &data = file.simpleMediadata(); // tags alone: the index is not needed for this
    AudioMetadata *tags = data->audioMetadata();
    if (!tags)
        return false;
    data->setTitle(title); // so far only in memory
    String error;
    if (!tags->WriteMetadata(&error)) // the file is replaced whole, or stays as it was
        std::fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
    return error.isNull();
}
//! [recipe]

int main(int, char **arguments)
{
    const String song = "song.flac";
    copyfile(pathCombine(arguments[1], "Music/Степь.flac"), song, nullptr, COPYFILE_ALL);
    std::printf("%s\n", retitle(song, "The steppe") ? "written" : "failed");
    std::printf("its title is now %s\n", TagFile(song).simpleMediadata()->title().c_str());
    std::printf("its artist is still %s\n", TagFile(song).simpleMediadata()->artist().c_str());
}
