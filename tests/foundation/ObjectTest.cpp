// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/detail/AtomicProperty.h>
#include <kelvane/foundation/Object.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

using kelvane::Block;
using kelvane::Object;

namespace {
struct Track {
    std::string title;
};
} // namespace

TEST(Object, CastsBackToTheVeryType)
{
    const auto track = std::make_shared<Track>(Track{"A"});
    const Object object(track);
    EXPECT_EQ(object.as<Track>(), track);
    EXPECT_EQ(object.as<const Track>(), track);
    EXPECT_EQ(object.as<std::string>(), nullptr);
    EXPECT_EQ(Object(std::shared_ptr<const Track>(track)).as<Track>(), nullptr);
    EXPECT_EQ(Object(std::shared_ptr<const Track>(track)).as<const Track>(), track);
}

TEST(Object, IdentityIsThatOfTheObjectNotOfTheReference)
{
    const auto track = std::make_shared<Track>();
    EXPECT_TRUE(isSameObject(Object(track), Object(track)));
    EXPECT_EQ(Object(track), Object(track));
    EXPECT_FALSE(Object(track) == Object(std::make_shared<Track>()));
    EXPECT_TRUE(Object() == nullptr);
    EXPECT_TRUE(Object(std::shared_ptr<Track>()).isNull());
}

TEST(Object, KeepsItsObjectAlive)
{
    std::weak_ptr<Track> watched;
    {
        auto track = std::make_shared<Track>();
        watched = track;
        Object object(std::move(track));
        const Object copy = object;
        object = nullptr;
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
}

TEST(Object, HoldsPlainValues)
{
    EXPECT_EQ(*Object::of(std::string("state")).as<std::string>(), "state");
}

TEST(Block, CopiesAreTheSameBlockAndOthersAreNot)
{
    const auto body = [](int value) { return value + 1; };
    const Block<int(int)> block(body);
    const Block<int(int)> copy = block;
    const Block<int(int)> other(body);
    EXPECT_EQ(block(1), 2);
    EXPECT_TRUE(isSameObject(block, copy));
    EXPECT_FALSE(isSameObject(block, other));
    EXPECT_TRUE((Block<int(int)>() == nullptr));
    EXPECT_FALSE(block == nullptr);
}

TEST(Block, TakesCallablesThatOnlyMove)
{
    Block<int()> block([owned = std::make_unique<int>(7)] { return *owned; });
    const auto copy = block;
    block = nullptr;
    EXPECT_EQ(copy(), 7);
}

TEST(Block, MayDropTheLastReferenceToItselfWhileItRuns)
{
    Block<void()> block;
    auto marker = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = marker;
    block = [&block, &watched, marker = std::move(marker)] {
        block = nullptr;
        EXPECT_FALSE(watched.expired());
    };
    block();
    EXPECT_TRUE(watched.expired());
}

TEST(AtomicProperty, ReadersGetWholeValuesWhileWritersReplaceThem)
{
    kelvane::detail::AtomicProperty<std::shared_ptr<const std::string>> property(
        std::make_shared<const std::string>(1000, 'a'));
    std::thread writer([&property] {
        for (int i = 0; i < 2000; ++i)
            property.set(std::make_shared<const std::string>(1000, static_cast<char>('a' + i % 26)));
    });
    for (int i = 0; i < 2000; ++i) {
        const auto value = property.get();
        ASSERT_EQ(value->find_first_not_of(value->front()), std::string::npos);
    }
    writer.join();
}
