// SPDX-License-Identifier: Apache-2.0
#include "Songs.h"

#include <gtest/gtest.h>

using namespace kelvane;
using namespace kelvane::testsupport;

TEST(DataItemState, HasFixedNumbers)
{
    static_assert(std::is_same_v<std::underlying_type_t<DataItemState>, std::uint64_t>);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemState::Detached), 1U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemState::Unchanged), 2U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemState::Added), 4U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemState::Deleted), 8U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemState::Modified), 16U);
    EXPECT_EQ(static_cast<std::uint64_t>(pendingChangeStates), 28U);
}

TEST(DataItemState, MakesMasks)
{
    EXPECT_TRUE(isAnyOf(DataItemState::Added, pendingChangeStates));
    EXPECT_FALSE(isAnyOf(DataItemState::Unchanged, pendingChangeStates));
    EXPECT_FALSE(isAnyOf(DataItemState{}, pendingChangeStates));
}

TEST(DataItemAction, HasFixedNumbers)
{
    static_assert(std::is_same_v<std::underlying_type_t<DataItemAction>, std::uint64_t>);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemAction::Delete), 1U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemAction::Change), 2U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemAction::Rollback), 4U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemAction::Commit), 8U);
    EXPECT_EQ(static_cast<std::uint64_t>(DataItemAction::Add), 16U);
    EXPECT_TRUE(isAnyOf(DataItemAction::Add, DataItemAction::Add | DataItemAction::Delete));
    EXPECT_FALSE(isAnyOf(DataItemAction::Change, DataItemAction::Add | DataItemAction::Delete));
}

TEST(DataItemChangeEventArgs, OfAnActionHasNoState)
{
    const auto item = makeSong();
    const DataItemChangeEventArgs args(item, DataItemAction::Rollback);
    EXPECT_EQ(args.item(), item);
    EXPECT_EQ(args.action(), DataItemAction::Rollback);
    EXPECT_EQ(static_cast<std::uint64_t>(args.state()), 0U);
}

TEST(DataItemChangeEventArgs, OfAStateIsACommit)
{
    auto item = makeSong();
    const DataItemChangeEventArgs args(item, DataItemState::Deleted);
    EXPECT_EQ(args.action(), DataItemAction::Commit);
    EXPECT_EQ(args.state(), DataItemState::Deleted);
    const std::weak_ptr<IDataItem> weak = item;
    item.reset();
    EXPECT_FALSE(weak.expired()) << "the arguments keep the item";
}
