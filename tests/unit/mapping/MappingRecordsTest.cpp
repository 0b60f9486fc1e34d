#include "MappingRecords.h"

#include <limits>

#include <gtest/gtest.h>

namespace
{
void expectNothingOf(const SnmpObjInfo &info)
{
    EXPECT_EQ(info.attr1, 0);
    EXPECT_EQ(info.flag, 0);
    EXPECT_EQ(info.valueType, 0);
    EXPECT_EQ(info.attr2, 0);
    EXPECT_EQ(info.asnType, 0);
    EXPECT_EQ(info.access, 0);
    EXPECT_EQ(info.text, "");
}

TEST(MappingRecordsTest, AScalarIsAllZeroUntilItIsLoaded)
{
    const SnmpObjOid scalar;
    expectNothingOf(scalar);
    EXPECT_EQ(scalar.objId, 0);
    EXPECT_EQ(scalar.magic, 0);
    EXPECT_EQ(scalar.oidArc1, 0U);
    EXPECT_EQ(scalar.oidArc2, 0U);
    EXPECT_EQ(scalar.oidArc3, 0U);
    EXPECT_EQ(scalar.oidArc4, 0U);
}

TEST(MappingRecordsTest, ACellIsAllZeroUntilItIsLoaded)
{
    const SnmpTableOid cell;
    expectNothingOf(cell);
    EXPECT_EQ(cell.objId, 0);
    EXPECT_EQ(cell.column, 0U);
    EXPECT_EQ(cell.tableNode, "");
    EXPECT_EQ(cell.instance, 0);
    EXPECT_EQ(cell.tableKind, 0);
    EXPECT_EQ(cell.attr3, 0);
}

TEST(MappingRecordsTest, ATableIsAllZeroUntilItIsFound)
{
    const SnmpTableInfo table;
    EXPECT_EQ(table.tableKind, 0);
    EXPECT_EQ(table.tableNode, "");
}

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
