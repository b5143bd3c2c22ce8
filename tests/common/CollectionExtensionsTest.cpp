// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/CollectionExtensions.h>

#include <kelvane/platform/FileHandle.h>
#include <tests/support/MediaFiles.h>

#include <gtest/gtest.h>

#include <fstream>

namespace kelvane {
namespace {

Data bytes(std::string_view text)
{
    return Data(text.data(), text.size());
}

TEST(CollectionExtensions, ContainsKeyFindsKeysOnly)
{
    const Dictionary dictionary{{"a", 1}};
    EXPECT_TRUE(containsKey(dictionary, "a"));
    EXPECT_FALSE(containsKey(dictionary, "b"));
    EXPECT_FALSE(containsKey(dictionary, nullptr));
    EXPECT_FALSE(containsKey(Dictionary(), "a"));
}

TEST(CollectionExtensions, BinaryAndXmlDataReadBackAsTheDictionary)
{
    const Dictionary dictionary{{"name", "\xC3\xA9"}, {"count", 7}, {"list", Array{true, 1.5}}};
    EXPECT_EQ(toBinData(dictionary).view().substr(0, 8), "bplist00");
    EXPECT_EQ(fromBinData(toBinData(dictionary)), Value(dictionary));
    EXPECT_NE(toXmlData(dictionary).view().find("<string>\xC3\xA9</string>"), std::string_view::npos);
    EXPECT_EQ(fromBinData(toXmlData(dictionary)), Value(dictionary));
}

TEST(CollectionExtensions, WhatNoPropertyListHoldsGivesNoData)
{
    EXPECT_TRUE(toBinData(Dictionary()).isNull());
    EXPECT_TRUE(toXmlData(Dictionary()).isNull());
    EXPECT_TRUE(toBinData(Dictionary{{"a", NullObject{}}}).isNull());
    EXPECT_TRUE(toXmlData(Dictionary{{"a", Array{Object::of(1)}}}).isNull());
    EXPECT_FALSE(toBinData(Dictionary::empty()).isNull());
}

TEST(CollectionExtensions, SetKeyTakesTheKeyFirst)
{
    Dictionary dictionary = Dictionary::empty();
    setKey(dictionary, "key", "value");
    EXPECT_EQ(dictionary, (Dictionary{{"key", "value"}}));
}

TEST(CollectionExtensions, SetKeyWithoutAKeyOrAValueChangesNothing)
{
    Dictionary dictionary{{"key", "value"}};
    setKey(dictionary, "key", nullptr);
    setKey(dictionary, nullptr, "other");
    EXPECT_EQ(dictionary, (Dictionary{{"key", "value"}}));
}

TEST(CollectionExtensions, FirstObjectOfAnEmptyArrayIsNil)
{
    EXPECT_EQ(firstObject(Array{"a", "b"}), Value("a"));
    EXPECT_TRUE(firstObject(Array::empty()).isNil());
    EXPECT_TRUE(firstObject(nullptr).isNil());
}

TEST(CollectionExtensions, FindGivesWhatSortsFirst)
{
    const auto byNumber = [](const Value &a, const Value &b) { return a.intValue() - b.intValue(); };
    EXPECT_EQ(find(Array{3, 1, 2}, byNumber), Value(1));
    EXPECT_EQ(find(Array{"2", "1b", "1a"}, byNumber), Value("1b")); // the first of equal ones
    EXPECT_TRUE(find(Array::empty(), byNumber).isNil());
}

TEST(CollectionExtensions, TrimObjectLeavesEmptyTextsOut)
{
    EXPECT_EQ(trimObject(Array{" a ", "", " \n", "b", 3}), (Array{"a", "b"}));
    EXPECT_EQ(trimObject(Array::empty()), Array::empty());
    EXPECT_TRUE(trimObject(nullptr).isNull());
}

TEST(CollectionExtensions, FromXmlDataReadsStringsFilesOnly)
{
    EXPECT_EQ(fromXmlData(bytes("key = value;")), (Dictionary{{"key", "value"}}));
    EXPECT_TRUE(fromXmlData(toXmlData(Dictionary{{"a", 1}})).isNull());
    EXPECT_TRUE(fromXmlData(bytes("key = \"\xFF\";")).isNull());
    EXPECT_TRUE(fromXmlData(Data()).isNull());
}

TEST(CollectionExtensions, FromDataTriesTheStringsFileFirst)
{
    EXPECT_EQ(fromData(bytes("key = value;")), Value(Dictionary{{"key", "value"}}));
    EXPECT_EQ(fromData(toXmlData(Dictionary{{"a", 1}})), Value(Dictionary{{"a", 1}}));
    EXPECT_EQ(fromData(toBinData(Dictionary{{"a", 1}})), Value(Dictionary{{"a", 1}}));
    EXPECT_TRUE(fromData(bytes("no list")).isNil());
    EXPECT_TRUE(fromData(Data()).isNil());
    EXPECT_TRUE(fromBinData(Data()).isNil());
}

TEST(CollectionExtensions, IntegersAreFourBytesInHostOrder)
{
    const testsupport::TemporaryFolder folder;
    std::ofstream(folder.path("numbers")).put('\0').flush();
    {
        const auto file = FileHandle::forUpdating(folder.string("numbers"));
        ASSERT_TRUE(file);
        EXPECT_TRUE(writeInt(*file, 0x01020304));
        EXPECT_TRUE(writeInt(*file, -2));
        EXPECT_TRUE(file->write(std::as_bytes(std::span("abc", 3))));
    }
    EXPECT_EQ(testsupport::readAll(folder.path("numbers")),
        "\x04\x03\x02\x01\xFE\xFF\xFF\xFF"
        "abc");
    const auto file = FileHandle::forReading(folder.string("numbers"));
    ASSERT_TRUE(file);
    EXPECT_EQ(readInt32(*file), 0x01020304);
    EXPECT_EQ(readInt32(*file), -2);
    EXPECT_EQ(readInt32(*file), std::nullopt);
    EXPECT_FALSE(writeInt(*file, 1));
    EXPECT_EQ(FileHandle::forReading(folder.string("none")), nullptr);
    EXPECT_EQ(FileHandle::forReading(nullptr), nullptr);
}

} // namespace
} // namespace kelvane
