// SPDX-License-Identifier: Apache-2.0
#include "Songs.h"

#include <kelvane/foundation/Exception.h>

#include <gtest/gtest.h>

using namespace kelvane;
using namespace kelvane::testsupport;

TEST(TypedDataItem, TempleClassGivesNewRecordsOfItsType)
{
    const SongItem item;
    const Object a = item.templeClass()();
    EXPECT_TRUE(a.as<Song>());
    EXPECT_NE(item.templeClass()(), a);
}

TEST(TypedDataItem, CopyRecordGivesAnIndependentCopyAndNullOfNull)
{
    const SongItem item;
    const auto song = std::make_shared<Song>(Song{"Blue"});
    const auto copy = item.copyRecord(song).as<Song>();
    ASSERT_TRUE(copy);
    EXPECT_NE(copy, song);
    EXPECT_EQ(copy->title, "Blue");
    EXPECT_FALSE(item.copyRecord(nullptr));
}

TEST(TypedDataItem, CopyRecordCopiesAConstRecord)
{
    const SongItem item;
    const auto copy = item.copyRecord(std::make_shared<const Song>(Song{"Blue"})).as<Song>();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->title, "Blue");
}

TEST(TypedDataItem, ARecordOfAnotherTypeIsNoRecordOfItsTypeAndRaisesWhenCopied)
{
    SongItem item;
    static_cast<DataItem &>(item).setRecord(Object::of(7));
    EXPECT_FALSE(item.record());
    try {
        item.beginEdit();
        FAIL() << "nothing raised";
    } catch (const Exception &exception) {
        EXPECT_EQ(exception.name(), "InvalidArgumentException");
    }
    EXPECT_FALSE(item.tempRecord());
}

TEST(TypedDataItem, RecordsAreReadAndSetByTheirType)
{
    const auto list = std::make_shared<DataItemList>();
    const auto item = std::make_shared<SongItem>();
    list->addItem(item);
    EXPECT_FALSE(item->originalRecord());
    const auto song = std::make_shared<Song>(Song{"Blue"});
    item->setRecord(song);
    EXPECT_EQ(item->record(), song);
    item->acceptChanges();
    EXPECT_EQ(item->originalRecord(), song);
}
