// SPDX-License-Identifier: Apache-2.0
#include "Songs.h"

#include <kelvane/data/detail/ItemSequence.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace kelvane;
using namespace kelvane::testsupport;
using kelvane::detail::ItemSequence;

namespace {

using Items = std::vector<ItemSequence::Item>;

/// A sequence and a plain vector that get the same operations.
class Pair {
public:
    explicit Pair(std::size_t hashes) : _hashes(hashes) {}

    std::size_t hashOf(const ItemSequence::Item &item) const { return item->hash() / 16 % _hashes; }
    void insert(std::size_t index, const ItemSequence::Item &item)
    {
        sequence.insert(index, item, hashOf(item));
        oracle.insert(oracle.begin() + static_cast<std::ptrdiff_t>(index), item);
    }
    void takeAt(std::size_t index)
    {
        EXPECT_EQ(sequence.takeAt(index), oracle[index]);
        oracle.erase(oracle.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void remove(const ItemSequence::Item &item)
    {
        sequence.remove(item.get(), hashOf(item));
        std::erase(oracle, item);
    }
    Items items() const
    {
        Items items;
        while (items.size() < sequence.size())
            sequence.copyRun(items.size(), items);
        return items;
    }
    void checkLookups(const ItemSequence::Item &item) const
    {
        const auto found = std::find(oracle.begin(), oracle.end(), item);
        ASSERT_EQ(sequence.contains(item.get(), hashOf(item)), found != oracle.end());
        ASSERT_EQ(sequence.indexOf(item.get(), hashOf(item)), static_cast<std::size_t>(found - oracle.begin()));
    }

    ItemSequence sequence;
    Items oracle;

private:
    std::size_t _hashes;
};

} // namespace

struct OracleCase {
    const char *name;
    unsigned seed;
    std::size_t differentItems; ///< few: the same items stand in the sequence several times
    std::size_t hashes; ///< few: different items have the same hash
    unsigned growth; ///< of 100 operations so many insert
};

class ItemSequenceOracle : public testing::TestWithParam<OracleCase> {};

TEST_P(ItemSequenceOracle, AnswersAsAPlainVectorDoes)
{
    const OracleCase &row = GetParam();
    Items pool(row.differentItems);
    std::generate(pool.begin(), pool.end(), [] { return std::make_shared<SongItem>(); });
    Pair pair(row.hashes);
    std::mt19937 random(row.seed);
    const auto below = [&](std::size_t limit) { return random() % limit; };

    for (int phase = 0; phase < 4; ++phase) {
        // Grow, then shrink, so that nodes split and join at every level.
        const unsigned growth = phase % 2 == 0 ? row.growth : 100 - row.growth;
        for (int step = 0; step < 10000; ++step) {
            const ItemSequence::Item item = pool[below(pool.size())];
            const std::size_t size = pair.oracle.size();
            if (below(100) < growth)
                pair.insert(below(3) == 0 ? size : below(size + 1), item);
            else if (size > 0 && below(4) == 0)
                pair.remove(item);
            else if (size > 0)
                pair.takeAt(below(3) == 0 ? 0 : below(size));
            ASSERT_EQ(pair.sequence.size(), pair.oracle.size());
            if (!pair.oracle.empty()) {
                const std::size_t index = below(pair.oracle.size());
                ASSERT_EQ(pair.sequence.at(index), pair.oracle[index]);
            }
            if (step % 16 == 0)
                pair.checkLookups(item);
            if (step % 500 == 0) {
                ASSERT_EQ(pair.items(), pair.oracle);
            }
        }
        ASSERT_EQ(pair.items(), pair.oracle);
    }
    while (!pair.oracle.empty())
        pair.remove(pair.oracle[below(pair.oracle.size())]);
    EXPECT_EQ(pair.sequence.size(), 0U);
    pair.insert(0, pool[0]);
    EXPECT_EQ(pair.items(), pair.oracle);
}

INSTANTIATE_TEST_SUITE_P(Table, ItemSequenceOracle,
    testing::Values(OracleCase{"ManyItems", 1, 20000, 1U << 30U, 80}, OracleCase{"OneItem", 2, 1, 1U << 30U, 100},
        OracleCase{"Duplicates", 3, 500, 1U << 30U, 90}, OracleCase{"FewHashes", 4, 2000, 7, 75},
        OracleCase{"Balanced", 5, 5000, 1U << 30U, 50}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ItemSequence, InsertingAtTheFrontAndTakingFromTheFrontKeepsTheOrder)
{
    Pair pair(1U << 30U);
    for (int i = 0; i < 5000; ++i)
        pair.insert(0, makeSong());
    EXPECT_EQ(pair.items(), pair.oracle);
    while (!pair.oracle.empty())
        pair.takeAt(0);
    EXPECT_EQ(pair.sequence.size(), 0U);
}

TEST(ItemSequence, OthersWithHashLeavesTheItemItselfOut)
{
    ItemSequence sequence;
    const auto a = makeSong();
    const auto b = makeSong();
    const auto c = makeSong();
    sequence.insert(0, a, 1);
    sequence.insert(1, b, 1);
    sequence.insert(2, c, 2);
    EXPECT_EQ(sequence.othersWithHash(a.get(), 1), Items{b});
    EXPECT_TRUE(sequence.othersWithHash(c.get(), 2).empty());
}

TEST(ItemSequence, LetsItsItemsGoWithItself)
{
    std::weak_ptr<IDataItem> weak;
    {
        ItemSequence sequence;
        for (std::size_t i = 0; i < 1000; ++i) {
            const ItemSequence::Item item = makeSong();
            weak = item;
            sequence.insert(i, item, item->hash());
        }
        EXPECT_FALSE(weak.expired());
    }
    EXPECT_TRUE(weak.expired());
}
