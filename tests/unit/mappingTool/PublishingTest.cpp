#include "DatabaseFile.h"
#include "InputError.h"
#include "MappingDatabase.h"
#include "MappingDiff.h"
#include "MibWriter.h"
#include "PrometheusWriter.h"
#include "SimulatorObjects.h"
#include "TelegrafWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace
{
ServedMapping servedOf(const std::string &goldenSource, const ServedOptions &options = {})
{
    const MappingInput input(goldenPath(goldenSource));
    return servedBy(input.database(), options);
}

ServedMapping servedOfDatabase(const std::string &statements, const ServedOptions &options = {})
{
    const DatabaseFile file(statements);
    return servedBy(MappingDatabase(file.path()), options);
}

std::vector<MappingChange> changesAfter(const std::string &statements)
{
    return mappingDiff::compare(servedOfDatabase(soundDatabase()),
                                servedOfDatabase(soundDatabase() + statements));
}
} // namespace

TEST(MibWriter, WritesAModuleOfEveryKindOfObject)
{
    expectGolden("everything.mib", mibWriter::write(servedOf("everything.yaml")).text);
}

TEST(MibWriter, NamesWhatAnUnnamedDatabaseHolds)
{
    expectGolden("unnamed.mib", mibWriter::write(servedOfDatabase(soundDatabase())).text);
}

TEST(MibWriter, ImportsNothingThatAnEmptyMappingDoesNotNeed)
{
    const std::string mib = mibWriter::write(servedOfDatabase("")).text;
    EXPECT_THAT(mib, HasSubstr("IMPORTS\n    MODULE-IDENTITY, enterprises\n        FROM "
                               "SNMPv2-SMI;\n"));
    EXPECT_THAT(mib, Not(HasSubstr("OBJECT-GROUP")));
}

TEST(MibWriter, WritesABaseThatIsNoEnterprise)
{
    EXPECT_THAT(mibWriter::write(servedOfDatabase("", {.base = ".1.3.6.1.3.9", .rows = 0})).text,
                HasSubstr("::= { iso 3 6 1 3 9 }"));
    EXPECT_THROW((void)mibWriter::write(servedOfDatabase("", {.base = ".2.3", .rows = 0})),
                 InputError);
}

TEST(PrometheusWriter, WritesAMetricForEveryKindOfObject)
{
    expectGolden("everything.prometheus.yml",
                 prometheusWriter::write(servedOf("everything.yaml"), "0.21"));
}

TEST(TelegrafWriter, WritesAFieldForEveryKindOfObject)
{
    expectGolden("everything.telegraf.conf", telegrafWriter::write(servedOf("everything.yaml")));
}

TEST(TelegrafWriter, AsksForOneRowMoreThanThereAre)
{
    const auto written = [](unsigned rows) {
        return telegrafWriter::write(servedOfDatabase(soundDatabase(), {.base = "", .rows = rows}));
    };
    EXPECT_THAT(written(fewRows), HasSubstr("\nmax_repetitions = 5\n"));
    EXPECT_THAT(written(manyRows), HasSubstr("\nmax_repetitions = 9\n"));
}

TEST(MetricsName, IsPlainWhateverTheModuleIsCalled)
{
    ModuleNotes module;
    module.name = "SAMPLE-SHELF-MIB";
    EXPECT_EQ(metricsName(module), "sample_shelf_mib");
    module.name = "a \"B\"\n\xC3\xA9:9";
    EXPECT_EQ(metricsName(module), "a__b_____9");
}

TEST(SimulatorObjects, AreThoseOfTheSourceCompletedByWhatSuitsTheirType)
{
    const MappingInput input(goldenPath("everything.yaml"));
    expectGolden("everything.objects.yaml", simulatorObjects::write(input.database(), {}));
}

TEST(SimulatorObjects, HaveTheBaseAndTheRowsThatAreAskedFor)
{
    const DatabaseFile file(soundDatabase());
    const std::string objects = simulatorObjects::write(MappingDatabase(file.path()),
                                                        {.base = ".1.3.6.1.4.1.1", .rows = 4});
    EXPECT_THAT(objects, HasSubstr("value: \".1.3.6.1.4.1.1\""));
    EXPECT_THAT(objects, HasSubstr("id: 0x0A41, kind: unsigned, width: 1, value: \"0\""));
}

TEST(MappingDiff, ReportsEverythingThatAManagerNotices)
{
    const auto changes =
        mappingDiff::compare(servedOf("everything.yaml"), servedOf("everything-changed.yaml"));
    expectGolden("diff.txt", mappingDiff::text(changes));
    expectGolden("diff.json", mappingDiff::json(changes));
    EXPECT_TRUE(mappingDiff::breaksManagers(changes));
}

TEST(MappingDiff, FindsNoDifferenceBetweenAMappingAndItself)
{
    const auto changes =
        mappingDiff::compare(servedOf("everything.yaml"), servedOf("everything.yaml"));
    EXPECT_EQ(mappingDiff::text(changes), "no differences\n");
    EXPECT_FALSE(mappingDiff::breaksManagers(changes));
}

TEST(MappingDiff, SaysThatAdditionsBreakNobody)
{
    const auto changes = changesAfter("INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES "
                                      "('0120','0','0','2','1','1','1','9','0','0','0','','0')");
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].kind, "added");
    EXPECT_FALSE(mappingDiff::breaksManagers(changes));
}

TEST(MappingDiff, SaysThatMoreAccessBreaksNobodyAndLessDoes)
{
    EXPECT_FALSE(mappingDiff::breaksManagers(
        changesAfter("UPDATE SNMP_GENERAL_OBJ_TABLE SET access = '3' WHERE rowid = 1")));
    EXPECT_TRUE(mappingDiff::breaksManagers(
        changesAfter("UPDATE SNMP_GENERAL_OBJ_TABLE SET access = '1' WHERE rowid = 3")));
}

TEST(MappingDiff, SaysThatNamesForAnUnnamedMappingBreakNobody)
{
    EXPECT_FALSE(mappingDiff::breaksManagers(
        changesAfter("CREATE TABLE TARNO_MAPPING_NOTES (subject TEXT, property TEXT, value TEXT);"
                     "INSERT INTO TARNO_MAPPING_NOTES VALUES ('', 'name', 'SHELF-MIB'), "
                     "('.2.1', 'name', 'portTable')")));
}

TEST(MappingDiff, SaysThatFewerRowsBreakManagers)
{
    const auto changes = changesAfter("DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.2' "
                                      "AND instance = 8");
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].kind, "rows");
    EXPECT_TRUE(changes[0].breaks);
}
