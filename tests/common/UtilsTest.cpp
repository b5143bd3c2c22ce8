// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/common/StringExtensions.h>
#include <kelvane/platform/DateFormatter.h>
#include <kelvane/platform/SystemVersion.h>
#include <tests/support/LocalZone.h>
#include <tests/support/LogCapture.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/resource.h>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;
using testsupport::LocalZone;

constexpr double from1904To2001 = 3061152000;
constexpr const char *zones[] = {"UTC", "America/New_York", "Asia/Kolkata"};

Date dateOf(double secondsSince1970)
{
    return Date::fromSecondsSince1970(secondsSince1970);
}

TEST(UtilsDates, SecondsSince2001)
{
    EXPECT_EQ(Utils::DateTimeTo2001(Date(12.5)), 12.5);
    EXPECT_EQ(Utils::DateTimeTo2001(Date()), 0);
    EXPECT_EQ(Utils::dateTimeTo2001(Date(12.5), 100), 112.5);
    EXPECT_EQ(Utils::dateTimeTo2001(Date(12.5), -100), -87.5);
    EXPECT_EQ(Utils::dateTimeTo2001(Date(0.0), 100), 0);
    EXPECT_EQ(Utils::dateTimeTo2001(Date(), 100), 0);
    EXPECT_NEAR(Utils::DateNowInterval(), Date::now().secondsSince2001(), 60);
}

TEST(UtilsDates, SecondsSince1904CountFromLocalMidnight)
{
    EXPECT_EQ(Utils::DateTimeTo1904(Date()), 0);
    {
        const LocalZone zone("UTC");
        EXPECT_EQ(Utils::DateTimeTo1904(Date(0.0)), from1904To2001);
    }
    const LocalZone zone("America/New_York"); // five hours behind in 1904
    EXPECT_EQ(Utils::DateTimeTo1904(Date(0.0)), from1904To2001 - 5 * 3600);
}

TEST(UtilsDates, DatesFrom1904CountFromMidnightInUtc)
{
    for (const char *name : zones) {
        const LocalZone zone(name);
        EXPECT_EQ(Utils::DateTimeFrom1904(from1904To2001), Date(0.0)) << name;
    }
}

TEST(UtilsDates, SmartToDateTimeChangesItsEpochAboveAThousandMillion)
{
    EXPECT_EQ(Utils::SmartToDateTime(1e9), Date(1e9));
    EXPECT_EQ(Utils::SmartToDateTime(1e9 + 1), dateOf(1e9 + 1));
    EXPECT_EQ(Utils::SmartToDateTime(-5), Date(-5));
}

TEST(UtilsDates, NowCalendarIsLocalTimeAsGmtPlusTwelveHours)
{
    for (const char *name : zones) {
        const LocalZone zone(name);
        const Date now = Date::now();
        const CalendarDate calendar = Utils::NowCalendar();
        EXPECT_NEAR(calendar.date.secondsSince2001(), Utils::localToUTC(now).secondsSince2001() + 12 * 3600, 60);
        EXPECT_EQ(calendar.calendarFormat, "%Y-%m-%dT%H:%M:%SZ");
        EXPECT_EQ(calendar.description(), calendar.date.toIso8601());
    }
}

TEST(UtilsDates, LocalToUtcMovesByTheOffsetAtThatDate)
{
    const Date winter = dateOf(1326628800);
    const Date summer = dateOf(1342353600);
    const LocalZone zone("America/New_York");
    EXPECT_EQ(Utils::localToUTC(winter), dateOf(1326628800 - 5 * 3600));
    EXPECT_EQ(Utils::localToUTC(summer), dateOf(1342353600 - 4 * 3600));
    EXPECT_TRUE(Utils::localToUTC(Date()).isNull());
    const LocalZone kolkata("Asia/Kolkata");
    EXPECT_EQ(Utils::localToUTC(winter), dateOf(1326628800 + 19800));
}

TEST(UtilsDates, DateFormatReadsExifDatesInLocalTime)
{
    const double expected[] = {1336053930, 1336053930 + 4 * 3600, 1336053930 - 19800};
    for (int i = 0; i < 3; ++i) {
        const LocalZone zone(zones[i]);
        EXPECT_EQ(Utils::dateFormat("2012:05:03 14:05:30"), dateOf(expected[i])) << zones[i];
    }
}

TEST(UtilsDates, DateFormatFollowsDaylightSavingTime)
{
    const LocalZone zone("America/New_York");
    EXPECT_EQ(Utils::dateFormat("2012:03:11 01:59:00").toIso8601(), "2012-03-11T06:59:00Z");
    EXPECT_EQ(Utils::dateFormat("2012:03:11 03:00:00").toIso8601(), "2012-03-11T07:00:00Z");
    EXPECT_EQ(Utils::dateFormat("2012:11:04 01:30:00").toIso8601(), "2012-11-04T05:30:00Z");
    EXPECT_EQ(Utils::dateFormat("2012:11:04 02:00:00").toIso8601(), "2012-11-04T07:00:00Z");
}

TEST(UtilsDates, ExifDatesComeBackAsWrittenInEveryZoneAcrossTheChangesOfSummerTime)
{
    for (const char *name : zones) {
        const LocalZone zone(name);
        for (const char *text : {"2012:03:10 23:59:59", "2012:03:11 01:59:59", "2012:03:11 03:00:00",
                 "2012:03:11 12:00:00", "2012:11:04 00:59:59", "2012:11:04 02:00:00", "2012:11:05 00:00:00"})
            EXPECT_EQ(Utils::stringFromDate("yyyy:MM:dd HH:mm:ss", Utils::dateFormat(text)), text) << name;
    }
}

TEST(UtilsDates, EpochsAreTheSameInEveryZone)
{
    for (const char *name : zones) {
        const LocalZone zone(name);
        EXPECT_EQ(Utils::DateTimeTo2001(dateOf(1336053930)), 357746730) << name;
        EXPECT_EQ(Utils::dateTimeTo2001(dateOf(1336053930), 70), 357746800) << name;
        EXPECT_EQ(Utils::SmartToDateTime(1336053930), dateOf(1336053930)) << name;
        EXPECT_EQ(Utils::SmartToDateTime(357746730), dateOf(1336053930)) << name;
    }
}

TEST(UtilsDates, DateFormatOfAnythingElseIsNull)
{
    for (const char *text : {"", "2012-05-03", "0000:00:00 00:00:00", "2012:13:03 14:05:30", "2012:05:03 14:05",
             "    :  :     :  :  ", "2012:05:03 14:05:30 more"})
        EXPECT_TRUE(Utils::dateFormat(text).isNull()) << text;
    EXPECT_TRUE(Utils::dateFormat(nullptr).isNull());
}

TEST(UtilsDates, StringFromDateTakesAnyPattern)
{
    const LocalZone zone("Asia/Kolkata");
    const Date date = dateOf(1336053930.25);
    EXPECT_EQ(Utils::stringFromDate("yyyy-MM-dd HH:mm:ss.SSS", date), "2012-05-03 19:35:30.250");
    EXPECT_EQ(Utils::stringFromDate("EEEE, d MMMM y 'at' h:mm a", date), "Thursday, 3 May 2012 at 7:35 PM");
    EXPECT_EQ(Utils::stringFromDate("xxx", date), "+05:30");
    EXPECT_EQ(Utils::stringFromDate("", date), "");
    EXPECT_EQ(Utils::stringFromDate(nullptr, date), "");
    EXPECT_EQ(Utils::stringFromDate("y", Date()), String(Date::now().toIso8601().view().substr(0, 4)));
    const LocalZone other("America/New_York");
    EXPECT_EQ(Utils::stringFromDate("HH:mm", date), "10:05");
}

TEST(UtilsDates, TheSharedFormatterKeepsTheLastFormat)
{
    const std::lock_guard guard(Utils::shareFormatterLock());
    static_cast<void>(Utils::dateFormat("2012:05:03 14:05:30"));
    EXPECT_EQ(Utils::shareFormatter().dateFormat(), "yyyy:MM:dd HH:mm:ss");
    EXPECT_EQ(Utils::stringFromDate("y", Date(0.0)).size(), 4U);
    EXPECT_EQ(Utils::shareFormatter().dateFormat(), "y");
    EXPECT_EQ(Utils::shareFormatter().locale(), "en");
    EXPECT_FALSE(Utils::dateFormat("2012:05:03 14:05:30").isNull());
    EXPECT_EQ(&Utils::shareFormatter(), &Utils::shareFormatter());
}

TEST(UtilsDates, FormattingFromManyThreadsNeverMixesFormats)
{
    const LocalZone zone("UTC");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int round = 0; round < 50; ++round) {
                if (i % 2 == 0)
                    EXPECT_EQ(Utils::stringFromDate("yyyy", Date(86400)), "2001");
                else
                    EXPECT_EQ(Utils::dateFormat("2001:01:02 00:00:00"), Date(86400));
            }
        });
    for (auto &thread : threads)
        thread.join();
}

TEST(UtilsNames, MediaKinds)
{
    const std::pair<const char *, const char *> kinds[] = {{"mp3", "MPEG Audio"}, {"aac", "MPEG Audio"},
        {"mp4", "MPEG-4 Video"}, {"m4b", "MPEG-4 Video"}, {"m4p", "MPEG-4 Video"}, {"3gp", "MPEG Audio"},
        {"m4v", "MPEG-4 Video"}, {"mov", "Movie"}, {"m4a", "AAC Audio"}, {"m4r", "Ringtone"}, {"wav", "Wav Audio"},
        {"aif", "Aif Audio"}};
    for (const auto &[extension, kind] : kinds)
        EXPECT_EQ(Utils::GetMediaKind(extension), kind) << extension;
    EXPECT_EQ(Utils::GetMediaKind(".MP3"), "MPEG Audio");
    EXPECT_EQ(Utils::GetMediaKind("..mp3"), "");
    EXPECT_EQ(Utils::GetMediaKind("flac"), "");
    EXPECT_EQ(Utils::GetMediaKind(nullptr), "");
}

TEST(UtilsNames, AudioAndVideoByExtension)
{
    for (const char *extension : {"mp3", "wav", "aac", "aif", "m4r", "aiff", "m4a", "m4b", "m4p", "MP3"})
        EXPECT_TRUE(Utils::isAudio(String("/a/b.") + extension)) << extension;
    for (const char *extension : {"mp4", "mov", "m4v", "m4a", "3gp", "MOV"})
        EXPECT_TRUE(Utils::isVideo(String("/a/b.") + extension)) << extension;
    EXPECT_FALSE(Utils::isAudio("/a/b.flac"));
    EXPECT_FALSE(Utils::isVideo("/a/b.mp3"));
    EXPECT_FALSE(Utils::isAudio("mp3"));
    EXPECT_FALSE(Utils::isAudio(nullptr));
    EXPECT_FALSE(Utils::isVideo(nullptr));
}

TEST(UtilsNames, GetExtensionIsTheFourCharacterCode)
{
    EXPECT_EQ(Utils::GetExtension("mp3 "), 0x6D703320U);
    EXPECT_EQ(Utils::GetExtension("mp3"), 0x6D703300U);
    EXPECT_EQ(Utils::GetExtension(nullptr), 0U);
}

TEST(UtilsNames, ReplaceInvalidCharsGoesByteByByte)
{
    EXPECT_EQ(Utils::replaceInvalidChars("a/b<c>d:e\\f g", '_'), "a_b_c_d_e_f_g");
    EXPECT_EQ(Utils::replaceInvalidChars("plain|text?", '_'), "plain|text?");
    EXPECT_EQ(Utils::replaceInvalidChars("\xC3\xA9", '_'), "\xC3\x83\xC2\xA9");
    EXPECT_EQ(Utils::replaceInvalidChars(nullptr, '_'), "");
    EXPECT_TRUE(CharInArray('/', "/<>:\\ "));
    EXPECT_FALSE(CharInArray('a', "/<>:\\ "));
}

TEST(UtilsNames, JoinKeepsTheSeparatorsOfEmptyElements)
{
    EXPECT_EQ(Utils::join(",", Array{"a", "", 3}), "a,,3");
    EXPECT_EQ(Utils::join(",", Array{NullObject{}, 1.5, true}), ",1.5,1");
    EXPECT_EQ(Utils::join("", Array{"a", "b"}), "ab");
    EXPECT_EQ(Utils::join(nullptr, Array{"a"}), "");
    EXPECT_EQ(Utils::join(",", nullptr), "");
    EXPECT_EQ(Utils::join(",", Array::empty()), "");
}

TEST(UtilsNames, FileMd5IsThatOfTheBytes)
{
    EXPECT_EQ(Utils::fileMD5(Data("abc", 3)), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(Utils::fileMD5(Data("", 0)), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Utils::fileMD5(Data()), "");
}

TEST(UtilsNames, TransformItemIdKeepsAllBits)
{
    EXPECT_EQ(Utils::transformItemIDToNumber(INT64_MIN).longLongValue(), INT64_MIN);
    EXPECT_TRUE(Utils::transformItemIDToNumber(7).isNumber());
}

TEST(UtilsNames, TheNotificationKeepsItsSpelling)
{
    EXPECT_EQ(kImageCaptureDistributedNotifaction, "ImageCaptureDistributedNotifaction");
    EXPECT_EQ(Utils::defaultBufferSize, 524288U);
}

TEST(UtilsRandom, FolderNamesRunFromF00ToF99)
{
    std::set<std::string> names;
    for (int i = 0; i < 5000; ++i) {
        names.insert(Utils::getRandomFolderName().str());
        EXPECT_THAT(Utils::getRandomFolderName().str(), MatchesRegex("F[0-9][0-9]"));
    }
    EXPECT_EQ(names.size(), 100U);
    EXPECT_EQ(Utils::getRandomMusicName(1), "F00");
    EXPECT_THAT(Utils::getRandomMusicName(1000).str(), MatchesRegex("F[0-9][0-9][0-9]?"));
}

TEST(UtilsRandom, FileNamesNeverHoldAZ)
{
    std::set<char> letters;
    for (int i = 0; i < 5000; ++i) {
        const std::string name = Utils::getRandomFileName().str();
        ASSERT_EQ(name.size(), 4U);
        letters.insert(name.begin(), name.end());
    }
    EXPECT_EQ(std::string(letters.begin(), letters.end()), "ABCDEFGHIJKLMNOPQRSTUVWXY");
}

TEST(UtilsRandom, UuidsAreInUpperCase)
{
    EXPECT_TRUE(isMatch(Utils::genUUIDString(), "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    EXPECT_NE(Utils::genUUIDString(), Utils::genUUIDString());
}

TEST(UtilsRandom, LongIdsEndInAZeroByteAndNeverComeTwice)
{
    std::set<std::int64_t> ids;
    for (int i = 0; i < 10000; ++i) {
        const std::int64_t id = Utils::generateRandomLongId();
        EXPECT_EQ(id & 255, 0);
        EXPECT_TRUE(ids.insert(id).second);
    }
    EXPECT_LT(*ids.begin(), 0);
    EXPECT_EQ(generateLongLongId() & 255, 0U);
    EXPECT_EQ(Utils::generateRandomLongId1() & 255, 0);
    EXPECT_NE(Utils::generateRandomLongId1(), Utils::generateRandomLongId1());
}

TEST(UtilsRandom, TheOtherLongIdsSeedTheGeneratorOfTheCLibrary)
{
    const auto next = [] { return std::pair(std::rand(), std::rand()); };
    std::srand(1);
    const auto unseeded = next();
    std::srand(1);
    static_cast<void>(Utils::generateRandomLongId1());
    EXPECT_NE(next(), unseeded);
    std::set<std::int64_t> ids;
    for (int i = 0; i < 1000; ++i)
        ids.insert(Utils::generateRandomLongId1());
    EXPECT_GT(ids.size(), 990U);
    EXPECT_LT(*ids.begin(), 0) << "all of the seven bytes are random";
    EXPECT_GT(*ids.rbegin(), 0);
}

TEST(UtilsRandom, LongIdsFromManyThreadsNeverComeTwice)
{
    std::vector<std::int64_t> ids[4];
    std::vector<std::thread> threads;
    for (auto &mine : ids)
        threads.emplace_back([&mine] {
            for (int i = 0; i < 2000; ++i)
                mine.push_back(Utils::generateRandomLongId());
        });
    for (auto &thread : threads)
        thread.join();
    std::set<std::int64_t> all;
    for (const auto &mine : ids)
        all.insert(mine.begin(), mine.end());
    EXPECT_EQ(all.size(), 8000U);
}

TEST(UtilsSystem, VersionsCompareByMajorThenMinor)
{
    const SystemVersion before = SystemVersion::setCurrent({10, 6});
    EXPECT_FALSE(Utils::isOSOfLionLater());
    SystemVersion::setCurrent({10, 7});
    EXPECT_TRUE(Utils::isOSOfLionLater());
    EXPECT_TRUE(Utils::isOSXVersionLater(10, 7));
    EXPECT_FALSE(Utils::isOSXVersionLater(10, 8));
    EXPECT_TRUE(Utils::isOSXVersionLater(9, 99));
    EXPECT_FALSE(Utils::isOSXVersionLater(11, 0));
    SystemVersion::setCurrent({11, 0});
    EXPECT_TRUE(Utils::isOSOfLionLater());
    EXPECT_TRUE(Utils::isOSXVersionLater(10, 15));
    SystemVersion::setCurrent(before);
    EXPECT_TRUE(Utils::isOSOfLionLater());
}

TEST(UtilsSystem, PipeCmdGivesWhatTheCommandPrints)
{
    const testsupport::LogCapture log;
    EXPECT_EQ(Utils::pipeCmd("printf 'a%%b'; printf c"), "a%bc");
    EXPECT_EQ(Utils::pipeCmd("true"), "");
    EXPECT_EQ(Utils::pipeCmd("printf x; exit 3"), "x");
    EXPECT_THAT(log.debugLines(), ElementsAre("pipeCmd:a%bc", "pipeCmd:", "pipeCmd:x"));
}

TEST(UtilsSystem, PipeCmdReadsNoMoreThanItsBuffer)
{
    EXPECT_EQ(Utils::pipeCmd("head -c 1000000 /dev/zero | tr '\\0' x").size(), Utils::defaultBufferSize);
}

TEST(UtilsSystem, PipeCmdWithoutACommandOrWithoutUtf8GivesNull)
{
    EXPECT_TRUE(Utils::pipeCmd(nullptr).isNull());
    EXPECT_TRUE(Utils::pipeCmd("").isNull());
    const testsupport::LogCapture log;
    EXPECT_TRUE(Utils::pipeCmd("printf '\\377'").isNull());
    EXPECT_THAT(log.debugLines(), ElementsAre("pipeCmd:(null)"));
}

TEST(UtilsSystem, PipeCmdThatCannotBeStartedGivesNull)
{
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const String output = Utils::pipeCmd("printf x");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_TRUE(output.isNull());
}

/// Puts a program "curl" of its own first in the search path, which writes a line to "calls" and then runs `script`.
class FakeCurl {
public:
    explicit FakeCurl(const std::string &script) : _before(std::getenv("PATH"))
    {
        std::ofstream(folder.path("curl")) << "#!/bin/sh\nprintf '%s|' \"$@\" >>\"" << folder.path("calls").native()
                                           << "\"\necho >>\"" << folder.path("calls").native() << "\"\n"
                                           << script << '\n';
        std::filesystem::permissions(folder.path("curl"), std::filesystem::perms::owner_all);
        setenv("PATH", (folder.path().native() + ":" + _before).c_str(), 1);
    }
    ~FakeCurl() { setenv("PATH", _before.c_str(), 1); }
    FakeCurl(const FakeCurl &) = delete;
    FakeCurl &operator=(const FakeCurl &) = delete;

    [[nodiscard]] std::vector<std::string> calls() const
    {
        std::ifstream file(folder.path("calls"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    testsupport::TemporaryFolder folder;

private:
    std::string _before;
};

TEST(UtilsDownload, WhatIsCompleteIsNotFetchedAgain)
{
    const FakeCurl curl("exit 0");
    std::ofstream(curl.folder.path("file")) << "12345";
    EXPECT_EQ(Utils::downloadModule(curl.folder.string("file"), "http://example.org/x", 5), 0);
    EXPECT_EQ(Utils::downloadModule(curl.folder.string("none"), "http://example.org/x", 0), 0);
    EXPECT_TRUE(curl.calls().empty());
}

TEST(UtilsDownload, TriesSixTimesAtTheMost)
{
    const FakeCurl curl("exit 7");
    const String path = curl.folder.string("a b");
    EXPECT_EQ(Utils::downloadModule(path, "http://example.org/x", 5), -1);
    EXPECT_EQ(curl.calls(), std::vector<std::string>(6, "-o|" + path.str() + "|http://example.org/x|"));
}

TEST(UtilsDownload, EndsOnceTheFileIsLargeEnough)
{
    const FakeCurl curl("printf xx >>\"$2\"");
    EXPECT_EQ(Utils::downloadModule(curl.folder.string("file"), "http://example.org/x", 5), 0);
    EXPECT_EQ(curl.calls().size(), 3U);
}

TEST(UtilsDownload, TheSixthTryStillCounts)
{
    const FakeCurl curl("printf x >>\"$2\"");
    EXPECT_EQ(Utils::downloadModule(curl.folder.string("file"), "http://example.org/x", 6), 0);
    EXPECT_EQ(curl.calls().size(), 6U);
    EXPECT_EQ(Utils::downloadModule(curl.folder.string("file"), "http://example.org/x", 13), -1);
}

TEST(UtilsDownload, WithoutAPathOrAnAddressNothingRuns)
{
    const FakeCurl curl("exit 0");
    EXPECT_EQ(Utils::downloadModule(nullptr, "http://example.org/x", 5), -1);
    EXPECT_EQ(Utils::downloadModule(curl.folder.string("file"), nullptr, 5), -1);
    EXPECT_TRUE(curl.calls().empty());
}

TEST(Utils, TheMimeTypeOfAnExtensionIsTheOneThatItsTypePrefers)
{
    EXPECT_EQ(Utils::mimeTypeByExtension("mp3"), "audio/mpeg");
    EXPECT_EQ(Utils::mimeTypeByExtension("JPG"), "image/jpeg");
    EXPECT_TRUE(Utils::mimeTypeByExtension("m4b") == "");
    EXPECT_TRUE(Utils::mimeTypeByExtension("qqzz") == "");
    EXPECT_TRUE(Utils::mimeTypeByExtension("") == "");
    EXPECT_TRUE(Utils::mimeTypeByExtension(nullptr) == "");
}

} // namespace
} // namespace kelvane
