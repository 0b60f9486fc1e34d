#include "MappingTable.h"

#include "mapping/NarratingStore.h"
#include "support/CapturedOutput.h"

#include <gtest/gtest.h>

namespace
{
class MappingTableTest : public testing::Test
{
protected:
    [[nodiscard]] bool isReadable(std::int32_t columnsNeeded)
    {
        return MappingTable(_store, &DataBaseAdapter::selectAll, "T", columnsNeeded).isReadable();
    }

    void storeHolds(const NarratingStore::Result &result) { _store.result = result; }

    NarratingStore _store;
    CapturedOutput _output;
};

TEST_F(MappingTableTest, AnOpenStoreIsClosedAtTheEndOfTheScope)
{
    {
        const OpenStore store(_store);
        EXPECT_TRUE(store.isOpen());
    }
    EXPECT_EQ(_output.text(), "open\nclose\n");
}

TEST_F(MappingTableTest, AStoreThatDidNotOpenIsNotClosed)
{
    _store.openStatus = -1;
    {
        const OpenStore store(_store);
        EXPECT_FALSE(store.isOpen());
    }
    EXPECT_EQ(_output.text(), "open\n");
}

TEST_F(MappingTableTest, GivesTheResultBackAtTheEndOfTheScope)
{
    EXPECT_TRUE(isReadable(0));
    EXPECT_EQ(_output.text(), "selectAll T\nfreeTable\n");
}

TEST_F(MappingTableTest, GivesTheResultOfAFailedReadBackToo)
{
    _store.readStatus = -1;
    EXPECT_FALSE(isReadable(0));
    EXPECT_EQ(_output.text(), "selectAll T\nfreeTable\n");
}

TEST_F(MappingTableTest, ReadsTheResultOfAStatement)
{
    storeHolds({{"a"}, {"1"}});
    {
        const MappingTable table(_store, &DataBaseAdapter::query, "SELECT a", 1);
        EXPECT_EQ(table.rowCount(), 1);
        EXPECT_STREQ(table.text(1, 0), "1");
    }
    EXPECT_EQ(_output.text(), "query SELECT a\nfreeTable\n");
}

TEST_F(MappingTableTest, IsUnreadableWithRowsOfTooFewColumns)
{
    storeHolds({{"a", "b"}, {"1", "2"}});
    EXPECT_FALSE(isReadable(3));
    EXPECT_TRUE(isReadable(2));
    EXPECT_TRUE(isReadable(1));
}

TEST_F(MappingTableTest, IsReadableWithoutRowsWhateverTheColumns)
{
    storeHolds({{}});
    EXPECT_TRUE(isReadable(13));
}

TEST_F(MappingTableTest, FindsCellsByPosition)
{
    storeHolds({{"a", "b"}, {"11", "12"}, {"21", "22"}});
    const MappingTable table(_store, &DataBaseAdapter::selectAll, "T", 2);
    EXPECT_EQ(table.rowCount(), 2);
    EXPECT_STREQ(table.text(1, 1), "12");
    EXPECT_STREQ(table.text(2, 0), "21");
}

TEST_F(MappingTableTest, KnowsTheNamesOfItsColumns)
{
    storeHolds({{"a", "b"}, {"11", "12"}});
    const MappingTable table(_store, &DataBaseAdapter::selectAll, "T", 2);
    EXPECT_EQ(table.columnCount(), 2);
    EXPECT_STREQ(table.columnName(0), "a");
    EXPECT_STREQ(table.columnName(1), "b");
}

TEST_F(MappingTableTest, ReadsNumbersInTheBaseAskedFor)
{
    storeHolds({{"a"}, {"40"}});
    const MappingTable table(_store, &DataBaseAdapter::selectAll, "T", 1);
    EXPECT_EQ(table.decimal(1, 0), 40U);
    EXPECT_EQ(table.hexadecimal(1, 0), 0x40U);
}

TEST_F(MappingTableTest, ReadsNumbersInTheBaseAskedForWhateverTheyBeginWith)
{
    storeHolds({{"a", "b"}, {"010", "0x10"}});
    const MappingTable table(_store, &DataBaseAdapter::selectAll, "T", 2);
    EXPECT_EQ(table.decimal(1, 0), 10U);
    EXPECT_EQ(table.hexadecimal(1, 0), 0x10U);
    EXPECT_EQ(table.decimal(1, 1), 0U);
    EXPECT_EQ(table.hexadecimal(1, 1), 0x10U);
}

TEST_F(MappingTableTest, ReadsMoreThan32BitsAsTheLargestNumber)
{
    storeHolds({{"a", "b"}, {"4294967297", "-1"}});
    const MappingTable table(_store, &DataBaseAdapter::selectAll, "T", 2);
    for (int column = 0; column < 2; ++column) {
        EXPECT_EQ(table.decimal(1, column), 4294967295U);
        EXPECT_EQ(table.hexadecimal(1, column), 4294967295U);
    }
}

TEST_F(MappingTableTest, ReadsACellThatIsNoNumberAsZero)
{
    storeHolds({{"a", "b", "c"}, {"", "none", nullptr}});
    const MappingTable table(_store, &DataBaseAdapter::selectAll, "T", 3);
    for (int column = 0; column < 3; ++column) {
        EXPECT_EQ(table.decimal(1, column), 0U);
        EXPECT_EQ(table.hexadecimal(1, column), 0U);
    }
    EXPECT_EQ(table.text(1, 2), nullptr);
}
} // namespace
