#include "SnmpTableStrategy.h"

#include "support/SystemCalls.h"

#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

class PlainTable : public SnmpTableStrategy
{
public:
    void add_index(int index) override { insertIndex(index); }

    void remove_index(int index) override { removeIndex(index); }

    void init_table(std::uint8_t /*flag*/, const std::string & /*tableNode*/) override {}

    [[nodiscard]] std::vector<int> rows() const
    {
        std::vector<int> rows;
        for (const IndexNode *row = indexes; row != nullptr; row = row->next) {
            rows.push_back(row->index);
        }
        return rows;
    }

    [[nodiscard]] bool hasNoName() const { return name.empty(); }
};

class SnmpTableStrategyTest : public testing::Test
{
protected:
    void add(std::initializer_list<int> indexes)
    {
        for (const int index : indexes) {
            _table.add_index(index);
        }
    }

    void remove(int index) { _table.remove_index(index); }

    /// How many rows this thread has allocated and not freed since the test began.
    [[nodiscard]] std::ptrdiff_t liveRows() const
    {
        return systemCalls::liveAllocations() - _allocationsBefore;
    }

    PlainTable _table;
    const std::ptrdiff_t _allocationsBefore = systemCalls::liveAllocations();
};

TEST_F(SnmpTableStrategyTest, StartsWithoutRowsAndName)
{
    EXPECT_THAT(_table.rows(), IsEmpty());
    EXPECT_TRUE(_table.hasNoName());
}

TEST_F(SnmpTableStrategyTest, KeepsRowsSortedWithoutDuplicates)
{
    add({3, 1, 2, 2});
    EXPECT_THAT(_table.rows(), ElementsAre(1, 2, 3));
}

TEST_F(SnmpTableStrategyTest, DropsADuplicateOfTheFirstAndOfTheLastRow)
{
    add({1, 2, 3, 1, 3});
    EXPECT_THAT(_table.rows(), ElementsAre(1, 2, 3));
}

TEST_F(SnmpTableStrategyTest, SortsRowsAsSignedNumbers)
{
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int greatest = std::numeric_limits<int>::max();
    add({1, greatest, -1, 0, least});
    EXPECT_THAT(_table.rows(), ElementsAre(least, -1, 0, 1, greatest));
}

TEST_F(SnmpTableStrategyTest, RemovesTheFirstAMiddleAndTheLastRow)
{
    add({1, 2, 3, 4, 5});
    remove(1);
    EXPECT_THAT(_table.rows(), ElementsAre(2, 3, 4, 5));
    remove(3);
    EXPECT_THAT(_table.rows(), ElementsAre(2, 4, 5));
    remove(5);
    EXPECT_THAT(_table.rows(), ElementsAre(2, 4));
}

TEST_F(SnmpTableStrategyTest, RemovesTheOnlyRow)
{
    add({1});
    remove(1);
    EXPECT_THAT(_table.rows(), IsEmpty());
    add({2});
    EXPECT_THAT(_table.rows(), ElementsAre(2));
}

TEST_F(SnmpTableStrategyTest, LeavesTheRowsAloneWhenAnAbsentOneIsRemoved)
{
    remove(1);
    add({1, 3});
    remove(0);
    remove(2);
    remove(4);
    EXPECT_THAT(_table.rows(), ElementsAre(1, 3));
}

TEST_F(SnmpTableStrategyTest, ClearsEveryRowAndTakesRowsAgain)
{
    add({1, 2, 3});
    _table.clear_indexes();
    EXPECT_THAT(_table.rows(), IsEmpty());
    _table.clear_indexes();
    add({7});
    EXPECT_THAT(_table.rows(), ElementsAre(7));
}

TEST_F(SnmpTableStrategyTest, FreesARowThatIsRemovedAndEveryRowWhenTheyAreCleared)
{
    add({1, 2, 3});
    EXPECT_EQ(liveRows(), 3);
    remove(2);
    EXPECT_EQ(liveRows(), 2);
    _table.clear_indexes();
    EXPECT_EQ(liveRows(), 0);
}

TEST_F(SnmpTableStrategyTest, TakesItsRowsWithIt)
{
    std::unique_ptr<SnmpTableStrategy> filled = std::make_unique<PlainTable>();
    filled->add_index(1);
    filled->add_index(2);
    filled.reset();
    EXPECT_EQ(liveRows(), 0);
}
} // namespace
