// SPDX-License-Identifier: Apache-2.0
#include <kelvane/qt/RowSteps_p.h>

#include <gmock/gmock.h>

#include <random>
#include <string>

using namespace kelvane;
using namespace kelvane::qt;

namespace {

using Rows = std::vector<const IDataItem *>;
using Ranges = std::vector<RowSteps::Range>;

// Only their addresses count.
Rows rows(const std::string &letters)
{
    static const char places[256] = {};
    Rows result;
    for (const char letter : letters)
        result.push_back(reinterpret_cast<const IDataItem *>(places + static_cast<unsigned char>(letter)));
    return result;
}

Rows applied(const RowSteps &steps, Rows before, const Rows &after)
{
    const auto at = [](Rows &in, std::size_t place) { return in.begin() + static_cast<std::ptrdiff_t>(place); };
    for (const auto &[first, count] : steps.removed)
        before.erase(at(before, first), at(before, first + count));
    for (const auto &[first, count] : steps.inserted)
        before.insert(at(before, first), after.begin() + static_cast<std::ptrdiff_t>(first),
            after.begin() + static_cast<std::ptrdiff_t>(first + count));
    return before;
}

std::size_t removedBy(const RowSteps &steps)
{
    std::size_t count = 0;
    for (const auto &range : steps.removed)
        count += range.count;
    return count;
}

} // namespace

TEST(RowSteps, AreNoneBetweenEqualRows)
{
    const RowSteps steps = rowSteps(rows("abc"), rows("abc"));
    EXPECT_TRUE(steps.removed.empty());
    EXPECT_TRUE(steps.inserted.empty());
}

TEST(RowSteps, JoinNeighboursIntoRanges)
{
    const RowSteps steps = rowSteps(rows("abcdef"), rows("xyadfz"));
    EXPECT_EQ(steps.removed, (Ranges{{4, 1}, {1, 2}}));
    EXPECT_EQ(steps.inserted, (Ranges{{0, 2}, {5, 1}}));
}

TEST(RowSteps, MoveAsFewAsPossible)
{
    const RowSteps steps = rowSteps(rows("abcdef"), rows("bcdefa"));
    EXPECT_EQ(steps.removed, (Ranges{{0, 1}}));
    EXPECT_EQ(steps.inserted, (Ranges{{5, 1}}));
}

TEST(RowSteps, LeadFromAnyRowsToAnyOthers)
{
    std::mt19937 random(7); // NOLINT(bugprone-random-generator-seed): the same rows each time
    for (int round = 0; round < 5000; ++round) {
        const auto anyRows = [&] {
            std::string letters(random() % 12, ' ');
            for (char &letter : letters)
                letter = static_cast<char>('a' + random() % 8); // several times the same
            return rows(letters);
        };
        const Rows before = anyRows();
        const Rows after = anyRows();
        const RowSteps steps = rowSteps(before, after);
        EXPECT_EQ(applied(steps, before, after), after);
    }
}

TEST(RowSteps, KeepTheRowsThatAreInBoth)
{
    std::mt19937 random(11); // NOLINT(bugprone-random-generator-seed): the same rows each time
    for (int round = 0; round < 1000; ++round) {
        std::string all = "abcdefghijklmnop";
        std::string before;
        std::string after;
        std::size_t gone = 0;
        for (const char letter : all) {
            const auto side = random() % 3;
            before += side != 1 ? std::string(1, letter) : "";
            after += side != 2 ? std::string(1, letter) : "";
            gone += side == 2;
        }
        EXPECT_EQ(removedBy(rowSteps(rows(before), rows(after))), gone);
    }
}

TEST(RowSteps, OfManyEqualRowsTakeNoSquareOfTime)
{
    const Rows before(50'000, rows("a")[0]);
    Rows after = before;
    after.insert(after.begin(), rows("b")[0]);
    after.push_back(rows("c")[0]);
    const RowSteps steps = rowSteps(before, after);
    EXPECT_EQ(steps.inserted, (Ranges{{0, 1}, {50'001, 1}}));
    EXPECT_TRUE(steps.removed.empty());
}
