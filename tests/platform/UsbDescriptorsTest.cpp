// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/UsbDescriptors.h>

#include <cstdint>
#include <gmock/gmock.h>
#include <random>
#include <vector>

namespace kelvane::detail {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Bytes = std::vector<std::uint8_t>;

const Bytes device{18, 1, 0, 2, 0, 0, 0, 64, 0xAC, 0x05, 0xA8, 0x12, 0, 0, 1, 2, 3, 2};

Bytes configuration(std::uint8_t value)
{
    return {9, 2, 0, 0, 1, value, 0, 0xC0, 250};
}

Bytes interface(std::uint8_t setting, UsbTriple triple, std::uint8_t number = 0)
{
    return {9, 4, number, setting, 0, triple.interfaceClass, triple.subClass, triple.protocol, 0};
}

Bytes joined(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

std::vector<UsbConfiguration> read(const Bytes &bytes)
{
    return readUsbDescriptors(std::as_bytes(std::span(bytes)));
}

TEST(UsbDescriptors, GiveTheInterfacesOfEachConfiguration)
{
    const auto found = read(joined({device, configuration(1), interface(0, {6, 1, 1}), {7, 5, 0x81, 2, 0, 2, 0},
        configuration(3), interface(0, {6, 1, 1}), interface(0, {255, 254, 2}, 1)}));
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].value, 1);
    EXPECT_THAT(found[0].interfaces, ElementsAre(UsbDescribedInterface{0, {6, 1, 1}}));
    EXPECT_EQ(found[1].value, 3);
    EXPECT_THAT(
        found[1].interfaces, ElementsAre(UsbDescribedInterface{0, {6, 1, 1}}, UsbDescribedInterface{1, {255, 254, 2}}));
}

TEST(UsbDescriptors, OfAnInterfaceWithSeveralSettingsTheFirstCounts)
{
    const auto found = read(joined({device, configuration(1), interface(0, {1, 2, 0}), interface(1, {1, 3, 0})}));
    EXPECT_THAT(found.at(0).interfaces, ElementsAre(UsbDescribedInterface{0, {1, 2, 0}}));
}

TEST(UsbDescriptors, AreReadUpToTheFirstThatLies)
{
    const Bytes whole = joined({device, configuration(1), interface(0, {6, 1, 1})});
    for (const Bytes &lie : {Bytes{0, 4}, Bytes{1, 4}, Bytes{200, 4, 0}, Bytes{9}}) {
        const auto found = read(joined({whole, lie, interface(0, {8, 6, 80})}));
        EXPECT_THAT(found.at(0).interfaces.at(0).triple, (UsbTriple{6, 1, 1}));
        EXPECT_LE(found.at(0).interfaces.size(), 2U);
    }
    // One that is too short for its kind is passed over.
    EXPECT_THAT(read(joined({configuration(1), {5, 4, 0, 0, 0}, interface(0, {6, 1, 1})})).at(0).interfaces,
        ElementsAre(UsbDescribedInterface{0, {6, 1, 1}}));
}

TEST(UsbDescriptors, CutAtEveryByteGiveNothingThatIsNotThere)
{
    const Bytes whole = joined({device, configuration(1), interface(0, {6, 1, 1})});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const auto found = read({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
        EXPECT_TRUE(found.empty() || found[0].interfaces.empty()) << length;
    }
}

TEST(UsbDescriptors, AnInterfaceOutsideOfAConfigurationIsNone)
{
    EXPECT_THAT(read(joined({device, interface(0, {6, 1, 1})})), IsEmpty());
}

TEST(UsbDescriptors, MayBeAnyBytes)
{
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        Bytes bytes(random() % 300);
        for (auto &byte : bytes)
            byte = static_cast<std::uint8_t>(random() % 12);
        std::size_t interfaces = 0;
        for (const UsbConfiguration &one : read(bytes))
            interfaces += one.interfaces.size();
        EXPECT_LE(interfaces, bytes.size() / 9);
    }
}

} // namespace
} // namespace kelvane::detail
