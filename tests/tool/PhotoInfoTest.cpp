// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <gmock/gmock.h>
#include <tests/support/ImageFiles.h>

namespace kelvane::testsupport {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class PhotoInfo : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_FFMPEG();
        _path = makeImage(_folder, "a.jpg", "", 300, 200).native();
    }

    [[nodiscard]] Json json() const
    {
        const ToolResult result = runTool({"info", "--json", _path}, _options);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_THAT(result.outputLines(), SizeIs(1));
        return Json::parse(result.output);
    }

    TemporaryFolder _folder;
    std::string _path;
    ToolOptions _options{{{"TZ", "UTC"}}};
};

TEST_F(PhotoInfo, JsonHasSizeExifAndCaptureDate)
{
    ASSERT_TRUE(setTags(_path,
        "-EXIF:DateTimeOriginal='2012:05:03 14:05:09' -EXIF:Make=Maker -EXIF:FNumber=2.8 -n -EXIF:Orientation=6"));
    const Json photo = json();
    EXPECT_EQ(photo["path"], _path);
    EXPECT_EQ(photo["type"], "public.jpeg");
    EXPECT_EQ(photo["width"], 300);
    EXPECT_EQ(photo["height"], 200);
    EXPECT_EQ(photo["orientation"], 6);
    EXPECT_EQ(photo["captureDate"], "2012-05-03T14:05:09Z");
    EXPECT_EQ(photo["properties"]["PixelWidth"], 300);
    EXPECT_EQ(photo["properties"]["{TIFF}"]["Make"], "Maker");
    EXPECT_EQ(photo["properties"]["{Exif}"]["DateTimeOriginal"], "2012:05:03 14:05:09");
    EXPECT_EQ(photo["properties"]["{Exif}"]["FNumber"], 2.8);
}

TEST_F(PhotoInfo, ExifWithoutADateGivesNone)
{
    ASSERT_TRUE(setTags(_path, "-EXIF:LensModel=Lens"));
    EXPECT_EQ(json()["captureDate"], nullptr);
}

TEST_F(PhotoInfo, WithoutExifItIsTheFilesDate)
{
    EXPECT_THAT(json()["captureDate"].get<std::string>(), testing::MatchesRegex("....-..-..T..:..:..Z"));
    EXPECT_FALSE(json()["properties"].contains("{Exif}"));
}

TEST_F(PhotoInfo, ListsForPeopleWithoutControlCharacters)
{
    ASSERT_TRUE(setTags(_path, "-EXIF:DateTimeOriginal='2012:05:03 14:05:09' -EXIF:Make=\"$(printf '\\033[31mX')\""));
    const ToolResult result = runTool({"info", _path}, _options);
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.output,
        AllOf(HasSubstr("300 x 200\n"), HasSubstr("2012-05-03T14:05:09Z\n"), HasSubstr("DateTimeOriginal"),
            HasSubstr("\\x1B[31mX"), Not(HasSubstr("\x1b"))));
    EXPECT_THAT(result.errors, IsEmpty());
}

} // namespace
} // namespace kelvane::testsupport
