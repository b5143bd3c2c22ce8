// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <tests/support/HeifFiles.h>

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace kelvane::testsupport {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr std::string_view jpegStart = "\xff\xd8\xff";

class Heic : public SyncFixture {
protected:
    void SetUp() override
    {
        SyncFixture::SetUp();
        if (!runCommand("command -v ffmpeg && command -v heif-enc"))
            GTEST_SKIP() << "ffmpeg and heif-enc are needed";
        ASSERT_TRUE(makePicture(folder("a.png"), 320, 192));
        ASSERT_TRUE(encodeHeic(folder("a.png"), photo));
    }

    // A photo of the name in the sources.
    std::string addPhoto(const std::string &name) const
    {
        std::filesystem::copy_file(photo, source(name));
        return source(name);
    }

    const std::string photo = folder("photo.heic");
};

TEST_F(Heic, HelpHasAnExampleAndWrongUseIsTold)
{
    EXPECT_THAT(runTool({"heic2jpg", "--help"}).output, HasSubstr("Example:\n  kelvane heic2jpg "));
    EXPECT_EQ(runTool({"heic2jpg"}).code, 2);
    EXPECT_EQ(runTool({"heic2jpg", "--nonsense", photo}).code, 2);
    EXPECT_EQ(runTool({"heic2jpg", "-o", folder("none"), photo}).code, 3);
}

TEST_F(Heic, JpegFilesLieBesideTheirPhotosOrInTheFolderThatIsNamed)
{
    const ToolResult beside = runTool({"heic2jpg", photo});
    EXPECT_EQ(beside.code, 0);
    EXPECT_EQ(beside.output, photo + " -> " + folder("photo.jpg") + "\n");
    EXPECT_THAT(read(folder("photo.jpg")), StartsWith(jpegStart));

    EXPECT_EQ(runTool({"heic2jpg", "-o", device(), photo}).code, 0);
    EXPECT_EQ(read(device("photo.jpg")), read(folder("photo.jpg")));
}

TEST_F(Heic, AFileThatIsThereIsReplacedOnlyOnDemand)
{
    write(folder("photo.jpg"), "mine");
    const ToolResult result = runTool({"heic2jpg", photo});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errors, HasSubstr("is there already"));
    EXPECT_EQ(read(folder("photo.jpg")), "mine");

    EXPECT_EQ(runTool({"heic2jpg", "--force", photo}).code, 0);
    EXPECT_THAT(read(folder("photo.jpg")), StartsWith(jpegStart));
}

TEST_F(Heic, JsonHasOneObjectALineAndFailuresAmongThem)
{
    write(folder("no.heic"), "no photo");
    const ToolResult result = runTool({"heic2jpg", "--json", "-o", device(), photo, folder("no.heic"), folder("none")});
    EXPECT_EQ(result.code, 1);
    const std::vector<Json> lines = parse(result);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0]["path"], photo);
    EXPECT_EQ(lines[0]["jpeg"], device("photo.jpg"));
    EXPECT_EQ(lines[0]["size"], std::filesystem::file_size(device("photo.jpg")));
    EXPECT_THAT(lines[1]["error"], HasSubstr("no HEIC photo"));
    EXPECT_TRUE(lines[2].contains("error"));
    EXPECT_EQ(result.errorLines().size(), 2U);
}

TEST_F(Heic, APhotoArrivesAsJpegAndASecondRunCopiesNothing)
{
    addPhoto("IMG_1.HEIC");
    Json summary = summaryOfSync();
    EXPECT_EQ(summary["added"], 1);
    EXPECT_THAT(deviceFiles(), ElementsAre("Photos/IMG_1.jpg"));
    EXPECT_THAT(read(device("Photos/IMG_1.jpg")), StartsWith(jpegStart));
    EXPECT_EQ(std::filesystem::last_write_time(device("Photos/IMG_1.jpg")),
        std::filesystem::last_write_time(source("IMG_1.HEIC")));

    for (const std::vector<std::string> &options : {std::vector<std::string>{}, {"--verify"}}) {
        summary = summaryOfSync(options);
        EXPECT_EQ(summary["added"], 0);
        EXPECT_EQ(summary["changed"], 0);
        EXPECT_EQ(summary["failed"], 0);
    }
}

TEST_F(Heic, APhotoAndItsJpegTwinBothArrive)
{
    addPhoto("a.heic");
    addMedia("photo.jpg", "a.jpg");
    EXPECT_EQ(summaryOfSync()["added"], 2);
    EXPECT_THAT(deviceFiles(), UnorderedElementsAre("Photos/a.jpg", "Photos/a (2).jpg"));
}

TEST_F(Heic, PhotosAreKeptAsTheyAreOnDemand)
{
    addPhoto("a.heic");
    EXPECT_EQ(summaryOfSync({"--keep-heic"})["added"], 1);
    EXPECT_THAT(deviceFiles(), ElementsAre("Photos/a.heic"));
    EXPECT_EQ(read(device("Photos/a.heic")), read(photo));
}

TEST_F(Heic, APhotoThatCannotBeConvertedFailsAloneAndLeavesNothing)
{
    write(source("broken.heic"), read(photo).substr(0, 900));
    addPhoto("whole.heic");
    const Json summary = summaryOfSync();
    EXPECT_EQ(summary["failed"], 1);
    EXPECT_EQ(summary["added"], 1);
    EXPECT_THAT(deviceFiles(), ElementsAre("Photos/whole.jpg"));
}

TEST_F(Heic, WithoutTheDecoderPhotosFailAndSayWhatToDoAndTheRestArrives)
{
    // A copy of the command, with no module beside it.
    const std::string program = folder("bin/kelvane");
    std::filesystem::create_directory(folder("bin"));
    std::filesystem::copy_file(KELVANE_TOOL, program);
    const ToolOptions withoutDecoder{{}, false, program};
    addPhoto("a.heic");
    addMedia("photo.jpg", "b.jpg");
    addSongs(1);

    ToolResult result = sync({"--json"}, withoutDecoder);
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errors,
        AllOf(HasSubstr("a.heic"), HasSubstr("libheif.dylib is missing"), HasSubstr("install it"),
            HasSubstr("--keep-heic")));
    EXPECT_EQ(parse(result).back()["failed"], 1);
    EXPECT_EQ(parse(result).back()["added"], 2);
    EXPECT_THAT(deviceFiles(), AllOf(testing::SizeIs(2), Contains("Photos/b.jpg")));
    EXPECT_EQ(library().size(), 2U);

    EXPECT_EQ(sync({}, withoutDecoder).code, 1) << "it is still missing";
    EXPECT_EQ(deviceFiles().size(), 2U);
    EXPECT_THAT(runTool({"heic2jpg", photo}, withoutDecoder).errors, HasSubstr("libheif.dylib is missing"));
    EXPECT_FALSE(std::filesystem::exists(folder("photo.jpg")));

    // With it the next run finishes the job; or without it, as the message says.
    EXPECT_EQ(sync({"--keep-heic"}, withoutDecoder).code, 0);
    EXPECT_THAT(deviceFiles(), Contains("Photos/a.heic"));
}

TEST_F(Heic, WithoutTheDecoderConvertedPhotosStayAsTheyAre)
{
    addPhoto("a.heic");
    ASSERT_EQ(summaryOfSync()["added"], 1);
    const std::string before = read(device("Photos/a.jpg"));
    const std::string program = folder("bin/kelvane");
    std::filesystem::create_directory(folder("bin"));
    std::filesystem::copy_file(KELVANE_TOOL, program);

    EXPECT_EQ(sync({}, {{}, false, program}).code, 0);
    const ToolResult result = sync({"--verify"}, {{}, false, program});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errors, HasSubstr("libheif.dylib is missing"));
    EXPECT_THAT(deviceFiles(), ElementsAre("Photos/a.jpg"));
    EXPECT_EQ(read(device("Photos/a.jpg")), before);
    EXPECT_EQ(library().size(), 1U);
    EXPECT_EQ(sync({"--verify"}).code, 0);
}

TEST_F(Heic, ADamagedJpegOnTheDeviceIsMadeAnewByVerify)
{
    addPhoto("a.heic");
    EXPECT_EQ(summaryOfSync()["added"], 1);
    std::string bytes = read(device("Photos/a.jpg"));
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] + 1);
    // As a worn memory changes it: a file of another time would be somebody's own, and stay.
    const auto time = std::filesystem::last_write_time(device("Photos/a.jpg"));
    write(device("Photos/a.jpg"), bytes);
    std::filesystem::last_write_time(device("Photos/a.jpg"), time);

    EXPECT_EQ(summaryOfSync({"--verify"})["failed"], 0);
    ASSERT_EQ(deviceFiles().size(), 1U);
    EXPECT_NE(read(device(deviceFiles().front())), bytes);
}

TEST_F(Heic, VerifyComparesAConvertedPhotoRightAway)
{
    addPhoto("a.heic");
    const Json summary = summaryOfSync({"--verify"});
    EXPECT_EQ(summary["added"], 1);
    EXPECT_EQ(summary["failed"], 0);
    EXPECT_THAT(deviceFiles(), ElementsAre("Photos/a.jpg"));
}

} // namespace
} // namespace kelvane::testsupport
