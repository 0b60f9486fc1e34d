#include "DatabaseBuilder.h"
#include "DatabaseFile.h"
#include "InputError.h"
#include "MappingDatabase.h"
#include "ObjectTypes.h"
#include "PrometheusWriter.h"
#include "SourceReader.h"
#include "SourceWriter.h"
#include "TelegrafWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace
{
const std::string monitored = goldenPath("monitoring.yaml");

ServedMapping served()
{
    return servedBy(MappingInput(monitored).database(), {});
}

std::string scalarWith(const std::string &keys)
{
    return "scalars: [{oid: 1.1.1, object: 0x1, " + keys + "}]";
}

std::string columnWith(const std::string &keys)
{
    return "tables: [{node: .2.1, rows: 4, columns: [{first: 0x1, " + keys + "}]}]";
}

std::string reasonFor(const std::string &source)
{
    try {
        (void)sourceReader::parse(source, "shelf.yaml");
        return "no reason";
    } catch (const InputError &error) {
        return error.what();
    }
}

/// Every object has every word, whether it suits the object or not.
std::string everyWordDatabase()
{
    std::string statements = soundDatabase();
    for (const std::string table : {"SNMP_GENERAL_OBJ_TABLE", "SNMP_TABLE_OBJ_TABLE"}) {
        statements += "ALTER TABLE " + table + " ADD COLUMN monitoring TEXT; UPDATE " + table +
                      " SET monitoring = 'counter label states nonsense';";
    }
    return statements;
}
} // namespace

TEST(PrometheusWriter, WritesCountersStatesAndTextsThatNameRows)
{
    expectGolden("monitoring.prometheus-0.21.yml", prometheusWriter::write(served(), "0.21"));
}

TEST(PrometheusWriter, KeepsCredentialsApartForLaterExporters)
{
    const std::string written = prometheusWriter::write(served(), "0.23");
    EXPECT_THAT(written, HasSubstr("\nauths:\n  public_v2:\n    community: public\n    version: 2\n"
                                   "modules:\n  monitored_mib:\n"));
    EXPECT_THAT(written, Not(HasSubstr("auth:")));
    EXPECT_THAT(written, HasSubstr("(in 0.01 V)"));
}

TEST(PrometheusWriter, WritesAScaleForExportersThatHaveOne)
{
    expectGolden("monitoring.prometheus-0.25.yml", prometheusWriter::write(served(), "0.25"));
}

TEST(TelegrafWriter, WritesTagsAndDecimalPlaces)
{
    expectGolden("monitoring.telegraf.conf", telegrafWriter::write(served()));
}

TEST(MonitoringNotes, AreWordsInADatabase)
{
    EXPECT_EQ(monitoringNotes::words({.isCounter = true, .isLabel = true, .hasStates = true}),
              "counter label states");
    EXPECT_EQ(monitoringNotes::words({}), "");
}

TEST(MonitoringNotes, SurviveADatabaseAndItsImport)
{
    const std::string built = databaseBuilder::build(sourceReader::read(monitored));
    const std::string imported =
        sourceWriter::write(MappingDatabase(sourceReader::read(monitored), monitored).source());
    EXPECT_THAT(imported, HasSubstr("states: true"));
    EXPECT_EQ(databaseBuilder::build(sourceReader::parse(imported, "imported.yaml")), built);
}

TEST(MonitoringNotes, ThatASourceMustNotHaveAreNotImported)
{
    const DatabaseFile file(everyWordDatabase());
    const std::string imported = sourceWriter::write(MappingDatabase(file.path()).source());
    EXPECT_THAT(imported, HasSubstr("meaning: counter"));
    EXPECT_THAT(imported, HasSubstr("label: true"));
    EXPECT_EQ(reasonFor(imported), "no reason");
}

TEST(MonitoringNotes, OfADatabaseCountOnlyWhereTheySuit)
{
    const DatabaseFile file(everyWordDatabase());
    const ServedMapping all = servedBy(MappingDatabase(file.path()), {});
    for (const ServedObject &object : all.objects) {
        const bool isNumber = object.info.asnType == objectType::integer;
        EXPECT_EQ(object.isCounter(), isNumber && !object.isRowNumber()) << object.notes.name;
        EXPECT_EQ(object.isRowLabel(), object.table && !isNumber) << object.notes.name;
    }
}

TEST(MonitoringNotes, MustSuitTheObject)
{
    EXPECT_THAT(reasonFor(scalarWith("type: integer, meaning: total")),
                HasSubstr("unknown meaning \"total\"; allowed: gauge, counter"));
    EXPECT_THAT(reasonFor(scalarWith("type: text, meaning: counter")),
                HasSubstr("meaning needs type integer without labels"));
    EXPECT_THAT(reasonFor(scalarWith("type: integer, meaning: counter, labels: {0: a}")),
                HasSubstr("meaning needs type integer without labels"));
    EXPECT_THAT(reasonFor(scalarWith("type: integer, states: true")),
                HasSubstr("states needs labels"));
    EXPECT_THAT(reasonFor(scalarWith("type: text, label: true")),
                HasSubstr("unknown key \"label\" in scalar"));
    EXPECT_THAT(reasonFor(columnWith("type: integer, label: true")),
                HasSubstr("label needs type text"));
    EXPECT_THAT(reasonFor(columnWith("type: text, label: perhaps")),
                HasSubstr("label is neither true nor false"));
}
