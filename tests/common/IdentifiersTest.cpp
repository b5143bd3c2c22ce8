// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Guid.h>
#include <kelvane/common/RandomIdentifier.h>

#include <gtest/gtest.h>

#include <latch>
#include <numeric>
#include <set>
#include <thread>

namespace kelvane {
namespace {

constexpr const char *text = "00010203-0405-0607-0809-0A0B0C0D0E0F";

Data sixteenBytes()
{
    std::uint8_t bytes[16];
    std::iota(std::begin(bytes), std::end(bytes), std::uint8_t{0});
    return Data(bytes, sizeof bytes);
}

TEST(Guid, IsNewEachTime)
{
    EXPECT_NE(Guid().UUIDString(), Guid().UUIDString());
    EXPECT_EQ(Guid::UUID()->UUIDString().size(), 36U);
}

TEST(Guid, OfBytesShowsThemInTheirOrder)
{
    const auto guid = Guid::initWithUUIDBytes(reinterpret_cast<const std::uint8_t *>(sixteenBytes().view().data()));
    EXPECT_EQ(guid->UUIDString(), text);
    EXPECT_EQ(guid->UUIDData(), sixteenBytes());
    EXPECT_EQ(Guid::initWithUUIDBytes(nullptr), nullptr);
}

TEST(Guid, OfDataTakesTheFirstSixteenBytes)
{
    std::string bytes(sixteenBytes().view());
    bytes += "more";
    EXPECT_EQ(Guid::uuidWithData(Data(bytes.data(), bytes.size()))->UUIDString(), text);
    EXPECT_EQ(Guid::uuidWithData(Data(bytes.data(), 15)), nullptr);
    EXPECT_EQ(Guid::uuidWithData(Data()), nullptr);
}

TEST(Guid, OfATextReadsEitherCase)
{
    EXPECT_EQ(Guid::initWithUUIDString("00010203-0405-0607-0809-0a0b0c0d0e0f")->UUIDString(), text);
    EXPECT_EQ(Guid::initWithUUIDString(nullptr), nullptr);
}

TEST(Guid, OfATextThatIsNoneHoldsNoUuid)
{
    const auto guid = Guid::initWithUUIDString("not-a-guid");
    ASSERT_NE(guid, nullptr);
    EXPECT_TRUE(guid->UUIDString().isNull());
    std::uint8_t buffer[16] = {42};
    guid->getUUIDBytes(buffer);
    EXPECT_EQ(buffer[0], 42);
    EXPECT_EQ(guid->UUIDData().size(), 16U);
}

TEST(Guid, OfAUuidKeepsIt)
{
    EXPECT_EQ(Guid::initWithCFUUIDRef(Uuid::fromString(text))->UUIDString(), text);
    EXPECT_EQ(Guid::initWithCFUUIDRef(std::nullopt), nullptr);
}

TEST(Guid, ValueToGuidStringLeavesTextsAlone)
{
    EXPECT_EQ(Guid::valueToGuidString("not-a-guid"), "not-a-guid");
    EXPECT_EQ(Guid::valueToGuidString(sixteenBytes()), text);
    EXPECT_EQ(Guid::valueToGuidString(Object(Guid::initWithUUIDString(text))), text);
    EXPECT_EQ(Guid::valueToGuidString(Object(std::shared_ptr<const Guid>(Guid::initWithUUIDString(text)))), text);
    EXPECT_TRUE(Guid::valueToGuidString(7).isNull());
    EXPECT_TRUE(Guid::valueToGuidString(nullptr).isNull());
    EXPECT_TRUE(Guid::valueToGuidString(Object::of(7)).isNull());
    EXPECT_TRUE(Guid::valueToGuidString(Data("short", 5)).isNull());
}

TEST(Guid, TheHostIsLittleEndian)
{
    EXPECT_TRUE(IsLittleEndian());
}

TEST(RandomIdentifier, IsOneForAllThreads)
{
    std::latch start(2);
    RandomIdentifier *seen[2] = {};
    {
        std::thread other([&] {
            start.arrive_and_wait();
            seen[0] = &RandomIdentifier::defaultRandom();
        });
        start.arrive_and_wait();
        seen[1] = &RandomIdentifier::defaultRandom();
        other.join();
    }
    EXPECT_EQ(seen[0], seen[1]);
}

TEST(RandomIdentifier, NumbersCoverBothSigns)
{
    std::set<std::int32_t> numbers;
    for (int i = 0; i < 200; ++i)
        numbers.insert(RandomIdentifier::defaultRandom().next());
    EXPECT_GT(numbers.size(), 190U);
    EXPECT_LT(*numbers.begin(), 0);
    EXPECT_GT(*numbers.rbegin(), 0);
}

} // namespace
} // namespace kelvane
