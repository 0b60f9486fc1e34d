#include "SnmpDataBase.h"

#include "Sqlite3.h"
#include "link/WaitingCall.h"
#include "mapping/NarratingStore.h"
#include "support/CapturedOutput.h"
#include "support/MappingFile.h"
#include "support/SystemCalls.h"

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *unopenable = "/nonexistent/mapping.db";

class SnmpDataBaseTest : public testing::Test
{
protected:
    class DataBase : public SnmpDataBase
    {
    public:
        using SnmpDataBase::SnmpDataBase;
        using SnmpDataBase::subsite;
    };

    [[nodiscard]] DataBase load() const { return DataBase(_file.path()); }

    static std::vector<std::uint16_t> scalarIds(SnmpDataBase &dataBase)
    {
        std::vector<SnmpObjOid> list;
        EXPECT_EQ(dataBase.getSnmpObjOidList(list), 0);
        std::vector<std::uint16_t> ids;
        for (const SnmpObjOid &scalar : list) {
            ids.push_back(scalar.objId);
        }
        return ids;
    }

    static std::vector<std::uint32_t> columnsOf(SnmpDataBase &dataBase, const std::string &node)
    {
        std::vector<SnmpTableOid> list;
        EXPECT_EQ(dataBase.getSnmpTableColumns(node, list), 0);
        std::vector<std::uint32_t> columns;
        for (const SnmpTableOid &cell : list) {
            columns.push_back(cell.column);
        }
        return columns;
    }

    static SnmpObjOid scalar(SnmpDataBase &dataBase, std::uint16_t objId)
    {
        SnmpObjOid record;
        record.objId = objId;
        EXPECT_EQ(dataBase.getSnmpObjOid(record), 0) << objId;
        return record;
    }

    static SnmpTableOid cell(SnmpDataBase &dataBase, const std::string &node, std::uint32_t column,
                             std::uint8_t instance)
    {
        SnmpTableOid record;
        EXPECT_EQ(dataBase.getSnmpTableOid(node, column, instance, record), 0) << node;
        return record;
    }

    static std::string infoText(SnmpDataBase &dataBase, std::uint16_t objId)
    {
        SnmpObjInfo info;
        EXPECT_EQ(dataBase.getSnmpObjInfo(objId, info), 0) << objId;
        return info.text;
    }

    /// The mutex that lookups lock.
    static pthread_mutex_t *mutexOf(SnmpDataBase &dataBase)
    {
        SnmpObjInfo info;
        const systemCalls::MutexCalls calls;
        dataBase.getSnmpObjInfo(0, info);
        return calls.mutex();
    }

    void fileHoldsSlotFrequencies(const std::string &rows) const
    {
        _file.run("CREATE TABLE TABLE_SLOT_FREQ_OBJ (channel TEXT, freq TEXT, slot TEXT)");
        _file.run("INSERT INTO TABLE_SLOT_FREQ_OBJ VALUES " + rows);
    }

    void fileHoldsGenusGroups(const std::string &rows) const
    {
        _file.run("CREATE TABLE TABLE_OBJ_GENUS_GROUP (note, channelNum TEXT, objId TEXT)");
        _file.run("INSERT INTO TABLE_OBJ_GENUS_GROUP VALUES " + rows);
    }

    void loadSlotFrequencies(SnmpDataBase &dataBase) const
    {
        Sqlite3 store(_file.path());
        EXPECT_EQ(dataBase.initTableSlotFreq(store), 0);
    }

    void loadGenusGroup(SnmpDataBase &dataBase, std::uint16_t objId, std::uint16_t slot) const
    {
        Sqlite3 store(_file.path());
        store.open();
        EXPECT_EQ(dataBase.loadGenusGroup(store, objId, slot), 0);
    }

    static int frequencyOf(SnmpDataBase &dataBase, std::uint16_t objId)
    {
        std::uint16_t frequency = 0xFFFF;
        const std::int32_t status = dataBase.getSlotFreq(objId, frequency);
        EXPECT_TRUE(status == 0 || frequency == 0);
        return status == 0 ? frequency : status;
    }

    MappingFile _file;
};

TEST_F(SnmpDataBaseTest, EmptyTablesAreAnEmptyMapping)
{
    CapturedOutput output;
    DataBase dataBase = load();
    Sqlite3 store(_file.path());
    EXPECT_EQ(dataBase.initSnmpObjOid(store), 0);
    EXPECT_EQ(dataBase.initSnmpTableOid(store), 0);
    EXPECT_THAT(scalarIds(dataBase), IsEmpty());
    EXPECT_EQ(output.text(), "");
}

TEST_F(SnmpDataBaseTest, ScalarColumnsAreReadByPositionAndBase)
{
    _file.addScalar("'8010', '17', '18', '40', '12', '10', '11', '12', '13', '4003', 'a0', 'abc', "
                    "'beef'");
    DataBase dataBase = load();
    const SnmpObjOid record = scalar(dataBase, 0x8010);
    EXPECT_EQ(record.attr1, 17);
    EXPECT_EQ(record.magic, 18);
    EXPECT_EQ(record.asnType, 64);
    EXPECT_EQ(record.access, 0x12);
    EXPECT_EQ(record.oidArc1, 10U);
    EXPECT_EQ(record.oidArc2, 11U);
    EXPECT_EQ(record.oidArc3, 12U);
    EXPECT_EQ(record.oidArc4, 13U);
    EXPECT_EQ(record.valueType, 0x4003);
    EXPECT_EQ(record.flag, 0xA0);
    EXPECT_EQ(record.text, "abc");
    EXPECT_EQ(record.attr2, 0xBEEF);
}

TEST_F(SnmpDataBaseTest, CellColumnsAreReadByPositionAndBase)
{
    _file.addCell("'8011', '17', '5', '40', '12', '.3.1', '4003', 'a0', 'abc', '10', '11', 'beef', "
                  "'cafe'");
    DataBase dataBase = load();
    const SnmpTableOid record = cell(dataBase, ".3.1", 5, 10);
    EXPECT_EQ(record.objId, 0x8011);
    EXPECT_EQ(record.attr1, 17);
    EXPECT_EQ(record.column, 5U);
    EXPECT_EQ(record.asnType, 40);
    EXPECT_EQ(record.access, 12);
    EXPECT_EQ(record.tableNode, ".3.1");
    EXPECT_EQ(record.valueType, 0x4003);
    EXPECT_EQ(record.flag, 0xA0);
    EXPECT_EQ(record.text, "abc");
    EXPECT_EQ(record.instance, 10);
    EXPECT_EQ(record.tableKind, 11);
    EXPECT_EQ(record.attr2, 0xBEEF);
    EXPECT_EQ(record.attr3, 0xCAFE);
}

TEST_F(SnmpDataBaseTest, TheTypeIsHexadecimalForScalarsAndDecimalForCells)
{
    _file.addScalar("101", "40", "1", 1, 1, 1);
    _file.addCell("'102', 0, 5, '40', 3, '.3.1', '0', '0', NULL, 1, 0, '0', '0'");
    DataBase dataBase = load();
    EXPECT_EQ(scalar(dataBase, 0x101).asnType, 64);
    EXPECT_EQ(cell(dataBase, ".3.1", 5, 1).asnType, 40);
}

TEST_F(SnmpDataBaseTest, ColumnsBeyondTheThirteenthAreIgnored)
{
    _file.run("ALTER TABLE SNMP_GENERAL_OBJ_TABLE ADD COLUMN more DEFAULT 'ff'");
    _file.addScalar("'101', 0, 0, '4', '1', 1, 2, 3, 0, '0', '0', NULL, '0', 'more'");
    _file.addScalar("'102', 0, 0, '4', '1', 1, 2, 4, 0, '0', '0', NULL, '0', 'more'");
    DataBase dataBase = load();
    EXPECT_THAT(scalarIds(dataBase), ElementsAre(0x101, 0x102));
}

TEST_F(SnmpDataBaseTest, TheFirstScalarOfAnIdWins)
{
    _file.addScalar("101", "4", "1", 1, 2, 3);
    _file.addScalar("101", "2", "3", 9, 9, 9);
    CapturedOutput output;
    DataBase dataBase = load();
    EXPECT_THAT(scalarIds(dataBase), ElementsAre(0x101));
    EXPECT_EQ(scalar(dataBase, 0x101).oidArc1, 1U);
    EXPECT_EQ(output.text(), "");
}

TEST_F(SnmpDataBaseTest, ANullTextRepeatsTheNearestEarlierText)
{
    _file.addScalar("'101', 0, 0, '4', '1', 1, 1, 1, 0, '0', '0', NULL, '0'");
    _file.addScalar("'102', 0, 0, '4', '1', 1, 1, 2, 0, '0', '0', 'abc', '0'");
    _file.addScalar("'103', 0, 0, '4', '1', 1, 1, 3, 0, '0', '0', NULL, '0'");
    _file.addScalar("'104', 0, 0, '4', '1', 1, 1, 4, 0, '0', '0', '', '0'");
    _file.addScalar("'105', 0, 0, '4', '1', 1, 1, 5, 0, '0', '0', NULL, '0'");
    DataBase dataBase = load();
    EXPECT_EQ(infoText(dataBase, 0x101), "");
    EXPECT_EQ(infoText(dataBase, 0x102), "abc");
    EXPECT_EQ(infoText(dataBase, 0x103), "abc");
    EXPECT_EQ(infoText(dataBase, 0x104), "");
    EXPECT_EQ(infoText(dataBase, 0x105), "");
}

TEST_F(SnmpDataBaseTest, ANullTextOfACellRepeatsTheNearestEarlierCellText)
{
    _file.addScalar("'101', 0, 0, '4', '1', 1, 1, 1, 0, '0', '0', 'scalar', '0'");
    _file.addCell("'201', 0, 2, 4, 3, '.3.1', '0', '0', NULL, 1, 0, '0', '0'");
    _file.addCell("'202', 0, 3, 4, 3, '.3.1', '0', '0', 'abc', 1, 0, '0', '0'");
    _file.addCell("'203', 0, 4, 4, 3, '.3.1', '0', '0', NULL, 1, 0, '0', '0'");
    DataBase dataBase = load();
    EXPECT_EQ(infoText(dataBase, 0x201), "");
    EXPECT_EQ(infoText(dataBase, 0x203), "abc");
}

TEST_F(SnmpDataBaseTest, ANullTextRepeatsThatOfADroppedRowToo)
{
    _file.addScalar("'101', 0, 0, '4', '1', 1, 1, 1, 0, '0', '0', 'kept', '0'");
    _file.addScalar("'101', 0, 0, '4', '1', 1, 1, 1, 0, '0', '0', 'dropped', '0'");
    _file.addScalar("'102', 0, 0, '4', '1', 1, 1, 2, 0, '0', '0', NULL, '0'");
    _file.addCell("'201', 0, 2, 4, 3, '.3.1', '0', '0', 'kept cell', 1, 0, '0', '0'");
    _file.addCell("'202', 0, 2, 4, 3, '.3.1', '0', '0', 'dropped cell', 1, 0, '0', '0'");
    _file.addCell("'203', 0, 3, 4, 3, '.3.1', '0', '0', NULL, 1, 0, '0', '0'");
    DataBase dataBase = load();
    EXPECT_EQ(infoText(dataBase, 0x101), "kept");
    EXPECT_EQ(infoText(dataBase, 0x102), "dropped");
    EXPECT_EQ(infoText(dataBase, 0x201), "kept cell");
    EXPECT_EQ(infoText(dataBase, 0x203), "dropped cell");
}

TEST_F(SnmpDataBaseTest, CellsThatAreNoNumbersAreZero)
{
    _file.addScalar("'101', 'x', NULL, 'none', NULL, '', NULL, 'y', NULL, NULL, 'g', NULL, NULL");
    DataBase dataBase = load();
    const SnmpObjOid record = scalar(dataBase, 0x101);
    EXPECT_EQ(record.attr1 + record.magic + record.asnType + record.access + record.flag, 0);
    EXPECT_EQ(record.oidArc1 + record.oidArc2 + record.oidArc3 + record.oidArc4, 0U);
    EXPECT_EQ(record.valueType + record.attr2, 0);
}

TEST_F(SnmpDataBaseTest, NumbersAreCutToTheirField)
{
    _file.addScalar("'12345', '257', '258', '10002', '10003', 1, 2, 3, 0, '14000', '1ff', "
                    "NULL, '0'");
    DataBase dataBase = load();
    const SnmpObjOid record = scalar(dataBase, 0x2345);
    EXPECT_EQ(record.attr1, 1);
    EXPECT_EQ(record.magic, 2);
    EXPECT_EQ(record.asnType, 2);
    EXPECT_EQ(record.access, 3);
    EXPECT_EQ(record.valueType, 0x4000);
    EXPECT_EQ(record.flag, 0xFF);
}

TEST_F(SnmpDataBaseTest, MoreThan32BitsAreTheLargestNumberBeforeTheyAreCut)
{
    _file.addScalar("'100000101', '4294967297', 0, '-1', '-fffffffe', '4294967297', '-1', "
                    "'-4294967295', '99999999999999999999', '0', '0', NULL, '0'");
    DataBase dataBase = load();
    const SnmpObjOid record = scalar(dataBase, 0xFFFF);
    EXPECT_EQ(record.attr1, 0xFF);
    EXPECT_EQ(record.asnType, 0xFFFF);
    EXPECT_EQ(record.access, 2);
    EXPECT_EQ(record.oidArc1, 4294967295U);
    EXPECT_EQ(record.oidArc2, 4294967295U);
    EXPECT_EQ(record.oidArc3, 1U);
    EXPECT_EQ(record.oidArc4, 4294967295U);
}

TEST_F(SnmpDataBaseTest, ARowOver255IsFiledUnderItsLowEightBits)
{
    _file.addCell("201", ".3.1", 5, 300, 2, 3);
    DataBase dataBase = load();
    EXPECT_EQ(cell(dataBase, ".3.1", 5, 44).objId, 0x201);
}

TEST_F(SnmpDataBaseTest, TheFirstCellOfAKeyWins)
{
    _file.addCell("201", ".3.1", 5, 1, 2, 3);
    _file.addCell("202", ".3.1", 5, 1, 2, 3);
    DataBase dataBase = load();
    EXPECT_EQ(cell(dataBase, ".3.1", 5, 1).objId, 0x201);
}

TEST_F(SnmpDataBaseTest, AnIdInTwoCellsIsDescribedByTheFirst)
{
    _file.addCell("'201', 0, 2, 4, 3, '.3.1', '0', '0', 'first', 1, 0, '0', '0'");
    _file.addCell("'201', 0, 3, 4, 3, '.3.1', '0', '0', 'second', 1, 0, '0', '0'");
    DataBase dataBase = load();
    EXPECT_EQ(infoText(dataBase, 0x201), "first");
    EXPECT_EQ(cell(dataBase, ".3.1", 3, 1).objId, 0x201);
}

TEST_F(SnmpDataBaseTest, ARowWithoutATableNodeIsSkipped)
{
    _file.addCell("'201', 0, 2, 4, 3, NULL, '0', '0', 'skipped', 1, 0, '0', '0'");
    _file.addCell("'202', 0, 3, 4, 3, '.3.1', '0', '0', NULL, 1, 0, '0', '0'");
    DataBase dataBase = load();
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), ElementsAre(3));
    EXPECT_EQ(infoText(dataBase, 0x202), "");
}

TEST_F(SnmpDataBaseTest, TablesAreListedByFirstAppearanceWithTheirFirstKind)
{
    _file.addCell("'201', 0, 2, 4, 3, '.3.1', '0', '0', NULL, 1, 7, '0', '0'");
    _file.addCell("'202', 0, 2, 4, 3, '.3.2', '0', '0', NULL, 1, 8, '0', '0'");
    _file.addCell("'203', 0, 3, 4, 3, '.3.1', '0', '0', NULL, 1, 9, '0', '0'");
    _file.addCell("'204', 0, 3, 4, 3, '.3.2', '0', '0', NULL, 1, 9, '0', '0'");
    DataBase dataBase = load();
    std::vector<SnmpTableInfo> tables(5);
    EXPECT_EQ(dataBase.getSnmpTableList(tables), 0);
    ASSERT_EQ(tables.size(), 2U);
    EXPECT_EQ(tables[0].tableNode, ".3.1");
    EXPECT_EQ(tables[0].tableKind, 7);
    EXPECT_EQ(tables[1].tableNode, ".3.2");
    EXPECT_EQ(tables[1].tableKind, 8);
}

TEST_F(SnmpDataBaseTest, TheTableListIsLeftAloneWithoutTables)
{
    DataBase dataBase = load();
    std::vector<SnmpTableInfo> tables(3);
    EXPECT_EQ(dataBase.getSnmpTableList(tables), -1);
    EXPECT_EQ(tables.size(), 3U);
}

TEST_F(SnmpDataBaseTest, AMissingCellTableIsLoggedAndTheScalarsAreLoaded)
{
    _file.addScalar("101", "4", "1", 1, 2, 3);
    _file.dropTable("SNMP_TABLE_OBJ_TABLE");
    CapturedOutput output;
    DataBase dataBase = load();
    EXPECT_EQ(output.text(), " subsite 0 get SNMP_TABLE_OBJ_TABLE error\n");
    EXPECT_THAT(scalarIds(dataBase), ElementsAre(0x101));
}

TEST_F(SnmpDataBaseTest, AMissingScalarTableIsLoggedAndTheCellsAreLoaded)
{
    _file.addCell("201", ".3.1", 2, 1, 2, 3);
    _file.dropTable("SNMP_GENERAL_OBJ_TABLE");
    CapturedOutput output;
    DataBase dataBase = load();
    EXPECT_EQ(output.text(), " subsite 0 get SNMP_GENERAL_OBJ_TABLE error\n");
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), ElementsAre(2));
}

TEST_F(SnmpDataBaseTest, AMissingFileIsMadeAndBothTablesAreMissing)
{
    const std::string absent = std::string(_file.path()) + ".absent";
    CapturedOutput output;
    DataBase dataBase(absent.c_str());
    EXPECT_EQ(output.text(), " subsite 0 get SNMP_GENERAL_OBJ_TABLE error\n"
                             " subsite 0 get SNMP_TABLE_OBJ_TABLE error\n");
    EXPECT_EQ(access(absent.c_str(), F_OK), 0);
    unlink(absent.c_str());
}

TEST_F(SnmpDataBaseTest, AnUnopenableFileIsOpenTheSecondTimeAndUnreadable)
{
    CapturedOutput output;
    DataBase dataBase(unopenable);
    EXPECT_EQ(output.text(), "ERROR: open file /nonexistent/mapping.db failed! \n"
                             "initSnmpObjOid subsite 0 db open error\n"
                             " subsite 0 get SNMP_TABLE_OBJ_TABLE error\n");
    EXPECT_THAT(scalarIds(dataBase), IsEmpty());
}

TEST_F(SnmpDataBaseTest, TablesOfTooFewColumnsAreUnreadable)
{
    _file.run("DROP TABLE SNMP_GENERAL_OBJ_TABLE; DROP TABLE SNMP_TABLE_OBJ_TABLE;"
              "CREATE TABLE SNMP_GENERAL_OBJ_TABLE (objId, attr1);"
              "INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES ('1', 2);"
              "CREATE TABLE SNMP_TABLE_OBJ_TABLE (objId, attr1);"
              "INSERT INTO SNMP_TABLE_OBJ_TABLE VALUES ('1', 2)");
    CapturedOutput output;
    DataBase dataBase = load();
    EXPECT_EQ(output.text(), " subsite 0 get SNMP_GENERAL_OBJ_TABLE error\n"
                             " subsite 0 get SNMP_TABLE_OBJ_TABLE error\n");
    EXPECT_THAT(scalarIds(dataBase), IsEmpty());
}

TEST_F(SnmpDataBaseTest, TheScalarLoaderLogsAnUnreadableTableBeforeItCloses)
{
    DataBase dataBase = load();
    NarratingStore store;
    store.readStatus = -1;
    CapturedOutput output;
    EXPECT_EQ(dataBase.initSnmpObjOid(store), -1);
    EXPECT_EQ(output.text(), "open\nselectAll SNMP_GENERAL_OBJ_TABLE\n"
                             " subsite 0 get SNMP_GENERAL_OBJ_TABLE error\nfreeTable\nclose\n");
}

TEST_F(SnmpDataBaseTest, TheCellLoaderLogsAnUnreadableTableAfterItHasClosed)
{
    DataBase dataBase = load();
    NarratingStore store;
    store.readStatus = -1;
    CapturedOutput output;
    EXPECT_EQ(dataBase.initSnmpTableOid(store), -1);
    EXPECT_EQ(output.text(), "open\nselectAll SNMP_TABLE_OBJ_TABLE\nfreeTable\nclose\n"
                             " subsite 0 get SNMP_TABLE_OBJ_TABLE error\n");
}

TEST_F(SnmpDataBaseTest, TheLoadersTellAStoreThatDoesNotOpenAndLeaveItAlone)
{
    DataBase dataBase = load();
    NarratingStore store;
    store.openStatus = -1;
    CapturedOutput output;
    EXPECT_EQ(dataBase.initSnmpObjOid(store), -1);
    EXPECT_EQ(dataBase.initSnmpTableOid(store), -1);
    EXPECT_EQ(dataBase.initTableSlotFreq(store), -1);
    EXPECT_EQ(output.text(), "open\ninitSnmpObjOid subsite 0 db open error\n"
                             "open\ninitSnmpTableOid subsite 0 db open error\n"
                             "open\n db open error\n");
}

TEST_F(SnmpDataBaseTest, TheMessagesNameTheSubsite)
{
    DataBase dataBase = load();
    dataBase.subsite = 9;
    NarratingStore store;
    store.openStatus = -1;
    CapturedOutput output;
    dataBase.initSnmpObjOid(store);
    EXPECT_EQ(output.text(), "open\ninitSnmpObjOid subsite 9 db open error\n");
}

TEST_F(SnmpDataBaseTest, EveryLoaderGivesItsResultBackAndCloses)
{
    DataBase dataBase = load();
    NarratingStore store;
    CapturedOutput output;
    EXPECT_EQ(dataBase.initSnmpObjOid(store), 0);
    EXPECT_EQ(dataBase.initSnmpTableOid(store), 0);
    EXPECT_EQ(dataBase.initTableSlotFreq(store), 0);
    EXPECT_EQ(output.text(), "open\nselectAll SNMP_GENERAL_OBJ_TABLE\nfreeTable\nclose\n"
                             "open\nselectAll SNMP_TABLE_OBJ_TABLE\nfreeTable\nclose\n"
                             "open\nselectAll TABLE_SLOT_FREQ_OBJ\nfreeTable\nclose\n");
}

TEST_F(SnmpDataBaseTest, ASecondLoadReplacesEverything)
{
    _file.addScalar("101", "4", "1", 1, 2, 3);
    _file.addCell("201", ".3.1", 2, 1, 2, 3);
    fileHoldsSlotFrequencies("('1', '55', '0')");
    fileHoldsGenusGroups("('', '1', '0101')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    loadGenusGroup(dataBase, 0x101, 0);
    ASSERT_EQ(frequencyOf(dataBase, 0x101), 0x55);

    MappingFile other;
    other.addScalar("102", "4", "1", 1, 2, 3);
    dataBase.loadDataBase(other.path());
    EXPECT_THAT(scalarIds(dataBase), ElementsAre(0x102));
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), IsEmpty());
    EXPECT_EQ(frequencyOf(dataBase, 0x101), -1);
    std::vector<SnmpTableInfo> tables;
    EXPECT_EQ(dataBase.getSnmpTableList(tables), -1);
    SnmpObjInfo info;
    EXPECT_EQ(dataBase.getSnmpObjInfo(0x201, info), -1);
}

TEST_F(SnmpDataBaseTest, ASecondLoadForgetsFrequenciesAndGroupsAlike)
{
    fileHoldsSlotFrequencies("('1', '55', '0')");
    fileHoldsGenusGroups("('', '1', '0101')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    dataBase.loadDataBase(_file.path());
    loadGenusGroup(dataBase, 0x101, 0);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), -1);
    dataBase.loadDataBase(_file.path());
    loadSlotFrequencies(dataBase);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), -1);
}

TEST_F(SnmpDataBaseTest, ReadersNeverSeeAHalfLoadedMapping)
{
    _file.addScalar("101", "4", "1", 1, 2, 3);
    _file.addScalar("102", "4", "1", 1, 2, 4);
    DataBase dataBase = load();
    std::atomic<bool> done = false;
    std::thread loader([&] {
        for (int load = 0; load < 20; ++load) {
            dataBase.loadDataBase(_file.path());
        }
        done = true;
    });
    int partial = 0;
    while (!done) {
        partial += scalarIds(dataBase).size() == 2 ? 0 : 1;
    }
    loader.join();
    EXPECT_EQ(partial, 0);
}

TEST_F(SnmpDataBaseTest, ADescriptionWaitsForTheLock)
{
    _file.addScalar("101", "4", "1", 1, 2, 3);
    DataBase dataBase = load();
    pthread_mutex_t *const mutex = mutexOf(dataBase);
    ASSERT_NE(mutex, nullptr);
    SnmpObjInfo info;
    ASSERT_EQ(pthread_mutex_lock(mutex), 0);
    WaitingCall lookup([&] { return dataBase.getSnmpObjInfo(0x101, info); });
    EXPECT_TRUE(lookup.comesToWait());
    EXPECT_EQ(info.asnType, 0);
    pthread_mutex_unlock(mutex);
    EXPECT_EQ(lookup.result(), 0);
    EXPECT_EQ(info.asnType, 4);
}

TEST_F(SnmpDataBaseTest, AMissingCellIsLoggedWithoutTheLock)
{
    DataBase dataBase = load();
    pthread_mutex_t *const mutex = mutexOf(dataBase);
    ASSERT_NE(mutex, nullptr);
    CapturedOutput output;
    SnmpTableOid record;
    // Any thread that prints now waits.
    flockfile(stdout);
    WaitingCall lookup([&] { return dataBase.getSnmpTableOid(".3.1", 5, 2, record); });
    EXPECT_TRUE(lookup.comesToWait());
    const bool isFree = pthread_mutex_trylock(mutex) == 0;
    if (isFree) {
        pthread_mutex_unlock(mutex);
    }
    funlockfile(stdout);
    EXPECT_TRUE(isFree);
    EXPECT_EQ(lookup.result(), -1);
    EXPECT_EQ(output.text(), " getSnmpTableOid .3.10200000005\n ");
}

TEST_F(SnmpDataBaseTest, DescribesAnObjectThatIsOnlyACell)
{
    _file.addCell("'201', 17, 5, 40, 12, '.3.1', '4003', 'a0', 'abc', 1, 0, 'beef', '0'");
    DataBase dataBase = load();
    SnmpObjInfo info;
    EXPECT_EQ(dataBase.getSnmpObjInfo(0x201, info), 0);
    EXPECT_EQ(info.attr1, 17);
    EXPECT_EQ(info.flag, 0xA0);
    EXPECT_EQ(info.valueType, 0x4003);
    EXPECT_EQ(info.attr2, 0xBEEF);
    EXPECT_EQ(info.asnType, 40);
    EXPECT_EQ(info.access, 12);
    EXPECT_EQ(info.text, "abc");
}

TEST_F(SnmpDataBaseTest, DescribesAnObjectThatIsBothByItsScalar)
{
    _file.addCell("'101', 0, 5, 2, 3, '.3.1', '0', '0', 'cell', 1, 0, '0', '0'");
    _file.addScalar("'101', 0, 0, '4', '1', 1, 1, 1, 0, '0', '0', 'scalar', '0'");
    DataBase dataBase = load();
    EXPECT_EQ(infoText(dataBase, 0x101), "scalar");
}

TEST_F(SnmpDataBaseTest, AnUnknownObjectLeavesTheDescriptionAlone)
{
    _file.addScalar("101", "4", "1", 1, 2, 3);
    DataBase dataBase = load();
    SnmpObjInfo info;
    info.text = "mine";
    CapturedOutput output;
    EXPECT_EQ(dataBase.getSnmpObjInfo(0x999, info), -1);
    EXPECT_EQ(info.text, "mine");
    EXPECT_EQ(output.text(), "");
}

TEST_F(SnmpDataBaseTest, FindsTheCellOfARow)
{
    _file.addCell("201", ".3.1", 5, 1, 2, 3);
    _file.addCell("202", ".3.1", 5, 2, 2, 3);
    DataBase dataBase = load();
    EXPECT_EQ(cell(dataBase, ".3.1", 5, 1).objId, 0x201);
    EXPECT_EQ(cell(dataBase, ".3.1", 5, 2).objId, 0x202);
}

TEST_F(SnmpDataBaseTest, EveryRowOfASubsiteUsesTheCellsOfRowOne)
{
    _file.addCell("201", ".3.1", 5, 1, 2, 3);
    _file.addCell("202", ".3.1", 5, 2, 2, 3);
    DataBase dataBase = load();
    dataBase.subsite = 1;
    EXPECT_EQ(cell(dataBase, ".3.1", 5, 2).objId, 0x201);
    EXPECT_EQ(cell(dataBase, ".3.1", 5, 0).objId, 0x201);
}

TEST_F(SnmpDataBaseTest, AMissingCellIsLoggedWithItsKeyAndLeavesTheRecordAlone)
{
    _file.addCell("201", ".3.1", 5, 1, 2, 3);
    DataBase dataBase = load();
    SnmpTableOid record;
    record.objId = 0x77;
    CapturedOutput output;
    EXPECT_EQ(dataBase.getSnmpTableOid(".3.1", 5, 2, record), -1);
    EXPECT_EQ(record.objId, 0x77);
    EXPECT_EQ(output.text(), " getSnmpTableOid .3.10200000005\n ");
}

TEST_F(SnmpDataBaseTest, TheMissedKeyOfASubsiteIsThatOfRowOne)
{
    DataBase dataBase = load();
    dataBase.subsite = 1;
    SnmpTableOid record;
    CapturedOutput output;
    EXPECT_EQ(dataBase.getSnmpTableOid(".3.1", 5, 2, record), -1);
    EXPECT_EQ(output.text(), " getSnmpTableOid .3.10100000005\n ");
}

TEST_F(SnmpDataBaseTest, ListsTheScalarsInAscendingId)
{
    _file.addScalar("8001", "4", "1", 1, 2, 3);
    _file.addScalar("101", "4", "1", 1, 2, 4);
    DataBase dataBase = load();
    EXPECT_THAT(scalarIds(dataBase), ElementsAre(0x101, 0x8001));
}

TEST_F(SnmpDataBaseTest, AppendsTheScalarsToWhatTheListHolds)
{
    _file.addScalar("101", "4", "1", 1, 2, 3);
    _file.addScalar("102", "4", "1", 1, 2, 4);
    DataBase dataBase = load();
    std::vector<SnmpObjOid> list;
    dataBase.getSnmpObjOidList(list);
    EXPECT_EQ(dataBase.getSnmpObjOidList(list), 0);
    ASSERT_EQ(list.size(), 4U);
    EXPECT_EQ(list[0].objId, 0x101);
    EXPECT_EQ(list[2].objId, 0x101);
}

TEST_F(SnmpDataBaseTest, ListsTheColumnsOfRowOneInAscendingOrder)
{
    _file.addCell("203", ".3.1", 3, 1, 2, 3);
    _file.addCell("201", ".3.1", 1, 1, 2, 3);
    _file.addCell("202", ".3.1", 2, 1, 2, 3);
    _file.addCell("204", ".3.1", 1, 2, 2, 3);
    _file.addCell("205", ".3.2", 7, 1, 2, 3);
    DataBase dataBase = load();
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), ElementsAre(1, 2, 3));
}

TEST_F(SnmpDataBaseTest, AppendsTheColumnsToWhatTheListHolds)
{
    _file.addCell("201", ".3.1", 2, 1, 2, 3);
    DataBase dataBase = load();
    std::vector<SnmpTableOid> list(1);
    EXPECT_EQ(dataBase.getSnmpTableColumns(".3.1", list), 0);
    EXPECT_EQ(list.size(), 2U);
}

TEST_F(SnmpDataBaseTest, ATableWithoutCellsHasNoColumns)
{
    DataBase dataBase = load();
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), IsEmpty());
}

TEST_F(SnmpDataBaseTest, TheOutermostColumnsAreFoundButNeverListed)
{
    _file.addCell("201", ".3.1", 0, 1, 2, 3);
    _file.addCell("202", ".3.1", 2, 1, 2, 3);
    _file.addCell("'203', 0, '4294967295', 2, 3, '.3.1', '0', '0', NULL, 1, 0, '0', '0'");
    DataBase dataBase = load();
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), ElementsAre(2));
    EXPECT_EQ(cell(dataBase, ".3.1", 0, 1).objId, 0x201);
    EXPECT_EQ(cell(dataBase, ".3.1", 4294967295U, 1).objId, 0x203);
}

TEST_F(SnmpDataBaseTest, ASubsiteListsTheColumnsOfRowOneToo)
{
    _file.addCell("201", ".3.1", 2, 1, 2, 3);
    DataBase dataBase = load();
    dataBase.subsite = 2;
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), ElementsAre(2));
}

TEST_F(SnmpDataBaseTest, ANodeThatContinuesTheRangeOfAnotherIsListedWithIt)
{
    _file.addCell("201", ".3.1", 2, 1, 2, 3);
    _file.addCell("202", ".3.101.4", 9, 7, 2, 3);
    DataBase dataBase = load();
    EXPECT_THAT(columnsOf(dataBase, ".3.1"), ElementsAre(2));
    _file.addCell("203", ".3.1015", 9, 7, 2, 3);
    DataBase withLongerNode = load();
    EXPECT_THAT(columnsOf(withLongerNode, ".3.1"), ElementsAre(2, 9));
}

TEST_F(SnmpDataBaseTest, CompletesAScalarFromItsId)
{
    _file.addScalar("101", "4", "3", 1, 2, 3, "4001");
    DataBase dataBase = load();
    EXPECT_EQ(scalar(dataBase, 0x101).valueType, 0x4001);
    EXPECT_EQ(scalar(dataBase, 0x101).oidArc3, 3U);
}

TEST_F(SnmpDataBaseTest, AnUnknownScalarLeavesTheRecordAlone)
{
    DataBase dataBase = load();
    SnmpObjOid record;
    record.objId = 0x101;
    record.text = "mine";
    EXPECT_EQ(dataBase.getSnmpObjOid(record), -1);
    EXPECT_EQ(record.text, "mine");
}

TEST_F(SnmpDataBaseTest, ListsFlaggedScalarsThenFlaggedCells)
{
    _file.addScalar("'301', 0, 0, '4', '1', 1, 1, 1, 0, '0', '1', NULL, '0'");
    _file.addScalar("'101', 0, 0, '4', '1', 1, 1, 2, 0, '0', 'f', NULL, '0'");
    _file.addScalar("'102', 0, 0, '4', '1', 1, 1, 3, 0, '0', '0', NULL, '0'");
    _file.addCell("'202', 0, 3, 4, 3, '.3.1', '0', '1', NULL, 1, 0, '0', '0'");
    _file.addCell("'201', 0, 2, 4, 3, '.3.2', '0', '1', NULL, 1, 0, '0', '0'");
    _file.addCell("'203', 0, 4, 4, 3, '.3.1', '0', '0', NULL, 1, 0, '0', '0'");
    DataBase dataBase = load();
    std::vector<std::uint16_t> ids{7};
    EXPECT_EQ(dataBase.getFlaggedObjIds(ids), 0);
    EXPECT_THAT(ids, ElementsAre(7, 0x101, 0x301, 0x202, 0x201));
}

TEST_F(SnmpDataBaseTest, CountsTheCellsBetweenColumnTwoOfTheFirstAndTheLastRow)
{
    _file.addCell("201", ".3.1", 1, 1, 2, 3);
    _file.addCell("202", ".3.1", 2, 1, 2, 3);
    _file.addCell("203", ".3.1", 3, 1, 2, 3);
    _file.addCell("204", ".3.1", 2, 2, 2, 3);
    _file.addCell("205", ".3.1", 1, 255, 2, 3);
    _file.addCell("206", ".3.1", 2, 255, 2, 3);
    _file.addCell("207", ".3.2", 3, 1, 2, 3);
    DataBase dataBase = load();
    EXPECT_EQ(dataBase.countTableKeys(".3.1"), 3);
}

TEST_F(SnmpDataBaseTest, CountsNothingInAnEmptyMapping)
{
    DataBase dataBase = load();
    EXPECT_EQ(dataBase.countTableKeys(".3.1"), 0);
}

TEST_F(SnmpDataBaseTest, FindsTheFrequencyOfAnObjectsSlotAndChannel)
{
    fileHoldsSlotFrequencies("('1a', '12345', '2'), ('0', '66', '0')");
    fileHoldsGenusGroups("('', '21a', '0101'), ('', '5', '0102')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    loadGenusGroup(dataBase, 0x101, 2);
    loadGenusGroup(dataBase, 0x102, 2);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x2345);
    EXPECT_EQ(frequencyOf(dataBase, 0x102), -1);
    EXPECT_EQ(frequencyOf(dataBase, 0x103), -1);
}

TEST_F(SnmpDataBaseTest, DistinguishesTheSlotsOfOneChannel)
{
    fileHoldsSlotFrequencies("('1', '11', '1'), ('1', '22', '2')");
    fileHoldsGenusGroups("('', '1', '0101'), ('', '1', '0102')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    loadGenusGroup(dataBase, 0x101, 1);
    loadGenusGroup(dataBase, 0x102, 2);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x11);
    EXPECT_EQ(frequencyOf(dataBase, 0x102), 0x22);
}

TEST_F(SnmpDataBaseTest, DistinguishesTheLastSlotFromTheFirst)
{
    fileHoldsSlotFrequencies("('1', '11', 'ff'), ('0', '22', '0')");
    fileHoldsGenusGroups("('', '0', '0101')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    loadGenusGroup(dataBase, 0x101, 0);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x22);
}

TEST_F(SnmpDataBaseTest, TheFirstFrequencyOfASlotAndChannelWins)
{
    fileHoldsSlotFrequencies("('101', '11', '0'), ('1', '22', '0')");
    fileHoldsGenusGroups("('', '1', '0101')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    loadGenusGroup(dataBase, 0x101, 0);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x11);
}

TEST_F(SnmpDataBaseTest, NoSlotFrequenciesAreLoadedFromAnEmptyTable)
{
    _file.run("CREATE TABLE TABLE_SLOT_FREQ_OBJ (channel, freq, slot)");
    DataBase dataBase = load();
    CapturedOutput output;
    loadSlotFrequencies(dataBase);
    EXPECT_EQ(output.text(), "");
}

TEST_F(SnmpDataBaseTest, AMissingSlotFrequencyTableIsLogged)
{
    DataBase dataBase = load();
    NarratingStore store;
    store.readStatus = -1;
    CapturedOutput output;
    EXPECT_EQ(dataBase.initTableSlotFreq(store), -1);
    EXPECT_EQ(output.text(), "open\nselectAll TABLE_SLOT_FREQ_OBJ\n db get table error\n"
                             "freeTable\nclose\n");
}

TEST_F(SnmpDataBaseTest, ASlotFrequencyTableOfTooFewColumnsIsUnreadable)
{
    DataBase dataBase = load();
    NarratingStore store;
    store.result = {{"channel", "freq"}, {"1", "55"}};
    CapturedOutput output;
    EXPECT_EQ(dataBase.initTableSlotFreq(store), -1);
}

TEST_F(SnmpDataBaseTest, AsksForTheGenusGroupOfOneObjectInAnOpenStore)
{
    DataBase dataBase = load();
    NarratingStore store;
    CapturedOutput output;
    EXPECT_EQ(dataBase.loadGenusGroup(store, 0xBEE, 0), 0);
    EXPECT_EQ(output.text(), "query select objId,channelNum FROM TABLE_OBJ_GENUS_GROUP "
                             "where objId=\"0BEE\"\nfreeTable\n");
}

TEST_F(SnmpDataBaseTest, AnObjectWithoutAGenusGroupIsFiledWithSlotAndChannelZero)
{
    fileHoldsSlotFrequencies("('0', '66', '0')");
    fileHoldsGenusGroups("('', '1', '0102')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    loadGenusGroup(dataBase, 0x101, 3);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x66);
}

TEST_F(SnmpDataBaseTest, AFailedGenusQueryIsLoggedAndFilesSlotAndChannelZero)
{
    fileHoldsSlotFrequencies("('0', '66', '0')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    CapturedOutput output;
    loadGenusGroup(dataBase, 0x101, 3);
    EXPECT_EQ(output.text(), "SQL ERROR  [select objId,channelNum FROM TABLE_OBJ_GENUS_GROUP where "
                             "objId=\"0101\"] no such table: TABLE_OBJ_GENUS_GROUP\n");
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x66);
}

TEST_F(SnmpDataBaseTest, AGenusAnswerOfOneColumnFilesSlotAndChannelZero)
{
    fileHoldsSlotFrequencies("('0', '66', '0'), ('1', '77', '3')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    NarratingStore store;
    store.result = {{"objId"}, {"0101"}};
    CapturedOutput output;
    EXPECT_EQ(dataBase.loadGenusGroup(store, 0x101, 3), 0);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x66);
}

TEST_F(SnmpDataBaseTest, AGenusGroupIsFiledUnderTheIdThatTheStoreGives)
{
    fileHoldsSlotFrequencies("('1', '77', '3')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    NarratingStore store;
    store.result = {{"objId", "channelNum"}, {"0105", "1"}, {"0106", "1"}};
    CapturedOutput output;
    dataBase.loadGenusGroup(store, 0x101, 3);
    EXPECT_EQ(frequencyOf(dataBase, 0x105), 0x77);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), -1);
    EXPECT_EQ(frequencyOf(dataBase, 0x106), -1);
}

TEST_F(SnmpDataBaseTest, TheFirstGenusGroupOfAnIdWins)
{
    fileHoldsSlotFrequencies("('1', '77', '3'), ('1', '88', '4')");
    fileHoldsGenusGroups("('', '1', '0101')");
    DataBase dataBase = load();
    loadSlotFrequencies(dataBase);
    loadGenusGroup(dataBase, 0x101, 3);
    loadGenusGroup(dataBase, 0x101, 4);
    EXPECT_EQ(frequencyOf(dataBase, 0x101), 0x77);
}
} // namespace
