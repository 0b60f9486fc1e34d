#include "Sqlite3.h"

#include "support/CapturedOutput.h"
#include "support/MappingFile.h"
#include "support/SystemCalls.h"

#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

namespace
{
constexpr const char *unopenable = "/nonexistent/mapping.db";

class Sqlite3Test : public testing::Test
{
protected:
    Sqlite3Test() { systemCalls::reset(); }

    ~Sqlite3Test() override { systemCalls::reset(); }

    void fileHoldsTwoRowsOfThreeColumns() const
    {
        _file.run("CREATE TABLE COLOURS (id, name, note);"
                  "INSERT INTO COLOURS VALUES (1, 'red', 'warm'), (2, 'blue', NULL)");
    }

    [[nodiscard]] std::string cell(int row, int column) const
    {
        const char *const text = _result[row * _columns + column];
        return text == nullptr ? "NULL" : text;
    }

    static std::size_t openFiles()
    {
        std::size_t count = 0;
        for (int descriptor = 0; descriptor < 256; ++descriptor) {
            if (lseek(descriptor, 0, SEEK_CUR) != -1) {
                ++count;
            }
        }
        return count;
    }

    std::int32_t selectAll(Sqlite3 &store, const char *table)
    {
        return store.selectAll(table, &_result, &_rows, &_columns);
    }

    std::int32_t query(Sqlite3 &store, const char *statement)
    {
        return store.query(statement, &_result, &_rows, &_columns);
    }

    MappingFile _file;
    char **_result = nullptr;
    std::int32_t _rows = -7;
    std::int32_t _columns = -7;
};

TEST_F(Sqlite3Test, ConstructionOpensNothing)
{
    const std::string absent = std::string(_file.path()) + ".absent";
    {
        const Sqlite3 store(absent.c_str());
    }
    EXPECT_NE(access(absent.c_str(), F_OK), 0);
}

TEST_F(Sqlite3Test, OpensAGoodFileTwiceAsOneConnection)
{
    Sqlite3 store(_file.path());
    const std::size_t before = openFiles();
    EXPECT_EQ(store.open(), 0);
    EXPECT_EQ(query(store, "SELECT count(*) FROM SNMP_GENERAL_OBJ_TABLE"), 0);
    store.freeTable(_result);
    const std::size_t afterFirst = openFiles();
    EXPECT_GT(afterFirst, before);
    EXPECT_EQ(store.open(), 0);
    EXPECT_EQ(query(store, "SELECT count(*) FROM SNMP_GENERAL_OBJ_TABLE"), 0);
    store.freeTable(_result);
    EXPECT_EQ(openFiles(), afterFirst);
}

TEST_F(Sqlite3Test, PrintsAnUnopenableFileOnceAndOpensTheSecondTime)
{
    Sqlite3 store(unopenable);
    CapturedOutput output;
    EXPECT_EQ(store.open(), -1);
    EXPECT_EQ(store.open(), 0);
    EXPECT_EQ(output.text(), "ERROR: open file /nonexistent/mapping.db failed! \n");
}

TEST_F(Sqlite3Test, ReadsNothingThroughAFailedConnection)
{
    Sqlite3 store(unopenable);
    CapturedOutput output;
    store.open();
    EXPECT_EQ(selectAll(store, "COLOURS"), -1);
    store.freeTable(_result);
    EXPECT_EQ(store.close(), 0);
}

TEST_F(Sqlite3Test, MakesAMissingFileInAnExistingDirectory)
{
    const std::string absent = std::string(_file.path()) + ".absent";
    Sqlite3 store(absent.c_str());
    EXPECT_EQ(store.open(), 0);
    EXPECT_EQ(store.exec("CREATE TABLE COLOURS (id)"), 0);
    EXPECT_EQ(access(absent.c_str(), F_OK), 0);
    unlink(absent.c_str());
}

TEST_F(Sqlite3Test, ClosesAStoreThatWasNeverOpened)
{
    Sqlite3 store(_file.path());
    EXPECT_EQ(store.close(), 0);
}

TEST_F(Sqlite3Test, ReopensAClosedStore)
{
    fileHoldsTwoRowsOfThreeColumns();
    Sqlite3 store(_file.path());
    store.open();
    EXPECT_EQ(store.close(), 0);
    EXPECT_EQ(selectAll(store, "COLOURS"), -1);
    EXPECT_EQ(store.open(), 0);
    EXPECT_EQ(selectAll(store, "COLOURS"), 0);
    store.freeTable(_result);
}

TEST_F(Sqlite3Test, KeepsTheConnectionWhenClosingFails)
{
    fileHoldsTwoRowsOfThreeColumns();
    Sqlite3 store(_file.path());
    store.open();
    systemCalls::fail("sqlite3_close", SQLITE_BUSY);
    EXPECT_EQ(store.close(), -1);
    EXPECT_EQ(selectAll(store, "COLOURS"), 0);
    store.freeTable(_result);
    systemCalls::reset();
    EXPECT_EQ(store.close(), 0);
}

TEST_F(Sqlite3Test, ClosesAnOpenStoreWithItself)
{
    const std::size_t before = openFiles();
    {
        Sqlite3 store(_file.path());
        store.open();
        store.exec("INSERT INTO SNMP_GENERAL_OBJ_TABLE (objId) VALUES ('1')");
    }
    EXPECT_EQ(openFiles(), before);
}

TEST_F(Sqlite3Test, SelectsAWholeTableWithItsHeader)
{
    fileHoldsTwoRowsOfThreeColumns();
    Sqlite3 store(_file.path());
    store.open();
    ASSERT_EQ(selectAll(store, "COLOURS"), 0);
    EXPECT_EQ(_rows, 2);
    EXPECT_EQ(_columns, 3);
    EXPECT_EQ(cell(0, 0) + cell(0, 1) + cell(0, 2), "idnamenote");
    EXPECT_EQ(cell(1, 0) + cell(1, 1) + cell(1, 2), "1redwarm");
    EXPECT_EQ(cell(2, 0) + cell(2, 1) + cell(2, 2), "2blueNULL");
    store.freeTable(_result);
}

TEST_F(Sqlite3Test, ReportsNoColumnsOfAnEmptyTable)
{
    Sqlite3 store(_file.path());
    store.open();
    ASSERT_EQ(selectAll(store, "SNMP_GENERAL_OBJ_TABLE"), 0);
    EXPECT_EQ(_rows, 0);
    EXPECT_EQ(_columns, 0);
    store.freeTable(_result);
}

TEST_F(Sqlite3Test, FailsSilentlyToSelectATableThatIsNotThere)
{
    Sqlite3 store(_file.path());
    store.open();
    CapturedOutput output;
    EXPECT_EQ(selectAll(store, "COLOURS"), -1);
    EXPECT_EQ(output.text(), "");
    store.freeTable(_result);
}

TEST_F(Sqlite3Test, SelectsATableOfAVeryLongName)
{
    const std::string name(300, 'T');
    _file.run("CREATE TABLE " + name + " (id); INSERT INTO " + name + " VALUES (1)");
    Sqlite3 store(_file.path());
    store.open();
    EXPECT_EQ(selectAll(store, name.c_str()), 0);
    EXPECT_EQ(_rows, 1);
    store.freeTable(_result);
}

TEST_F(Sqlite3Test, QueriesWithAnyStatement)
{
    fileHoldsTwoRowsOfThreeColumns();
    Sqlite3 store(_file.path());
    store.open();
    ASSERT_EQ(query(store, "SELECT name FROM COLOURS WHERE id = 2"), 0);
    EXPECT_EQ(_rows, 1);
    EXPECT_EQ(_columns, 1);
    EXPECT_EQ(cell(1, 0), "blue");
    store.freeTable(_result);
}

TEST_F(Sqlite3Test, PrintsAFailedQueryWithTheReason)
{
    Sqlite3 store(_file.path());
    store.open();
    CapturedOutput output;
    EXPECT_EQ(query(store, "SELEC *"), -1);
    EXPECT_EQ(output.text(), "SQL ERROR  [SELEC *] near \"SELEC\": syntax error\n");
}

TEST_F(Sqlite3Test, ExecutesAStatementWithoutAResult)
{
    Sqlite3 store(_file.path());
    store.open();
    EXPECT_EQ(store.exec("CREATE TABLE COLOURS (id)"), 0);
    EXPECT_EQ(selectAll(store, "COLOURS"), 0);
    store.freeTable(_result);
}

TEST_F(Sqlite3Test, FailsSilentlyToExecuteABadStatement)
{
    Sqlite3 store(_file.path());
    store.open();
    CapturedOutput output;
    EXPECT_EQ(store.exec("CREATE COLOURS"), -1);
    EXPECT_EQ(output.text(), "");
}

TEST_F(Sqlite3Test, FailsOnAClosedStoreWithoutHarm)
{
    Sqlite3 store(_file.path());
    CapturedOutput output;
    EXPECT_EQ(selectAll(store, "COLOURS"), -1);
    EXPECT_EQ(query(store, "SELECT 1"), -1);
    EXPECT_EQ(store.exec("SELECT 1"), -1);
    EXPECT_EQ(output.text(), "SQL ERROR  [SELECT 1] out of memory\n");
}

TEST_F(Sqlite3Test, FailsOnAClosedStoreWithoutHarmAlsoAfterOtherFailures)
{
    Sqlite3 store(_file.path());
    CapturedOutput output;
    store.open();
    EXPECT_EQ(store.exec("CREATE COLOURS"), -1);
    store.close();
    EXPECT_EQ(store.exec("SELECT 1"), -1);
    store.open();
    EXPECT_EQ(selectAll(store, "COLOURS"), -1);
    store.close();
    EXPECT_EQ(store.exec("SELECT 1"), -1);
}
} // namespace
