// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/MimeTypes.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

using namespace kelvane;

namespace {

constexpr std::pair<const char *, std::int64_t> table[] = {{"application/ogg", 1}, {"application/iphone", 8},
    {"application/vnd.android.package-archive", 8}, {"application/pdf", 32}, {"application/epub+zip", 32},
    {"application/zip", 128}, {"application/smil", 16}, {"application/smi", 16}, {"text/vcard", 256},
    {"text/x-vcard", 256}};

} // namespace

TEST(MimeTypes, ConstantsAreTheWellKnownTypes)
{
    EXPECT_EQ(PlainText, "text/plain");
    EXPECT_EQ(MP4Video, "video/mp4");
    EXPECT_EQ(MP3Audio, "audio/mpeg");
    EXPECT_EQ(JPEGImage, "image/jpeg");
    EXPECT_EQ(PNGImage, "image/png");
    EXPECT_EQ(vCardText, "text/vcard");
    EXPECT_EQ(ePubBook, "application/epub+zip");
    EXPECT_EQ(ZipArchive, "application/zip");
    EXPECT_EQ(iPhoneApp, "application/iphone");
    EXPECT_EQ(SmilText, "application/smil");
    static_assert(sizeof UNDEFINED == 4);
    EXPECT_EQ(static_cast<std::uint32_t>(UNDEFINED), 0xffffffffU);
}

TEST(MimeTypes, TheFirstRowOfEachCodeWins)
{
    EXPECT_EQ(GetMimeTypeFromDics(1), "application/ogg");
    EXPECT_EQ(GetMimeTypeFromDics(8), "application/iphone");
    EXPECT_EQ(GetMimeTypeFromDics(32), "application/pdf");
    EXPECT_EQ(GetMimeTypeFromDics(128), "application/zip");
    EXPECT_EQ(GetMimeTypeFromDics(16), "application/smil");
    EXPECT_EQ(GetMimeTypeFromDics(256), "text/vcard");
}

TEST(MimeTypes, CodesWithoutARowHaveNoMimeType)
{
    for (const std::int64_t code : {0, 2, 4, 512, 3, -1, 64})
        EXPECT_TRUE(GetMimeTypeFromDics(code).isNull()) << code;
}

TEST(MimeTypes, TheTableIsSearchedByteForByte)
{
    for (const auto &[mimeType, code] : table)
        EXPECT_EQ(GetMediaTypeFromDics(mimeType), code) << mimeType;
    EXPECT_EQ(GetMediaTypeFromDics("APPLICATION/PDF"), 0);
    EXPECT_EQ(GetMediaTypeFromDics("application/pd"), 0);
    EXPECT_EQ(GetMediaTypeFromDics("application/pdf "), 0);
    EXPECT_EQ(GetMediaTypeFromDics("image/png"), 0);
    EXPECT_EQ(GetMediaTypeFromDics(""), 0);
    EXPECT_EQ(GetMediaTypeFromDics(nullptr), 0);
    EXPECT_EQ(GetMediaTypeFromDics(std::string("application/pdf\0x", 17)), 32) << "compared up to a NUL";
}

TEST(MimeTypes, MediaTypesComeFromTheTableWhateverTheCase)
{
    for (const auto &[mimeType, code] : table)
        EXPECT_EQ(MimeTypes::mediaTypeByMimeType(mimeType), code) << mimeType;
    EXPECT_EQ(MimeTypes::mediaTypeByMimeType("APPLICATION/PDF"), 32);
    EXPECT_EQ(MimeTypes::mediaTypeByMimeType("Text/X-vCard"), 256);
}

TEST(MimeTypes, MediaTypesElseComeFromTheFirstPart)
{
    for (const auto &[mimeType, code] : {std::pair{"image/png", 4}, {"video/mp4", 2}, {"audio/mp4", 1},
             {"vcard/any", 256}, {"application/octet-stream", 8}, {"text/plain", 16}, {"TEXT/PLAIN", 16},
             {"text/vcard", 256}, {"text/html", 512}, {"text", 512}, {"text/", 512}, {"text/plain;charset=utf-8", 512},
             {"image", 4}, {"image/", 4}, {"audio//x", 1}, {"font/ttf", 0}, {"imagery/png", 0}, {"/image", 0}, {"", 0}})
        EXPECT_EQ(MimeTypes::mediaTypeByMimeType(mimeType), code) << mimeType;
    EXPECT_EQ(MimeTypes::mediaTypeByMimeType(nullptr), 0);
}

TEST(MimeTypes, MimeTypesOfExtensionsAreThoseThatTheTypesPrefer)
{
    for (const auto &[extension, mimeType] : {std::pair{"mp3", "audio/mpeg"}, {"m4a", "audio/x-m4a"},
             {"wav", "audio/vnd.wave"}, {"mp4", "video/mp4"}, {"mov", "video/quicktime"}, {"avi", "video/avi"},
             {"jpg", "image/jpeg"}, {"heic", "image/heic"}, {"gz", "application/x-gzip"}, {"vcf", "text/vcard"},
             {"epub", "application/epub+zip"}, {"txt", "text/plain"}, {"PNG", "image/png"}})
        EXPECT_EQ(MimeTypes::mimeTypeByExtension(extension), mimeType) << extension;
}

TEST(MimeTypes, ExtensionsWithoutAMimeTypeGiveTheEmptyString)
{
    // Declared without one, even where a database of the system has one.
    for (const char *extension : {"m4b", "m4p", "caf", "ts", "plist", "log", "dmg", "iso"})
        EXPECT_TRUE(MimeTypes::mimeTypeByExtension(extension) == "") << extension;
    for (const char *extension : {"", "qqzz", ".mp3", "tar.gz"})
        EXPECT_TRUE(MimeTypes::mimeTypeByExtension(extension) == "") << extension;
    EXPECT_TRUE(MimeTypes::mimeTypeByExtension(nullptr) == "");
}

TEST(MimeTypes, TheSystemAddsMimeTypesOfExtensionsThatNoTypeDeclares)
{
    if (!std::filesystem::exists("/usr/share/mime/globs2"))
        GTEST_SKIP() << "no shared MIME-info database";
    EXPECT_EQ(MimeTypes::mimeTypeByExtension("ogg"), "audio/ogg");
    EXPECT_EQ(MimeTypes::mimeTypeByExtension("MKV"), "video/x-matroska");
}

TEST(MimeTypes, MimeTypesOfFileNamesAreThoseOfTheirExtensions)
{
    EXPECT_EQ(MimeTypes::mimeTypeByFileName("song.mp3"), "audio/mpeg");
    EXPECT_EQ(MimeTypes::mimeTypeByFileName("/a.b/film.2012.MP4"), "video/mp4");
    EXPECT_TRUE(MimeTypes::mimeTypeByFileName("mp3") == "");
    EXPECT_TRUE(MimeTypes::mimeTypeByFileName("") == "");
    EXPECT_TRUE(MimeTypes::mimeTypeByFileName(nullptr) == "");
}

TEST(MimeTypes, IdentifiersOfMimeTypes)
{
    EXPECT_EQ(MimeTypes::UTIByMimeType("audio/mpeg"), "public.mp3");
    EXPECT_EQ(MimeTypes::UTIByMimeType("AUDIO/MPEG"), "public.mp3");
    EXPECT_EQ(MimeTypes::UTIByMimeType("audio/mp4"), "public.mpeg-4-audio");
    EXPECT_EQ(MimeTypes::UTIByMimeType("application/x-foo"), "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p52fzxg852");
    EXPECT_EQ(MimeTypes::UTIByMimeType("Application/X-Foo"), "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p52fzxg852");
    EXPECT_TRUE(MimeTypes::UTIByMimeType(nullptr) == "");
}

TEST(MimeTypes, IdentifiersOfExtensionsWithAndWithoutTheDot)
{
    EXPECT_EQ(MimeTypes::UTIByExtension("mp3"), "public.mp3");
    EXPECT_EQ(MimeTypes::UTIByExtension(".mp3"), "public.mp3");
    EXPECT_EQ(MimeTypes::UTIByExtension("xyz"), "dyn.ah62d4rv4ge81u8p4");
    EXPECT_EQ(MimeTypes::UTIByExtension(".xyz"), "dyn.ah62d4rv4ge81u8p4");
    EXPECT_NE(MimeTypes::UTIByExtension("..mp3"), "public.mp3") << "one dot is taken away";
    EXPECT_TRUE(MimeTypes::UTIByExtension(nullptr) == "");
}
