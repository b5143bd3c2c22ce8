// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
bool toJpeg(const String &photo, const String &jpeg)
{
    if (!HeicConverter::isHeic(photo))
        return false;
    Utils::deleteFile(jpeg); // so that true means a new file
    return HeicConverter::convertHeicToJPG(photo, jpeg);
}

void describe(const String &path)
{
    const Size size = Utils::getImageSizeFromPath(path);
    const Date taken = Utils::photoExifCreateDate(path);
    std::printf("%s: %.0f x %.0f, taken %s\n", Utils::getFileName(path).c_str(), size.width, size.height,
        Utils::stringFromDate("d MMMM yyyy", taken).c_str());
}
//! [recipe]

int main(int, char **arguments)
{
    const String photo = pathCombine(arguments[1], "Photos/Evening.heic");
    std::puts(toJpeg(photo, "Evening as JPEG.jpg") ? "converted" : "failed");
    describe(photo);
    describe("Evening as JPEG.jpg");
}
