// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/ExifOrientation.h>

#include "tests/support/HeifFiles.h"

#include <gtest/gtest.h>

using namespace kelvane::detail;
using namespace kelvane::testsupport;

namespace {

std::vector<std::byte> bytesOf(const std::string &text)
{
    const auto *first = reinterpret_cast<const std::byte *>(text.data());
    return {first, first + text.size()};
}

std::string textOf(const std::vector<std::byte> &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

std::string entry(int tag, int type, std::uint32_t count, const std::string &value)
{
    return bigEndian(static_cast<std::uint64_t>(tag), 2) + bigEndian(static_cast<std::uint64_t>(type), 2)
        + bigEndian(count, 4) + value;
}

// A big-endian block with one directory of these entries, and another directory behind it.
std::string block(const std::vector<std::string> &entries)
{
    std::string text = "MM" + bigEndian(42, 2) + bigEndian(8, 4) + bigEndian(entries.size(), 2);
    for (const std::string &each : entries)
        text += each;
    return text + bigEndian(text.size() + 4, 4) + bigEndian(1, 2)
        + entry(0x112, 3, 1, bigEndian(6, 2) + bigEndian(0, 2)) + bigEndian(0, 4);
}

const std::string make = entry(0x10f, 2, 3, std::string("Me\0\0", 4));
const std::string model = entry(0x110, 2, 3, std::string("It\0\0", 4));
const std::string software = entry(0x131, 2, 3, std::string("Sw\0\0", 4));

std::string orientation(int value)
{
    return entry(0x112, 3, 1, bigEndian(static_cast<std::uint64_t>(value), 2) + bigEndian(0, 2));
}

TEST(ExifOrientation, IsReplacedInPlaceAndTheThumbnailIsCutOff)
{
    const std::string before = block({make, orientation(6), software});
    std::string expected = block({make, orientation(8), software});
    expected.replace(8 + 2 + 3 * 12, 4, bigEndian(0, 4));
    EXPECT_EQ(textOf(exifWith({8, 10, 20}, bytesOf(before))), expected);
}

TEST(ExifOrientation, IsAddedInOrderWhereThereIsNone)
{
    const std::string before = block({make, model, software});
    const std::string after = textOf(exifWith({3, 10, 20}, bytesOf(before)));
    const std::string added = bigEndian(4, 2) + make + model + orientation(3) + software + bigEndian(0, 4);
    ASSERT_TRUE(after.ends_with(added));
    EXPECT_EQ(after.substr(4, 4), bigEndian(after.size() - added.size(), 4));
    // What others point to has not moved.
    EXPECT_EQ(after.substr(8, 2 + 3 * 12), before.substr(8, 2 + 3 * 12));
}

TEST(ExifOrientation, IsAllThereIsWhereThereWasNoBlock)
{
    const std::string expected =
        "MM" + bigEndian(42, 2) + bigEndian(8, 4) + bigEndian(1, 2) + orientation(6) + bigEndian(0, 4);
    for (const std::string &before : {std::string(), std::string("MM"), std::string("nothing of the kind"),
             "MM" + bigEndian(42, 2) + bigEndian(0x7fffffff, 4),
             "MM" + bigEndian(42, 2) + bigEndian(8, 4) + bigEndian(999, 2)})
        EXPECT_EQ(textOf(exifWith({6, 10, 20}, bytesOf(before))), expected);
}

TEST(ExifOrientation, SizesOfThePictureAreThoseOfTheNewOne)
{
    const std::string details = bigEndian(2, 2) + entry(0xa002, 3, 1, bigEndian(7, 2) + bigEndian(0, 2))
        + entry(0xa003, 4, 1, bigEndian(7, 4)) + bigEndian(0, 4);
    std::string before = block({
        entry(0x8769, 4, 1, bigEndian(0, 4)),
    });
    before.replace(8 + 2 + 8, 4, bigEndian(before.size(), 4));
    before += details;
    const std::string after = textOf(exifWith({1, 4000, 3000}, bytesOf(before)));
    EXPECT_NE(after.find(entry(0xa002, 4, 1, bigEndian(4000, 4))), std::string::npos);
    EXPECT_NE(after.find(entry(0xa003, 4, 1, bigEndian(3000, 4))), std::string::npos);
}

TEST(ExifOrientation, LittleEndianBlocksStaySo)
{
    const std::string before("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0", 26);
    std::string expected = before;
    expected[18] = 3;
    EXPECT_EQ(textOf(exifWith({3, 1, 1}, bytesOf(before))), expected);
}

TEST(ExifOrientation, OfXmpIsReplacedInBothForms)
{
    EXPECT_EQ(
        textOf(xmpWithOrientation(8, bytesOf("<a tiff:Orientation=\"6\"/><tiff:Orientation>3</tiff:Orientation>"))),
        "<a tiff:Orientation=\"8\"/><tiff:Orientation>8</tiff:Orientation>");
    EXPECT_EQ(textOf(xmpWithOrientation(8, bytesOf("<a/>"))), "<a/>");
    EXPECT_EQ(textOf(xmpWithOrientation(8, bytesOf("tiff:Orientation"))), "tiff:Orientation");
}

} // namespace
