// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/CollectionExtensions.h>
#include <kelvane/common/StringExtensions.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Value.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <utility>
#include <vector>

namespace {

thread_local int allocations = 0;

} // namespace

// Not inlined: g++ would see free() meet what it takes for another allocator's memory.
[[gnu::noinline]] void *operator new(std::size_t size)
{
    ++allocations;
    void *room = std::malloc(size > 0 ? size : 1);
    return room ? room : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void *room) noexcept
{
    std::free(room);
}
[[gnu::noinline]] void operator delete(void *room, std::size_t) noexcept
{
    std::free(room);
}

namespace kelvane {
namespace {

/// How many allocations `work` makes, for which it is called.
template <class Work>
int allocationsOf(Work work)
{
    const int before = allocations;
    work();
    return allocations - before;
}

TEST(Allocations, AreCounted)
{
    EXPECT_EQ(allocationsOf([] { static_cast<void>(String("text")); }), 1);
    EXPECT_EQ(allocationsOf([] { static_cast<void>(String("a").isEmpty()); }), 1);
}

TEST(Allocations, CopyingAndComparingTextsMakesNone)
{
    const String text = "a text that no small buffer would hold, whatever its size may be";
    const String equal = "a text that no small buffer would hold, whatever its size may be";
    EXPECT_EQ(allocationsOf([&] {
        const String copy = text; // NOLINT(performance-unnecessary-copy-initialization)
        String assigned;
        assigned = copy;
        const String moved = std::move(assigned);
        const Value value = moved;
        EXPECT_TRUE(isSameObject(value.string(), text));
        EXPECT_TRUE(copy == equal);
        EXPECT_TRUE(copy == "a text that no small buffer would hold, whatever its size may be");
        EXPECT_TRUE((text <=> equal) == 0);
        EXPECT_EQ(text.size(), equal.view().size());
    }),
        0);
}

TEST(Allocations, NullAndEmptyTextsMakeNone)
{
    EXPECT_EQ(allocationsOf([] {
        const String null;
        const String empty = "";
        EXPECT_FALSE(null == empty);
        EXPECT_TRUE(isNullOrEmpty(null) && isNullOrEmpty(empty));
    }),
        0);
}

TEST(Allocations, LookingUpInADictionaryMakesNone)
{
    const Dictionary dictionary{{"title", "a text"}, {"count", 7}, {"list", Array{1, 2, 3}}};
    const String key = "title";
    EXPECT_EQ(allocationsOf([&] {
        EXPECT_TRUE(dictionary.contains("count"));
        EXPECT_FALSE(dictionary.contains("none"));
        EXPECT_EQ(dictionary["count"].intValue(), 7);
        EXPECT_TRUE(dictionary["none"].isNil());
        EXPECT_TRUE(containsKey(dictionary, key));
        const String text = dictionary["title"].string();
        EXPECT_EQ(text.size(), 6U);
        EXPECT_EQ(dictionary["list"].array().size(), 3U);
    }),
        0);
}

TEST(Allocations, CopyingADictionaryMakesNoneUntilTheCopyIsChanged)
{
    const Dictionary dictionary{{"title", "a text"}, {"count", 7}};
    Dictionary copy;
    EXPECT_EQ(allocationsOf([&] {
        copy = dictionary;
        EXPECT_TRUE(copy == dictionary);
        const Value value = copy;
        EXPECT_TRUE(isSameObject(value.dictionary(), dictionary));
    }),
        0);
    EXPECT_GT(allocationsOf([&] { copy.set("count", 8); }), 0);
    EXPECT_EQ(dictionary["count"].intValue(), 7);
}

TEST(Allocations, ARowOfAResultIsOne)
{
    const std::vector<String> names{"id", "size", "length"};
    const Dictionary::KeySet keys(names);
    Dictionary row;
    EXPECT_EQ(allocationsOf([&] { row = Dictionary::of(keys, [](std::size_t place) { return Value(place); }); }), 1);
    EXPECT_EQ(row["length"].intValue(), 2);
}

TEST(Allocations, TrimmingWhatNeedsNoneMakesNone)
{
    const String text = "a text that needs no trimming";
    const String other = "other";
    EXPECT_EQ(allocationsOf([&] {
        EXPECT_TRUE(isSameObject(trim(text), text));
        EXPECT_TRUE(isSameObject(trimStart(text, other), text));
        EXPECT_TRUE(isSameObject(trimEnd(text, other), text));
        EXPECT_TRUE(isSameObject(trimQuotedString(text), text));
        EXPECT_FALSE(contains(text, other));
        EXPECT_EQ(fourCharCode(text), 0x61207465U);
    }),
        0);
}

} // namespace
} // namespace kelvane
