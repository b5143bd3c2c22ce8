// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/String.h>

#include <gtest/gtest.h>

using kelvane::String;

TEST(String, NullIsNotEmptyText)
{
    EXPECT_NE(String(), String(""));
}
