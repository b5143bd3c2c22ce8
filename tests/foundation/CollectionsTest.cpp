// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Value.h>

#include <gtest/gtest.h>

#include <latch>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>

using kelvane::Array;
using kelvane::Dictionary;
using kelvane::NullObject;
using kelvane::String;
using kelvane::Value;

TEST(Array, NullAndEmptyAreDifferent)
{
    EXPECT_TRUE(Array().isNull());
    EXPECT_FALSE(Array::empty().isNull());
    EXPECT_FALSE(Array() == Array::empty());
    EXPECT_TRUE(Array{}.isNull()); // as every default-made value is
    EXPECT_TRUE(Array::empty() == Array::empty());
    EXPECT_EQ(Array().begin(), Array().end());
    EXPECT_FALSE(Array().contains(1));
    EXPECT_EQ(Array().description(), "(null)");
}

TEST(Array, WritingToANullArrayMakesIt)
{
    Array array;
    array.append(1);
    EXPECT_FALSE(array.isNull());
    EXPECT_EQ(array.size(), 1U);
}

TEST(Array, ChangesOneCopyOnly)
{
    Array first{1, 2, 3};
    Array second = first;
    EXPECT_TRUE(isSameObject(first, second));
    second.set(1, "two");
    second.insert(0, 0);
    second.removeAt(3);
    EXPECT_EQ(first.description(), "(1, 2, 3)");
    EXPECT_EQ(second.description(), "(0, 1, two)");
    EXPECT_TRUE(second.contains("two"));
}

TEST(Array, NilIsNoElement)
{
    Array array{Value()};
    array.append(Value());
    EXPECT_TRUE(array[0].isNullObject());
    EXPECT_TRUE(array[1].isNullObject());
}

TEST(Array, ComparesElementsInOrder)
{
    EXPECT_TRUE((Array{1, "a"}) == (Array{1.0, "a"}));
    EXPECT_FALSE((Array{1, 2}) == (Array{2, 1}));
    EXPECT_FALSE((Array{1}) == (Array{1, 2}));
}

TEST(Dictionary, NullAndEmptyAreDifferent)
{
    EXPECT_TRUE(Dictionary().isNull());
    EXPECT_FALSE(Dictionary::empty().isNull());
    EXPECT_FALSE(Dictionary() == Dictionary::empty());
    EXPECT_TRUE(Dictionary()["key"].isNil());
    EXPECT_FALSE(Dictionary().contains("key"));
}

TEST(Dictionary, MissingKeyIsNilAndStoredNullObjectIsNot)
{
    const Dictionary dictionary{{"present", NullObject{}}};
    EXPECT_TRUE(dictionary["present"].isNullObject());
    EXPECT_TRUE(dictionary.contains("present"));
    EXPECT_TRUE(dictionary["absent"].isNil());
    EXPECT_FALSE(dictionary.contains("absent"));
}

TEST(Dictionary, StoringNilRemovesTheKey)
{
    Dictionary dictionary{{"a", 1}, {"b", 2}};
    dictionary.set("a", Value());
    dictionary.set("never there", Value());
    EXPECT_EQ(dictionary.size(), 1U);
    EXPECT_FALSE(dictionary.contains("a"));
}

TEST(Dictionary, ChangesOneCopyOnly)
{
    Dictionary first{{"a", 1}};
    Dictionary second = first;
    second.set("a", 2);
    second.set("b", 3);
    EXPECT_EQ(first.description(), "{a = 1}");
    EXPECT_EQ(second.description(), "{a = 2; b = 3}");
    second.remove("a");
    EXPECT_TRUE(first.contains("a"));
}

TEST(Dictionary, OrderPlaysNoPartInEquality)
{
    EXPECT_TRUE((Dictionary{{"a", 1}, {"b", 2}}) == (Dictionary{{"b", 2}, {"a", 1}}));
    EXPECT_FALSE((Dictionary{{"a", 1}}) == (Dictionary{{"a", 2}}));
    EXPECT_FALSE((Dictionary{{"a", 1}}) == (Dictionary{{"b", 1}}));
}

TEST(Dictionary, RowsShareTheirNames)
{
    const std::vector<String> names{"id", "title", "id"};
    const Dictionary::KeySet keys(names);
    EXPECT_EQ(keys.size(), 2U);
    EXPECT_EQ(keys.indexOf("title"), 1U);
    EXPECT_EQ(keys.indexOf("none"), 2U);
    Dictionary first = Dictionary::of(keys, [](std::size_t place) { return place == 0 ? Value(1) : Value("one"); });
    const Dictionary second =
        Dictionary::of(keys, [](std::size_t place) { return place == 0 ? Value(2) : Value("two"); });
    EXPECT_TRUE(isSameObject(first.keyAt(1), second.keyAt(1)));
    first.set("extra", true); // takes a key set of its own
    EXPECT_FALSE(second.contains("extra"));
    EXPECT_EQ(second["title"].string(), "two");
}

TEST(Dictionary, ARowIsMadeInPlaceInTheOrderOfItsNames)
{
    const std::vector<String> names{"id", "title", "rest"};
    const Dictionary::KeySet keys(names);
    std::vector<std::size_t> places;
    Dictionary row = Dictionary::of(keys, [&](std::size_t place) {
        places.push_back(place);
        return place == 0 ? Value(7) : place == 1 ? Value("text") : Value(NullObject{});
    });
    EXPECT_EQ(places, (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_TRUE(row == (Dictionary{{"id", 7}, {"title", "text"}, {"rest", NullObject{}}}));
    const Dictionary before = row;
    row.set("more", 1); // a row is as large as its names: it moves to grow
    row.remove("id");
    EXPECT_EQ(row.size(), 3U);
    EXPECT_TRUE(row == (Dictionary{{"title", "text"}, {"rest", NullObject{}}, {"more", 1}}));
    EXPECT_EQ(before["id"].intValue(), 7);
    EXPECT_TRUE(Dictionary::of(Dictionary::KeySet(std::vector<String>()), [](std::size_t) { return Value(1); })
        == Dictionary::empty());
}

TEST(Dictionary, ARowWhoseMakerThrowsLeavesNothing)
{
    const auto witness = std::make_shared<int>(1);
    const std::vector<String> names{"first", "second", "third"};
    const Dictionary::KeySet keys(names);
    EXPECT_THROW((void)Dictionary::of(keys,
                     [&](std::size_t place) -> Value {
                         if (place == 2)
                             throw std::runtime_error("no third");
                         return kelvane::Object(witness);
                     }),
        std::runtime_error);
    EXPECT_EQ(witness.use_count(), 1);
}

TEST(Dictionary, AgreesWithAMapUnderRandomChanges)
{
    std::mt19937 random(20260301);
    std::map<std::string, int> oracle;
    Dictionary dictionary = Dictionary::empty();
    for (int step = 0; step < 20000; ++step) {
        const std::string key = "key" + std::to_string(random() % 200);
        if (random() % 3 == 0) {
            oracle.erase(key);
            dictionary.remove(key);
        } else {
            oracle[key] = step;
            dictionary.set(key, step);
        }
        ASSERT_EQ(dictionary.size(), oracle.size());
        const std::string probe = "key" + std::to_string(random() % 200);
        ASSERT_EQ(dictionary.contains(probe), oracle.contains(probe));
        if (oracle.contains(probe)) {
            ASSERT_EQ(dictionary[probe], Value(oracle[probe]));
        }
    }
}

TEST(CopyOnWrite, TwoThreadsChangeTheirOwnCopies)
{
    for (int round = 0; round < 200; ++round) {
        Array array{1, 2, 3};
        Dictionary dictionary{{"a", 1}};
        std::latch start(2);
        const auto change = [&start](Array ownArray, Dictionary ownDictionary, int id) {
            start.arrive_and_wait();
            for (int i = 0; i < 50; ++i) {
                ownArray.append(id);
                ownDictionary.set("a", id);
            }
            EXPECT_EQ(ownArray.size(), 53U);
            EXPECT_EQ(ownArray[52], Value(id));
            EXPECT_EQ(ownDictionary["a"], Value(id));
        };
        std::thread first(change, array, dictionary, 1);
        std::thread second(change, std::move(array), std::move(dictionary), 2);
        first.join();
        second.join();
    }
}
