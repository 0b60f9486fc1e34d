#include "Checker.h"
#include "DatabaseFile.h"
#include "InputError.h"
#include "SourceReader.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace
{
Findings checked(const std::string &source)
{
    const auto written = sourceReader::parseWritten(source, "shelf.yaml");
    Findings findings =
        check(MappingDatabase(written.mapping, "shelf.yaml"), written.places, ".1.3.6");
    findings.setFile("shelf.yaml");
    return findings;
}

/// "LINE:COLUMN CODE OBJECT OID" for each finding; accepted ones end with the reason.
std::string summaryOf(const Findings &findings)
{
    std::string lines;
    for (const Finding &each : findings.all()) {
        lines += std::to_string(each.mark.line) + ':' + std::to_string(each.mark.column) + ' ' +
                 std::string(each.rule->code) + ' ' + each.object + ' ' + each.oid +
                 (each.isAccepted() ? " (" + each.acceptedBecause + ')' : "") + '\n';
    }
    return lines;
}

std::string reasonFor(const std::string &source)
{
    try {
        (void)sourceReader::parseWritten(source, "shelf.yaml");
        ADD_FAILURE() << "was read";
        return "";
    } catch (const InputError &error) {
        return error.what();
    }
}

/// A table of eight rows with a column of a type that is not served, and what it accepts.
std::string gaugeTable(const std::string &inTable, const std::string &inColumn)
{
    return "tables:\n  - {name: fanTable, node: .2.1, " + inTable +
           "columns: [{name: fanSpeed, first: 0x100, type: gauge32" + inColumn + "}]}\n";
}
} // namespace

TEST(SourceCheck, ReportsTheValueTheNameAndTheOid)
{
    EXPECT_EQ(summaryOf(checked("scalars:\n"
                                "  - name: load\n"
                                "    oid: 1.1.7\n"
                                "    object: 0x1\n"
                                "    type: gauge32\n"
                                "    conversion: 0x0009\n")),
              "5:11 TM402 load .1.3.6.1.1.7.0\n"
              "6:17 TM507 load .1.3.6.1.1.7.0\n");
}

TEST(SourceCheck, ReportsTheValueAndTheMotionOfTheDevice)
{
    EXPECT_EQ(summaryOf(checked("scalars:\n"
                                "  - name: load\n"
                                "    oid: 1.1.7\n"
                                "    object: 0x1\n"
                                "    type: integer\n"
                                "    device:\n"
                                "      kind: unsigned\n"
                                "      width: 1\n"
                                "      value: 256\n"
                                "      motion: sine 300 0 1\n")),
              "9:14 TM914 load .1.3.6.1.1.7.0\n"
              "10:15 TM915 load .1.3.6.1.1.7.0\n");
}

TEST(SourceCheck, ReportsTheObjectIfTheValueIsNotWritten)
{
    EXPECT_EQ(summaryOf(checked(
                  "tables: [{node: .2.1, columns: [\n  {first: 0x1, column: 3, type: text}]}]")),
              "1:10 TM803  .1.3.6.2.1\n");
}

TEST(SourceCheck, ReportsAColumnOnceForAllItsRows)
{
    EXPECT_EQ(summaryOf(checked(gaugeTable("", ""))), "2:81 TM402 fanSpeed .1.3.6.2.1.1.2\n");
}

TEST(SourceCheck, ReportsWhatConcernsAWholeTableAtTheTable)
{
    EXPECT_EQ(summaryOf(checked("tables:\n"
                                "  - name: fanTable\n"
                                "    node: .2.1\n"
                                "    rows: 4\n"
                                "    columns: [{name: fanSpeed, first: 0x1, type: integer}]\n")),
              "4:11 TM810 fanTable .1.3.6.2.1\n");
}

TEST(SourceCheck, ReportsWhatConcernsTheWholeMappingAtTheModule)
{
    EXPECT_EQ(summaryOf(checked("scalars: []\nmodule:\n  name: SHELF-MIB\n")), "3:3 TM105  \n");
    EXPECT_EQ(summaryOf(checked("scalars: []\n")), "1:1 TM105  \n");
}

TEST(SourceCheck, ReportsSingleCellsWhereTheyAreWritten)
{
    EXPECT_EQ(summaryOf(checked("scalars: [{oid: 9.1.1, object: 0x9, type: text}]\n"
                                "cells:\n"
                                "  - {table: .2.1, column: 2, row: 1, object: 0x1, type: text}\n"
                                "  - {table: .2.1, column: 2, row: 9, object: 0x2, type: text}\n")),
              "3:35 TM804  .1.3.6.2.1\n4:35 TM805  .1.3.6.2.1.1.2\n");
}

TEST(SourceCheck, NamesTheOtherObjectOfAPair)
{
    const Findings findings = checked(
        "scalars: [{name: level, oid: 9.1.1, object: 0x100, type: text}]\n"
        "tables: [{node: .2.1, columns: [{first: 0x100, type: text, conversion: ipv4}]}]\n");
    ASSERT_EQ(findings.all().size(), 1U);
    EXPECT_EQ(findings.all()[0].what,
              "object 0x0100 is also the scalar of level; converted by raw, not by ipv4");
}

TEST(SourceCheck, PrintsFileLineColumnAndName)
{
    EXPECT_THAT(findingsReport::text(checked(gaugeTable("", "")), false),
                StartsWith("shelf.yaml:2:81: error TM402: fanSpeed: type Gauge32\n    effect: "));
    const std::string json = findingsReport::json(checked(gaugeTable("", "")));
    EXPECT_THAT(json, HasSubstr("\"line\": 2,\n        \"column\": 81\n"));
    EXPECT_THAT(json, HasSubstr("\"object\": \"fanSpeed\",\n      \"oid\": \".1.3.6.2.1.1.2\""));
}

TEST(DatabaseCheck, NamesTheObjectAsFarAsItIsKnown)
{
    const DatabaseFile database(soundDatabase());
    database.run("UPDATE SNMP_GENERAL_OBJ_TABLE SET asnType = '3' WHERE rowid = 1;"
                 "ALTER TABLE SNMP_GENERAL_OBJ_TABLE ADD COLUMN name TEXT;"
                 "UPDATE SNMP_GENERAL_OBJ_TABLE SET name = 'state' WHERE rowid = 1");
    const Findings findings = check(MappingDatabase(database.path()), ".1.3.6");
    EXPECT_EQ(summaryOf(findings), "0:0 TM401 state .1.3.6.1.1.1.0\n");
    EXPECT_THAT(findingsReport::text(findings, false),
                StartsWith("SNMP_GENERAL_OBJ_TABLE, row 1, asnType: error TM401: state: type BIT "
                           "STRING\n"));
}

TEST(Acceptances, SilenceAFindingOfTheirObject)
{
    EXPECT_EQ(summaryOf(checked(gaugeTable("", ", accept: {TM402: the values are small}"))),
              "2:81 TM402 fanSpeed .1.3.6.2.1.1.2 (the values are small)\n");
    const Findings findings = checked("scalars:\n"
                                      "  - {oid: 1.1.1, object: 0x1, type: gauge32,\n"
                                      "     accept: {TM402: by design}}\n"
                                      "  - {oid: 1.1.2, object: 0x2, type: gauge32}\n");
    EXPECT_EQ(summaryOf(findings), "2:37 TM402  .1.3.6.1.1.1.0 (by design)\n"
                                   "4:37 TM402  .1.3.6.1.1.2.0\n");
    EXPECT_EQ(findings.count(Severity::error), 1U);
}

TEST(Acceptances, MayBeAList)
{
    EXPECT_EQ(summaryOf(checked(gaugeTable("rows: 4, accept: [TM402: a, TM810: b], ", ""))),
              "2:40 TM810 fanTable .1.3.6.2.1 (b)\n"
              "2:120 TM402 fanSpeed .1.3.6.2.1.1.2 (a)\n");
}

TEST(Acceptances, OfATableHoldForItsColumns)
{
    EXPECT_EQ(summaryOf(checked(gaugeTable("accept: {TM402: tested}, ", ""))),
              "2:106 TM402 fanSpeed .1.3.6.2.1.1.2 (tested)\n");
    EXPECT_EQ(summaryOf(checked(gaugeTable("rows: 4, accept: {TM402: a, TM810: b}, ", ""))),
              "2:40 TM810 fanTable .1.3.6.2.1 (b)\n"
              "2:120 TM402 fanSpeed .1.3.6.2.1.1.2 (a)\n");
}

TEST(Acceptances, OfAColumnDoNotHoldForItsTable)
{
    EXPECT_EQ(summaryOf(checked("tables: [{node: .2.1, rows: 4, columns: [\n"
                                "  {first: 0x1, type: text, accept: {TM810: no}}]}]")),
              "1:29 TM810  .1.3.6.2.1\n2:37 TM991  \n");
}

TEST(Acceptances, OfTheModuleHoldEverywhere)
{
    EXPECT_EQ(summaryOf(checked("module: {accept: {TM402: tested}}\n" + gaugeTable("", ""))),
              "3:81 TM402 fanSpeed .1.3.6.2.1.1.2 (tested)\n");
}

TEST(Acceptances, ThatNoFindingNeedsAreReported)
{
    const Findings findings = checked("module: {accept: {TM402: tested}}\n" +
                                      gaugeTable("", ", accept: {TM402: near, TM507: unused}"));
    EXPECT_EQ(summaryOf(findings), "1:19 TM991  \n"
                                   "3:81 TM402 fanSpeed .1.3.6.2.1.1.2 (near)\n"
                                   "3:112 TM991 fanSpeed \n");
    EXPECT_EQ(findings.all()[2].what, "TM507 does not occur here");
}

TEST(Acceptances, AreCountedAndShownToProgramsOnly)
{
    const Findings findings = checked(gaugeTable("", ", accept: {TM402: tested}"));
    EXPECT_EQ(findingsReport::text(findings, false), "0 errors, 0 warnings, 0 notes, 1 accepted\n");
    const std::string json = findingsReport::json(findings);
    EXPECT_THAT(json, HasSubstr("\"errors\": 0,"));
    EXPECT_THAT(json, HasSubstr("\"accepted\": 1,"));
    EXPECT_THAT(json, HasSubstr("\"accepted\": \"tested\""));
}

TEST(Acceptances, NeedAKnownCodeAndAReason)
{
    const auto reasonForModule = [](const std::string &accept) {
        return reasonFor("module: {accept: " + accept + "}");
    };
    EXPECT_EQ(reasonForModule("TM402"), "shelf.yaml:1:18: accept is neither a map of codes to "
                                        "reasons nor a list of such maps");
    EXPECT_EQ(reasonForModule("[TM402]"), "shelf.yaml:1:19: accept is neither a map of codes to "
                                          "reasons nor a list of such maps");
    EXPECT_THAT(reasonForModule("{TM4O2: x}"),
                HasSubstr("shelf.yaml:1:19: unknown code \"TM4O2\" (did you mean \"TM402\"?)"));
    EXPECT_EQ(reasonForModule("{TM402: }"), "shelf.yaml:1:19: TM402 is accepted without a reason");
    EXPECT_EQ(reasonForModule("{TM402: \" \"}"),
              "shelf.yaml:1:26: TM402 is accepted without a reason");
    EXPECT_EQ(reasonForModule("{TM402: a, TM402: b}"), "shelf.yaml:1:29: TM402 is accepted twice");
    EXPECT_EQ(reasonForModule("[TM402: a, TM402: b]"), "shelf.yaml:1:29: TM402 is accepted twice");
}
