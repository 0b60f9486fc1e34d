#include "MappingRecords.h"

#include <limits>

#include <gtest/gtest.h>

namespace
{
TEST(TableKeyTest, IsTheNodeThenTheRowThenTheColumn)
{
    EXPECT_EQ(tableKey(".3.1", 1, 5), ".3.10100000005");
}

TEST(TableKeyTest, IsInLowercaseHexadecimal)
{
    EXPECT_EQ(tableKey(".3.1", 44, 0xABCD), ".3.12c0000abcd");
}

TEST(TableKeyTest, HoldsTheGreatestRowAndColumn)
{
    EXPECT_EQ(tableKey(".3.1", 255, std::numeric_limits<std::uint32_t>::max()), ".3.1ffffffffff");
}

TEST(TableKeyTest, TakesANodeOfAnyLength)
{
    EXPECT_EQ(tableKey("", 0, 0), "0000000000");
    EXPECT_EQ(tableKey(std::string(500, '.'), 0, 0), std::string(500, '.') + "0000000000");
}
} // namespace
