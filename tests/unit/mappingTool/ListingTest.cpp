#include "Listing.h"

#include "DatabaseFile.h"
#include "MappingDatabase.h"
#include "ObjectNames.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using testing::HasSubstr;
using testing::Not;

namespace
{
class Listing : public testing::Test
{
protected:
    [[nodiscard]] ServedMapping served(const ServedOptions &options = {}) const
    {
        return servedBy(MappingDatabase(file.path()), options);
    }

    DatabaseFile file{soundDatabase()};
};
} // namespace

TEST_F(Listing, ShowsScalarsAndColumns)
{
    expectGolden("show.txt", listing::table(served(), false));
}

TEST_F(Listing, ShowsTheSameForPrograms)
{
    expectGolden("show.json", listing::json(served({.base = ".1.3.6.1.4.1.32473.1", .rows = 4})));
}

TEST_F(Listing, ShowsTheSameForSpreadsheets)
{
    file.run("UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '0210' WHERE rowid = 1;"
             "UPDATE SNMP_TABLE_OBJ_TABLE SET objId = '0300' WHERE rowid = 5");
    expectGolden("show.csv", listing::csv(served()));
}

TEST_F(Listing, MarksWhatCanBeSetInColourOnly)
{
    EXPECT_THAT(listing::table(served(), false), Not(HasSubstr("\033")));
    EXPECT_THAT(listing::table(served(), true), HasSubstr("\033[33m"));
}

TEST_F(Listing, HasInstancesInTheOrderOfAWalk)
{
    file.run("UPDATE SNMP_GENERAL_OBJ_TABLE SET oidArc1 = '9' WHERE rowid = 1");
    const auto all = nlohmann::json::parse(listing::json(served()));
    EXPECT_EQ(all["instances"].size(), 5U + 3 * 8 + 2 * 8);
    EXPECT_EQ(all["instances"].back()["object"], "0x0110");
}

TEST_F(Listing, LeavesOutWhatIsNotServed)
{
    file.run("INSERT INTO SNMP_TABLE_OBJ_TABLE SELECT objId, attr1, columnId, asnType, access, "
             "'.2.3', valueType, flag, text, instance, tableKind, attr2, attr3 FROM "
             "SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.2';"
             "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.1' AND columnId = 3 AND "
             "instance = 4");
    const std::string table = listing::table(served(), false);
    EXPECT_THAT(table, Not(HasSubstr(".8.2.3.1.")));
    EXPECT_THAT(table, HasSubstr("1..3,5..8"));
}

TEST_F(Listing, TakesTheConversionOfTheScalarWhereAnIdIsShared)
{
    file.run("UPDATE SNMP_TABLE_OBJ_TABLE SET objId = '0114' WHERE tableNode = '.2.1' AND "
             "columnId = 3 AND instance = 1");
    const ServedMapping mapping = served();
    const auto column =
        std::find_if(mapping.objects.begin(), mapping.objects.end(),
                     [](const ServedObject &each) { return each.table == 0U && each.column == 3; });
    ASSERT_NE(column, mapping.objects.end());
    EXPECT_EQ(column->info.valueType, 0x1004);
}

TEST_F(Listing, NamesThePartsOfTablesApart)
{
    ServedMapping mapping = served();
    mapping.tables[0].notes.name = "port";
    mapping.tables[1].notes.name = "portTable";
    mapping.objects[0].notes.name = "portEntry";
    objectNames::complete(mapping);
    EXPECT_EQ(mapping.tables[0].notes.name, "port");
    EXPECT_EQ(mapping.tables[1].notes.name, "portTableX2");
    EXPECT_EQ(mapping.objects[0].notes.name, "portEntryX2");
}

TEST_F(Listing, LeavesOutWhatComesBehindASecondScalarAtOneOid)
{
    file.run("UPDATE SNMP_GENERAL_OBJ_TABLE SET oidArc3 = '2' WHERE rowid = 3");
    const std::string table = listing::table(served(), false);
    EXPECT_THAT(table, HasSubstr("0x0111"));
    EXPECT_THAT(table, Not(HasSubstr("0x0112")));
    EXPECT_THAT(table, Not(HasSubstr("0x0113")));
    EXPECT_THAT(table, HasSubstr("0x2100"));
}

TEST_F(Listing, GivesEveryObjectANameOfItsOwn)
{
    file.run("UPDATE SNMP_GENERAL_OBJ_TABLE SET text = 'same, but different'");
    std::set<std::string> names;
    const ServedMapping mapping = served();
    for (const ServedObject &object : mapping.objects) {
        names.insert(object.notes.name);
    }
    EXPECT_EQ(names.size(), mapping.objects.size());
    EXPECT_TRUE(names.contains("same"));
    EXPECT_TRUE(names.contains("sameX5"));
}
