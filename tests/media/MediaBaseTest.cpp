// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/MediaBase.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace kelvane;

namespace {

std::atomic<std::size_t> allocations = 0;
std::atomic<std::size_t> allocatedBytes = 0;

struct Episode : MediaBase {
    int chapter = 0;

protected:
    std::shared_ptr<MediaBase> newInstance() const override { return std::make_shared<Episode>(); }
};

/// A value for `field` that differs from its initial one and from that of every other field.
Value sampleFor(const MediaField &field, int seed)
{
    switch (field.kind) {
    case Value::Kind::Bool:
        return true;
    case Value::Kind::Int64:
        return 1000 + seed;
    case Value::Kind::UInt64:
        return std::uint64_t{5000} + static_cast<std::uint64_t>(seed);
    case Value::Kind::Double:
        return 0.5 + seed;
    case Value::Kind::String:
        return String("text " + std::to_string(seed));
    case Value::Kind::Date:
        return Date(1000.0 + seed);
    case Value::Kind::Dictionary:
        return Dictionary{{"width", 640.0}, {"height", 480.0}};
    default:
        return Object::of(seed);
    }
}

void fill(MediaBase &record)
{
    int seed = 0;
    for (const MediaField &field : MediaBase::fields())
        field.set(record, sampleFor(field, ++seed));
}

const MediaField &fieldNamed(std::string_view name)
{
    for (const MediaField &field : MediaBase::fields())
        if (field.name == name)
            return field;
    throw std::invalid_argument(std::string(name));
}

} // namespace

// Not inlined: g++ 12 takes the malloc() and free() inside for a mismatch with each other's operator.
[[gnu::noinline]] void *operator new(std::size_t size)
{
    ++allocations;
    allocatedBytes += size;
    if (void *memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void *memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

TEST(MediaBase, ANewRecordHasItsThreeDefaultsAndNothingElse)
{
    const MediaBase record;
    for (const MediaField &field : MediaBase::fields()) {
        const Value value = field.get(record);
        const std::string name = field.name;
        if (name == "storeMedium")
            EXPECT_EQ(value, Value(2));
        else if (name == "mimeType")
            EXPECT_TRUE(value.string() == "" && !value.string().isNull());
        else if (name == "resolution")
            EXPECT_EQ(record.resolution(), Size());
        else if (value.isNumber())
            EXPECT_EQ(value.doubleValue(), 0) << name;
        else
            EXPECT_TRUE(value.isNil()) << name;
    }
    EXPECT_EQ(record.syncSource(), 0U);
    EXPECT_TRUE(record.title().isNull());
    EXPECT_TRUE(record.lastPlayDate().isNull());
}

TEST(MediaBase, HasTheEightyOneSettledFieldsInTheirOrder)
{
    // Written out once more: the list in the code is what this is held against.
    std::vector<std::string> names;
#define SETTLED(type, name, setter)                                                                                    \
    static_assert(std::is_same_v<decltype(MediaBase().name()), const type &>);                                         \
    static_assert(std::is_same_v<decltype(&MediaBase::setter), void (MediaBase::*)(type)>);                            \
    names.emplace_back(#name);
    // clang-format off
    SETTLED(std::int64_t, Id, setId)
    SETTLED(std::int64_t, syncId, setSyncId)
    SETTLED(String, persistentID, setPersistentID)
    SETTLED(String, artworkId, setArtworkId)
    SETTLED(std::int64_t, albumId, setAlbumId)
    SETTLED(std::int64_t, artistId, setArtistId)
    SETTLED(std::int64_t, genreId, setGenreId)
    SETTLED(std::int64_t, fileSize, setFileSize)
    SETTLED(std::int64_t, dbSize, setDbSize)
    SETTLED(Size, resolution, setResolution)
    SETTLED(double, duration, setDuration)
    SETTLED(std::int32_t, rating, setRating)
    SETTLED(std::int32_t, season, setSeason)
    SETTLED(std::int32_t, year, setYear)
    SETTLED(std::int32_t, playCountUser, setPlayCountUser)
    SETTLED(std::int32_t, playCountRecent, setPlayCountRecent)
    SETTLED(std::int32_t, sampleRate, setSampleRate)
    SETTLED(std::int32_t, bitrate, setBitrate)
    SETTLED(std::int32_t, BPM, setBPM)
    SETTLED(std::int32_t, trackNumber, setTrackNumber)
    SETTLED(std::int32_t, trackCount, setTrackCount)
    SETTLED(bool, compilation, setCompilation)
    SETTLED(std::int32_t, discNumber, setDiscNumber)
    SETTLED(std::int32_t, discCount, setDiscCount)
    SETTLED(std::int32_t, tvEpisode, setTvEpisode)
    SETTLED(std::int32_t, skipCountUser, setSkipCountUser)
    SETTLED(std::int32_t, skipCountRecent, setSkipCountRecent)
    SETTLED(std::int32_t, volume, setVolume)
    SETTLED(std::uint64_t, mediaKind, setMediaKind)
    SETTLED(std::int32_t, albumRating, setAlbumRating)
    SETTLED(std::int32_t, skipWhenShuffling, setSkipWhenShuffling)
    SETTLED(std::int32_t, rememberPlaybackPosition, setRememberPlaybackPosition)
    SETTLED(std::int32_t, audioFormat, setAudioFormat)
    SETTLED(std::uint64_t, syncSource, setSyncSource)
    SETTLED(bool, isSynced, setIsSynced)
    SETTLED(bool, isFileExist, setIsFileExist)
    SETTLED(bool, isCloud, setIsCloud)
    SETTLED(Object, artworkObj, setArtworkObj)
    SETTLED(String, localArtworkPath, setLocalArtworkPath)
    SETTLED(String, devArtworkPath, setDevArtworkPath)
    SETTLED(std::int64_t, artwork_offset, setArtwork_offset)
    SETTLED(std::int64_t, artwork_length, setArtwork_length)
    SETTLED(std::int32_t, artwork_format_id, setArtwork_format_id)
    SETTLED(String, path, setPath)
    SETTLED(String, fileName, setFileName)
    SETTLED(String, extension, setExtension)
    SETTLED(String, mimeType, setMimeType)
    SETTLED(String, albumSort, setAlbumSort)
    SETTLED(String, artistSort, setArtistSort)
    SETTLED(String, composerSort, setComposerSort)
    SETTLED(String, titleSort, setTitleSort)
    SETTLED(String, albumArtistSort, setAlbumArtistSort)
    SETTLED(std::uint64_t, storeMedium, setStoreMedium)
    SETTLED(Date, addedTime, setAddedTime)
    SETTLED(Date, modifiedTime, setModifiedTime)
    SETTLED(Date, playedDate, setPlayedDate)
    SETTLED(Date, skippedDate, setSkippedDate)
    SETTLED(Date, purchasedDate, setPurchasedDate)
    SETTLED(Date, releasedDate, setReleasedDate)
    SETTLED(std::uint64_t, mediaType, setMediaType)
    SETTLED(std::uint64_t, category, setCategory)
    SETTLED(String, title, setTitle)
    SETTLED(String, album, setAlbum)
    SETTLED(String, artist, setArtist)
    SETTLED(String, genre, setGenre)
    SETTLED(String, locationkind, setLocationkind)
    SETTLED(String, description, setDescription)
    SETTLED(String, composer, setComposer)
    SETTLED(String, episodeID, setEpisodeID)
    SETTLED(String, episodeShow, setEpisodeShow)
    SETTLED(String, albumArtist, setAlbumArtist)
    SETTLED(String, comments, setComments)
    SETTLED(String, nscategory, setNscategory)
    SETTLED(String, grouping, setGrouping)
    SETTLED(String, lyrics, setLyrics)
    SETTLED(String, tvshowNetWork, setTvshowNetWork)
    SETTLED(String, copyright, setCopyright)
    SETTLED(String, feedURL, setFeedURL)
    SETTLED(String, seriesName, setSeriesName)
    SETTLED(String, podcastIdentifier, setPodcastIdentifier)
    SETTLED(String, iTunesAccount, setITunesAccount)
    // clang-format on
#undef SETTLED
    ASSERT_EQ(names.size(), 81U);
    ASSERT_EQ(MediaBase::fields().size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(MediaBase::fields()[i].name, names[i]);
}

TEST(MediaBase, EveryFieldReadsBackWhatWasWritten)
{
    MediaBase record;
    fill(record);
    int seed = 0;
    for (const MediaField &field : MediaBase::fields()) {
        const Value expected = sampleFor(field, ++seed);
        if (field.kind == Value::Kind::Object)
            EXPECT_EQ(*field.get(record).object().as<int>(), seed);
        else
            EXPECT_EQ(field.get(record), expected) << field.name;
    }
}

TEST(MediaBase, AccessorsAndTheListReachTheSameFields)
{
    MediaBase record;
    record.setId(7);
    record.setTitle("A");
    record.setBPM(120);
    record.setITunesAccount("me");
    record.setArtwork_length(9);
    record.setIsSynced(true);
    record.setResolution({3, 4});
    EXPECT_EQ(fieldNamed("Id").get(record), Value(7));
    EXPECT_EQ(fieldNamed("title").get(record), Value("A"));
    EXPECT_EQ(fieldNamed("BPM").get(record), Value(120));
    EXPECT_EQ(fieldNamed("iTunesAccount").get(record), Value("me"));
    EXPECT_EQ(fieldNamed("artwork_length").get(record), Value(9));
    EXPECT_EQ(fieldNamed("isSynced").get(record), Value(true));
    EXPECT_EQ(fieldNamed("resolution").get(record).dictionary()["height"], Value(4.0));
}

TEST(MediaBase, ACopyCarriesEveryFieldButDbSizeAndTitleSort)
{
    MediaBase record;
    fill(record);
    record.setDbSize(5000);
    record.setTitleSort("B");
    const auto copy = record.clone();
    for (const MediaField &field : MediaBase::fields()) {
        const std::string name = field.name;
        EXPECT_EQ(field.isCopied, name != "dbSize" && name != "titleSort");
        if (field.isCopied) {
            EXPECT_EQ(field.get(*copy), field.get(record)) << name;
        }
    }
    EXPECT_EQ(copy->dbSize(), 0);
    EXPECT_TRUE(copy->titleSort().isNull());
}

TEST(MediaBase, ACopyKeepsItsTextAndSharesItsArtwork)
{
    MediaBase record;
    record.setTitle("before");
    record.setArtworkObj(Object::of(1));
    const auto copy = record.copy();
    record.setTitle("after");
    EXPECT_EQ(copy->title(), "before");
    EXPECT_TRUE(isSameObject(copy->artworkObj(), record.artworkObj()));
}

TEST(MediaBase, AnEmptyMimeTypeAndAnAbsentOneAreBothCopied)
{
    MediaBase record;
    EXPECT_TRUE(record.copy()->mimeType() == "");
    record.setMimeType(nullptr);
    EXPECT_TRUE(record.copy()->mimeType().isNull());
}

TEST(MediaBase, ACopyOfADerivedRecordIsOfItsClassWithoutItsOwnFields)
{
    Episode episode;
    episode.setTitle("One");
    episode.chapter = 4;
    const auto copy = std::dynamic_pointer_cast<Episode>(episode.clone());
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->title(), "One");
    EXPECT_EQ(copy->chapter, 0);
}

TEST(MediaBase, LastPlayAndSkipDatesAreOtherNames)
{
    MediaBase record;
    record.setLastPlayDate(Date(10));
    EXPECT_EQ(record.playedDate(), Date(10));
    record.setPlayedDate(Date(20));
    EXPECT_EQ(record.lastPlayDate(), Date(20));
    record.setLastSkipDate(Date(30));
    EXPECT_EQ(record.skippedDate(), Date(30));
    record.setSkippedDate(Date(40));
    EXPECT_EQ(record.lastSkipDate(), Date(40));
}

TEST(MediaBase, NilMakesAFieldAbsentAndValuesAreConverted)
{
    MediaBase record;
    fill(record);
    fieldNamed("title").set(record, NullObject());
    fieldNamed("year").set(record, "2012-05-03");
    fieldNamed("playedDate").set(record, 978307200);
    fieldNamed("isCloud").set(record, 0);
    fieldNamed("persistentID").set(record, 42);
    fieldNamed("fileSize").set(record, nullptr);
    EXPECT_TRUE(record.title().isNull());
    EXPECT_EQ(record.year(), 2012);
    EXPECT_EQ(record.playedDate(), Date(0.0));
    EXPECT_FALSE(record.isCloud());
    EXPECT_EQ(record.persistentID(), "42");
    EXPECT_EQ(record.fileSize(), 0);
}

TEST(MediaBase, ARecordWithWhatItAllocatesIsSmall)
{
    const MediaBase first; // makes the fields that new ones share
    const std::size_t before = allocatedBytes;
    const auto record = std::make_shared<MediaBase>();
    EXPECT_LE(allocatedBytes - before, 64U) << "a new one shares its fields with the others";
    record->setYear(2012);
    EXPECT_LE(allocatedBytes - before, 640U);
}

TEST(MediaBase, ACopyAllocatesOnlyItselfAndTheFirstChangeTheRest)
{
    MediaBase record;
    fill(record);
    const std::size_t before = allocations;
    const std::size_t bytesBefore = allocatedBytes;
    const auto copy = record.copy();
    EXPECT_EQ(allocations - before, 1U);
    EXPECT_LE(allocatedBytes - bytesBefore, 64U);
    copy->setYear(2000);
    copy->setBPM(99);
    copy->setTitle(nullptr);
    EXPECT_EQ(allocations - before, 2U);
}

TEST(MediaBase, ACopyAndItsSourceChangeApart)
{
    MediaBase record;
    fill(record);
    const int year = record.year();
    const auto copy = record.copy();
    const auto other = record.copy();
    record.setYear(1);
    copy->setYear(2);
    copy->setDbSize(7);
    EXPECT_EQ(record.year(), 1);
    EXPECT_EQ(copy->year(), 2);
    EXPECT_EQ(other->year(), year);
    EXPECT_EQ(other->dbSize(), 0);
    EXPECT_EQ(MediaBase().year(), 0);
    for (const MediaField &field : MediaBase::fields()) {
        if (field.isCopied && std::string_view(field.name) != "year") {
            EXPECT_EQ(field.get(*copy), field.get(record)) << field.name;
        }
    }
}

TEST(MediaBase, ACopyMayBeUsedOnAnotherThread)
{
    MediaBase record;
    fill(record);
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([copy = record.copy(), i] {
            for (int k = 0; k < 1000; ++k) {
                copy->setYear(i);
                EXPECT_EQ(copy->copy()->year(), i);
            }
        });
    for (int k = 0; k < 1000; ++k)
        record.setYear(k);
    for (std::thread &thread : threads)
        thread.join();
}

TEST(MediaBase, TheInitialValuesOfADerivedRecordStayWhereNothingIsCopied)
{
    struct Sized : MediaBase {
        Sized() { setDbSize(11); }

    protected:
        std::shared_ptr<MediaBase> newInstance() const override { return std::make_shared<Sized>(); }
    };
    Sized record;
    record.setDbSize(5000);
    EXPECT_EQ(record.copy()->dbSize(), 11);
}

TEST(MediaBase, EveryFieldOfTheListHasAccessorsAndAPlaceInTheEnumeration)
{
    std::vector<std::string> names;
#define FIELD(type, name, setter, initial, copied)                                                                     \
    names.emplace_back(#name);                                                                                         \
    static_assert(std::is_same_v<decltype(MediaBase().name()), const type &>);                                         \
    static_assert(std::is_same_v<decltype(&MediaBase::setter), void (MediaBase::*)(type)>);
#include <kelvane/media/detail/MediaBaseFields.def>
    ASSERT_EQ(names.size(), MediaBase::fields().size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(names[i], MediaBase::fields()[i].name);
}
