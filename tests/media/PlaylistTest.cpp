// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/PlaylistRecord.h>

#include <kelvane/common/Utils.h>
#include <kelvane/platform/CalendarDate.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

using namespace kelvane;

namespace {

using Items = std::shared_ptr<PlaylistItems>;

Items threeItems()
{
    auto items = std::make_shared<PlaylistItems>();
    for (int i = 0; i < 3; ++i)
        items->add(Object::of(i));
    return items;
}

// A value for a field of each type that differs from its initial one.
void sample(std::int64_t &value, int seed)
{
    value = -1000 - seed;
}
void sample(std::uint64_t &value, int seed)
{
    value = ~std::uint64_t{0} - static_cast<std::uint64_t>(seed);
}
void sample(std::int32_t &value, int seed)
{
    value = seed;
}
void sample(bool &value, int /*seed*/)
{
    value = true;
}
void sample(String &value, int seed)
{
    value = "text " + std::to_string(seed);
}
void sample(Data &value, int seed)
{
    const std::string bytes(3, static_cast<char>(seed));
    value = Data(bytes.data(), bytes.size());
}
void sample(Date &value, int seed)
{
    value = Date(1000.0 + seed);
}
void sample(Items &value, int /*seed*/)
{
    value = threeItems();
}

void fill(PlaylistBase &record)
{
    int seed = 0;
#define FIELD(type, name, setter)                                                                                      \
    {                                                                                                                  \
        type value{};                                                                                                  \
        sample(value, ++seed);                                                                                         \
        record.setter(value);                                                                                          \
    }
#include <kelvane/media/detail/PlaylistFields.def>
}

struct Station : PlaylistRecord {
    int listeners = 0;

protected:
    std::shared_ptr<PlaylistBase> newInstance() const override { return std::make_shared<Station>(); }
};

} // namespace

TEST(Playlist, HasTheTwentyFourSettledFieldsInTheirOrder)
{
    std::vector<std::string> names;
#define FIELD(type, name, setter) names.emplace_back(#name);
#include <kelvane/media/detail/PlaylistFields.def>
    // Written out once more: the list in the code is what this is held against.
    std::vector<std::string> settled;
#define SETTLED(type, name, setter)                                                                                    \
    static_assert(std::is_same_v<decltype(PlaylistBase().name()), const type &>);                                      \
    static_assert(std::is_invocable_v<decltype(&PlaylistBase::setter), PlaylistBase &, type>);                         \
    settled.emplace_back(#name);
    // clang-format off
    SETTLED(std::int64_t, pid, setPid)
    SETTLED(String, title, setTitle)
    SETTLED(bool, IsSmart, setIsSmart)
    SETTLED(bool, IsFolder, setIsFolder)
    SETTLED(bool, IsMaster, setIsMaster)
    SETTLED(bool, IsHidden, setIsHidden)
    SETTLED(std::int64_t, parentid, setParentid)
    SETTLED(Data, smartCriteria, setSmartCriteria)
    SETTLED(Data, smartInfo, setSmartInfo)
    SETTLED(std::uint64_t, kind, setKind)
    SETTLED(Date, createTime, setCreateTime)
    SETTLED(Date, modifiedTime, setModifiedTime)
    SETTLED(bool, shuffled, setShuffled)
    SETTLED(bool, reversed, setReversed)
    SETTLED(std::int32_t, playOrder, setPlayOrder)
    SETTLED(bool, shuffleItems, setShuffleItems)
    SETTLED(std::int64_t, distinguishedKind, setDistinguishedKind)
    SETTLED(String, description, setDescription)
    SETTLED(std::int32_t, albumFieldOrder, setAlbumFieldOrder)
    SETTLED(std::int32_t, nameOrder, setNameOrder)
    SETTLED(std::int32_t, mediakind, setMediakind)
    SETTLED(std::int32_t, podcastFlag, setPodcastFlag)
    SETTLED(bool, isFromDB, setIsFromDB)
    SETTLED(Items, items, setItems)
    // clang-format on
#undef SETTLED
    EXPECT_EQ(settled.size(), 24U);
    EXPECT_EQ(names, settled);
}

TEST(Playlist, ANewRecordHasEverythingZeroFalseOrAbsent)
{
    const PlaylistRecord record;
    // NOLINTNEXTLINE(bugprone-macro-parentheses): a type cannot stand in them
#define FIELD(type, name, setter) EXPECT_EQ(record.name(), type{}) << #name;
#include <kelvane/media/detail/PlaylistFields.def>
    EXPECT_TRUE(record.title().isNull());
    EXPECT_TRUE(record.smartInfo().isNull());
    EXPECT_TRUE(record.createTime().isNull());
    EXPECT_EQ(record.items(), nullptr);
}

TEST(Playlist, EveryFieldReadsBackWhatWasWritten)
{
    PlaylistBase record;
    fill(record);
    int seed = 0;
#define FIELD(type, name, setter)                                                                                      \
    {                                                                                                                  \
        type value{};                                                                                                  \
        sample(value, ++seed);                                                                                         \
        if constexpr (!std::is_same_v<type, Items>) {                                                                  \
            EXPECT_EQ(record.name(), value) << #name;                                                                  \
        }                                                                                                              \
    }
#include <kelvane/media/detail/PlaylistFields.def>
    EXPECT_EQ(record.items()->count(), 3U);
}

TEST(Playlist, ACopyHasEveryFieldOfItsSource)
{
    PlaylistBase record;
    fill(record);
    const auto copy = record.copy();
#define FIELD(type, name, setter)                                                                                      \
    if constexpr (!std::is_same_v<type, Items>) {                                                                      \
        EXPECT_EQ(copy->name(), record.name()) << #name;                                                               \
    }
#include <kelvane/media/detail/PlaylistFields.def>
}

TEST(Playlist, ACopyHasTheSameItemsInTheSameOrderAndKeepsThem)
{
    PlaylistRecord record;
    record.setItems(threeItems());
    const auto copy = record.copy();
    ASSERT_EQ(copy->items()->count(), 3U);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_TRUE(isSameObject(copy->items()->at(i), record.items()->at(i)));
    EXPECT_TRUE(record.items()->add(Object::of(3)));
    EXPECT_EQ(record.items()->count(), 4U);
    EXPECT_EQ(copy->items()->count(), 3U);
}

TEST(Playlist, TheItemsOfACopyCannotBeChangedUntilItGetsANewList)
{
    PlaylistRecord record;
    record.setItems(threeItems());
    const auto copy = record.copy();
    EXPECT_TRUE(copy->items()->isReadOnly());
    EXPECT_FALSE(copy->items()->add(Object::of(9)));
    EXPECT_FALSE(copy->items()->insert(0, Object::of(9)));
    EXPECT_FALSE(copy->items()->removeAt(0));
    EXPECT_FALSE(copy->items()->clear());
    EXPECT_EQ(copy->items()->count(), 3U);
    copy->setItems(std::make_shared<PlaylistItems>(copy->items()->all()));
    EXPECT_TRUE(copy->items()->removeAt(0));
    EXPECT_EQ(copy->items()->count(), 2U);
    EXPECT_EQ(record.items()->count(), 3U);
    EXPECT_FALSE(record.items()->isReadOnly());
}

TEST(Playlist, ACopyOfACopySharesItsSnapshot)
{
    PlaylistRecord record;
    record.setItems(threeItems());
    const auto copy = record.copy();
    EXPECT_EQ(copy->copy()->items(), copy->items());
}

TEST(Playlist, ACopyOfARecordWithoutItemsHasNone)
{
    EXPECT_EQ(PlaylistRecord().copy()->items(), nullptr);
}

TEST(Playlist, TheListIsSharedWithWhoeverGaveIt)
{
    PlaylistRecord record;
    const Items items = threeItems();
    record.setItems(items);
    items->removeAt(1);
    EXPECT_EQ(record.items()->count(), 2U);
}

TEST(Playlist, ACopyIsOfTheRecordsClassWithoutItsOwnFields)
{
    EXPECT_TRUE(std::dynamic_pointer_cast<PlaylistRecord>(PlaylistRecord().copy()));
    EXPECT_FALSE(std::dynamic_pointer_cast<PlaylistRecord>(PlaylistBase().copy()));
    Station station;
    station.setTitle("Radio");
    station.listeners = 5;
    const auto copy = std::dynamic_pointer_cast<Station>(station.copy());
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->title(), "Radio");
    EXPECT_EQ(copy->listeners, 0);
}

TEST(Playlist, ACopyKeepsItsTextWhenTheSourceChanges)
{
    PlaylistRecord record;
    record.setTitle("before");
    const auto copy = record.copy();
    record.setTitle("after");
    EXPECT_EQ(copy->title(), "before");
}

TEST(Playlist, LoadMakesAnOrdinaryPlaylistOfNow)
{
    PlaylistRecord record;
    record.setKind(4);
    const Date before = Utils::NowCalendar().date;
    record.load(7, "Mine");
    const Date after = Utils::NowCalendar().date;
    EXPECT_EQ(record.pid(), 7);
    EXPECT_EQ(record.title(), "Mine");
    EXPECT_EQ(record.kind(), 0U);
    EXPECT_LE(before.secondsSince2001(), record.createTime().secondsSince2001());
    EXPECT_LE(record.createTime().secondsSince2001(), record.modifiedTime().secondsSince2001());
    EXPECT_LE(record.modifiedTime().secondsSince2001(), after.secondsSince2001());
    EXPECT_FALSE(record.IsSmart());
    EXPECT_FALSE(record.IsFolder());
    EXPECT_FALSE(record.IsMaster());
    EXPECT_FALSE(record.IsHidden());
    EXPECT_FALSE(record.shuffled());
    EXPECT_FALSE(record.isFromDB());
}

TEST(Playlist, LoadKeepsTheOtherFields)
{
    PlaylistRecord record;
    record.setIsSmart(true);
    record.setParentid(3);
    record.setItems(threeItems());
    record.load(7, nullptr);
    EXPECT_TRUE(record.IsSmart());
    EXPECT_EQ(record.parentid(), 3);
    EXPECT_EQ(record.items()->count(), 3U);
    EXPECT_TRUE(record.title().isNull());
}

TEST(PlaylistItems, IndexesBehindTheEndAreRefused)
{
    PlaylistItems items;
    EXPECT_FALSE(items.removeAt(0));
    EXPECT_FALSE(items.insert(1, Object::of(1)));
    EXPECT_TRUE(items.insert(0, Object::of(1)));
    EXPECT_TRUE(items.at(1).isNull());
    EXPECT_TRUE(items.clear());
    EXPECT_EQ(items.count(), 0U);
    EXPECT_EQ(PlaylistItems::snapshotOf(nullptr), nullptr);
}
