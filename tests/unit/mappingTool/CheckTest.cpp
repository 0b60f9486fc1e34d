#include "Checker.h"

#include "DatabaseFile.h"
#include "InputError.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace
{
constexpr const char *scalars = "SNMP_GENERAL_OBJ_TABLE";
constexpr const char *cells = "SNMP_TABLE_OBJ_TABLE";

/// A fault planted in the sound database, and the one rule that it violates.
struct PlantedFault {
    const char *name;
    const char *code;
    std::string statements;
};

std::ostream &operator<<(std::ostream &out, const PlantedFault &fault)
{
    return out << fault.name;
}

std::string inScalar(const char *assignment)
{
    return std::string("UPDATE ") + scalars + " SET " + assignment + " WHERE rowid = 1";
}

std::string inText(const char *assignment)
{
    return std::string("UPDATE ") + scalars + " SET " + assignment + " WHERE rowid = 3";
}

/// All cells of column 2 of the first table, or of the whole table.
std::string inColumn(const char *assignment)
{
    return std::string("UPDATE ") + cells + " SET " + assignment +
           " WHERE tableNode = '.2.1' AND columnId = 2";
}

std::string inTable(const char *assignment)
{
    return std::string("UPDATE ") + cells + " SET " + assignment + " WHERE tableNode = '.2.1'";
}

std::string inCell(const char *assignment)
{
    return std::string("UPDATE ") + cells + " SET " + assignment +
           " WHERE tableNode = '.2.1' AND columnId = 3 AND instance = 8";
}

std::string addScalar(const char *values)
{
    return std::string("INSERT INTO ") + scalars + " VALUES (" + values + ')';
}

std::string addCell(const char *values)
{
    return std::string("INSERT INTO ") + cells + " VALUES (" + values + ')';
}

std::string keepColumns(const std::string &table, const char *columns)
{
    return "CREATE TABLE kept AS SELECT " + std::string(columns) + " FROM " + table +
           "; DROP TABLE " + table + "; ALTER TABLE kept RENAME TO " + table;
}

std::string secondTableAt(const char *node)
{
    return std::string("UPDATE ") + cells + " SET tableNode = '" + node +
           "' WHERE tableNode = '.2.2'";
}

std::string thirdTable()
{
    return std::string("INSERT INTO ") + cells +
           " SELECT printf('%04X', 0x22FF + instance), attr1, columnId, asnType, access, '.2.3', "
           "valueType, flag, text, instance, tableKind, attr2, attr3 FROM " +
           cells + " WHERE tableNode = '.2.2'";
}

std::string manyScalars()
{
    return std::string("WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < "
                       "251) INSERT INTO ") +
           scalars +
           " SELECT printf('%04X', 0x3000 + i), '0', '0', '2', '1', '9', i, '1', '0', '0', '0', "
           "'', '0' FROM n";
}

const std::vector<PlantedFault> &plantedFaults()
{
    static const std::vector<PlantedFault> faults{
        PlantedFault{"no scalar table", "TM101", "DROP TABLE SNMP_GENERAL_OBJ_TABLE"},
        PlantedFault{"no cell table", "TM102", "DROP TABLE SNMP_TABLE_OBJ_TABLE"},
        PlantedFault{"narrow scalar table", "TM103", keepColumns(scalars, "objId, attr1, magic")},
        PlantedFault{"narrow cell table", "TM104", keepColumns(cells, "objId, attr1, columnId")},
        PlantedFault{"empty tables", "TM105",
                     "DELETE FROM SNMP_GENERAL_OBJ_TABLE; DELETE FROM SNMP_TABLE_OBJ_TABLE"},

        PlantedFault{"NULL number of a scalar", "TM201", inScalar("magic = NULL")},
        PlantedFault{"NULL number of a cell", "TM201", inCell("attr3 = NULL")},
        PlantedFault{"no number", "TM202", inScalar("attr1 = 'none'")},
        PlantedFault{"empty number", "TM202", inCell("flag = ''")},
        PlantedFault{"hexadecimal digits in a decimal column", "TM202", inScalar("magic = 'A'")},
        PlantedFault{"rest behind a number", "TM203", inScalar("attr2 = '12 volts'")},
        PlantedFault{"0x in a decimal column", "TM203", inScalar("oidArc4 = '0x0'")},
        PlantedFault{"object id over 16 bits", "TM204", inScalar("objId = '10115'")},
        PlantedFault{"attribute over 8 bits", "TM204", inCell("attr1 = '256'")},
        PlantedFault{"arc over 32 bits", "TM204", inScalar("oidArc3 = '4294967395'")},
        PlantedFault{"number over 64 bits", "TM204", inScalar("attr2 = 'FFFFFFFFFFFFFFFFF'")},
        PlantedFault{"negative number", "TM205", inScalar("attr1 = '-1'")},
        PlantedFault{"long carried text", "TM208", inScalar("text = printf('%65s', 'x')")},
        PlantedFault{"NULL carried text", "TM209", inCell("text = NULL")},
        PlantedFault{"text that is not UTF-8", "TM210", inScalar("text = CAST(X'C328' AS TEXT)")},

        PlantedFault{"second scalar of an object", "TM301",
                     addScalar("'0110','0','6','2','1','1','1','9','0','0','0','','0'")},
        PlantedFault{"second scalar at an OID", "TM302",
                     addScalar("'0120','0','6','2','1','1','1','1','0','0','0','','0'")},
        PlantedFault{"second row of a cell", "TM303",
                     addCell("'2150','0','3','4','1','.2.1','0','0','name','8','0','0','0'")},
        PlantedFault{"object in two cells", "TM304", inCell("objId = '2116'")},
        PlantedFault{"object that is scalar and cell", "TM305", inCell("objId = '0111'")},
        PlantedFault{"two ids of the first shared group", "TM306",
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '0910' WHERE rowid = 1;"
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '0913' WHERE rowid = 2"},
        PlantedFault{"shared id beside the object of its group", "TM306",
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '083B' WHERE rowid = 1;"
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '0915' WHERE rowid = 2"},
        PlantedFault{"writable base OID", "TM307", inText("objId = '80BA'")},

        PlantedFault{"BIT STRING", "TM401", inScalar("asnType = '3'")},
        PlantedFault{"type zero", "TM401", inScalar("asnType = '0'")},
        PlantedFault{"Counter32 in a scalar", "TM402", inScalar("asnType = '41'")},
        PlantedFault{"Gauge32 in a column", "TM402", inColumn("asnType = '66'")},
        PlantedFault{"Counter64", "TM402", inScalar("asnType = '46'")},
        PlantedFault{"IpAddress of a text", "TM403", inScalar("asnType = '40'")},
        PlantedFault{"OBJECT IDENTIFIER", "TM404", inScalar("asnType = '6'")},
        PlantedFault{"NULL type", "TM405", inScalar("asnType = '5'")},
        PlantedFault{"Opaque", "TM406", inScalar("asnType = '44'")},
        PlantedFault{"type of 16 bits", "TM407", inScalar("asnType = '102'")},

        PlantedFault{"address text in an INTEGER", "TM501", inScalar("valueType = '0001'")},
        PlantedFault{"decimal text in an INTEGER column", "TM501", inColumn("valueType = '1004'")},
        PlantedFault{"number in a text", "TM502", inText("valueType = '000B'")},
        PlantedFault{"scale of an address", "TM503",
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET valueType = '1001' WHERE rowid = 2"},
        PlantedFault{"scale of a read-only number", "TM504", inScalar("valueType = '2000'")},
        PlantedFault{"three decimal places", "TM505",
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET valueType = '3004' WHERE rowid = 5"},
        PlantedFault{"writable address", "TM506", inText("valueType = '0002'")},
        PlantedFault{"writable time", "TM506", inText("valueType = '0003'")},
        PlantedFault{"unknown kind", "TM507", inScalar("valueType = '0007'")},
        PlantedFault{"number scaled in sets only", "TM508", inColumn("valueType = '1000'")},
        PlantedFault{"IPv4 text as IpAddress", "TM509",
                     inScalar("asnType = '40', valueType = '1'")},
        PlantedFault{"scaled text", "TM510", inText("valueType = '1000'")},

        PlantedFault{"write-only scalar", "TM601", inScalar("access = '2'")},
        PlantedFault{"write-only column", "TM602", inColumn("access = '2'")},
        PlantedFault{"no access", "TM603", inScalar("access = '0'")},

        PlantedFault{"node without a leading period", "TM701", inTable("tableNode = '2.1'")},
        PlantedFault{"node with a gap", "TM702", inTable("tableNode = '.7..1'")},
        PlantedFault{"node with a period at its end", "TM702", inTable("tableNode = '.7.'")},
        PlantedFault{"node with letters", "TM702", inTable("tableNode = '.7.ports'")},
        PlantedFault{"row without a node", "TM703",
                     addCell("'2150','0','2','2','1',NULL,'0','0','','1','0','0','0'")},
        PlantedFault{"empty node", "TM704", inTable("tableNode = ''")},
        PlantedFault{"node that begins with another and 01", "TM705", secondTableAt(".2.101")},
        PlantedFault{"table in a table", "TM706", secondTableAt(".2.1.1")},
        PlantedFault{"two nodes of one OID", "TM706", secondTableAt(".02.1")},
        PlantedFault{"scalar in a table", "TM707", inScalar("oidArc1 = '2'")},
        PlantedFault{"table in a scalar", "TM707", secondTableAt(".1.1.1.5")},
        PlantedFault{"third table", "TM708", thirdTable()},
        PlantedFault{"long node", "TM709",
                     inTable("tableNode = '.2.1' || replace(hex(zeroblob(60)), '00', '.1') || "
                             "replace(hex(zeroblob(60)), '00', '.2')")},
        PlantedFault{"number over 32 bits in a node", "TM710",
                     inTable("tableNode = '.2.99999999999'")},
        PlantedFault{"fourth arc", "TM711", inScalar("oidArc4 = '7'")},
        PlantedFault{"256 scalars", "TM712", manyScalars()},

        PlantedFault{"column 0", "TM801",
                     addCell("'2150','0','0','2','1','.2.1','0','0','','1','0','0','0'")},
        PlantedFault{"column 1", "TM802",
                     addCell("'2150','0','1','2','1','.2.1','0','0','','1','0','0','0'")},
        PlantedFault{"gap in the columns", "TM803", inColumn("columnId = '5'")},
        PlantedFault{
            "columns that start at 3", "TM803",
            "UPDATE SNMP_TABLE_OBJ_TABLE SET columnId = columnId + 1 WHERE tableNode = '.2.1'"},
        PlantedFault{
            "missing cell", "TM804",
            "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.1' AND columnId = 2 AND "
            "instance = 3"},
        PlantedFault{"five rows", "TM804",
                     "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.1' AND instance > 5"},
        PlantedFault{"row 9", "TM805",
                     addCell("'2150','0','2','2','3','.2.1','0','0','','9','0','0','0'")},
        PlantedFault{"row 0", "TM806",
                     addCell("'2150','0','2','2','3','.2.1','0','0','','0','0','0','0'")},
        PlantedFault{
            "row 261", "TM807",
            "UPDATE SNMP_TABLE_OBJ_TABLE SET instance = '261' WHERE tableNode = '.2.1' AND "
            "columnId = 2 AND instance = 5"},
        PlantedFault{"row of another type", "TM808", inCell("access = '3'")},
        PlantedFault{"several table kinds", "TM809", inCell("tableKind = '4'")},
        PlantedFault{"four rows", "TM810",
                     "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.1' AND instance > 4"},
        PlantedFault{
            "last column missing in row 1", "TM811",
            "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.1' AND columnId = 3 AND "
            "instance = 1"},
    };
    return faults;
}

std::set<std::string> codesIn(const DatabaseFile &database)
{
    return codesOf(check(MappingDatabase(database.path()), ""));
}

const Finding &onlyFindingIn(const DatabaseFile &database, Findings &findings)
{
    findings = check(MappingDatabase(database.path()), "");
    EXPECT_EQ(findings.all().size(), 1U);
    return findings.all().at(0);
}

class PlantedFaults : public testing::TestWithParam<PlantedFault>
{
};
} // namespace

TEST_P(PlantedFaults, IsTheOnlyThingFound)
{
    const DatabaseFile database(soundDatabase());
    ASSERT_THAT(codesIn(database), UnorderedElementsAre());
    database.run(GetParam().statements);
    EXPECT_THAT(codesIn(database), UnorderedElementsAre(GetParam().code));
}

INSTANTIATE_TEST_SUITE_P(Check, PlantedFaults, testing::ValuesIn(plantedFaults()),
                         [](const testing::TestParamInfo<PlantedFault> &planted) {
                             std::string name = planted.param.code;
                             for (const char each : std::string(planted.param.name)) {
                                 name += std::isalnum(static_cast<unsigned char>(each)) != 0 ? each
                                                                                             : '_';
                             }
                             return name;
                         });

TEST(Check, HasARuleForEveryPlantedFaultAndAFaultForEveryRule)
{
    std::set<std::string> planted{"TM206", "TM207", "TM991"};
    for (const PlantedFault &fault : plantedFaults()) {
        planted.insert(fault.code);
    }
    std::set<std::string> rules;
    for (const CheckRule &rule : checkRules()) {
        rules.emplace(rule.code);
    }
    EXPECT_EQ(planted, rules);
    EXPECT_EQ(rules.size(), checkRules().size());
}

TEST(Check, TakesAScalarTypeInDecimalForWhatWasMeant)
{
    const DatabaseFile database(soundDatabase());
    database.run(inScalar("asnType = '65'"));
    EXPECT_THAT(codesIn(database), UnorderedElementsAre("TM206", "TM401"));
}

TEST(Check, TakesACellTypeInHexadecimalForWhatWasMeant)
{
    const DatabaseFile database(soundDatabase());
    database.run(inColumn("asnType = '41'"));
    EXPECT_THAT(codesIn(database), UnorderedElementsAre("TM207", "TM401"));
}

TEST(Check, FindsThatCellsOfColumnsBeyond32BitsAreOneForTheAgent)
{
    const DatabaseFile database(soundDatabase());
    database.run("UPDATE SNMP_TABLE_OBJ_TABLE SET columnId = columnId + 4294967296"
                 " WHERE tableNode = '.2.1'");
    EXPECT_THAT(codesIn(database), testing::IsSupersetOf({"TM204", "TM303"}));
}

TEST(Check, SaysWhereWhatAndHowToMend)
{
    const DatabaseFile database(soundDatabase());
    database.run(inCell("attr1 = 'x'"));
    Findings findings;
    const Finding &finding = onlyFindingIn(database, findings);
    EXPECT_EQ(finding.place.table, cells);
    EXPECT_EQ(finding.place.row, 16U);
    EXPECT_EQ(finding.place.column, "attr1");
    EXPECT_EQ(finding.what, "\"x\" is not a decimal number");
    EXPECT_FALSE(finding.rule->effect.empty());
    EXPECT_FALSE(finding.rule->remedy.empty());
}

TEST(Check, ReportsWhichOfTwoScalarsAtOneOidIsServed)
{
    const DatabaseFile database(soundDatabase());
    database.run(addScalar("'0010','0','6','2','1','1','1','1','0','0','0','','0'"));
    Findings findings;
    EXPECT_EQ(onlyFindingIn(database, findings).what,
              "1.1.1 is served for object 0x0010, not for 0x0110");
}

TEST(Check, UsesTheBaseForTheLengthOfOids)
{
    const DatabaseFile database(soundDatabase());
    std::string base = ".1.3";
    for (int number = 0; number < 121; ++number) {
        base += ".1";
    }
    EXPECT_THAT(codesOf(check(MappingDatabase(database.path()), base)),
                UnorderedElementsAre("TM709"));
}

TEST(Check, RefusesABaseThatIsNoOid)
{
    const DatabaseFile database(soundDatabase());
    EXPECT_THROW((void)check(MappingDatabase(database.path()), "1.3"), InputError);
}

TEST(FindingsReport, CountsBySeverity)
{
    const DatabaseFile database(soundDatabase());
    database.run(inScalar("asnType = '3', valueType = '7'"));
    const Findings findings = check(MappingDatabase(database.path()), "");
    EXPECT_EQ(findings.count(Severity::error), 1U);
    EXPECT_EQ(findings.count(Severity::warning), 1U);
    const std::string text = findingsReport::text(findings, false);
    EXPECT_THAT(text, HasSubstr("row 1, asnType: error TM401: type BIT STRING\n    effect: "));
    EXPECT_THAT(text, HasSubstr("1 error, 1 warning, 0 notes\n"));
    EXPECT_EQ(text.find('\033'), std::string::npos);
    EXPECT_THAT(findingsReport::text(findings, true), HasSubstr("\033[31merror\033[0m"));
    EXPECT_THAT(findingsReport::json(findings), HasSubstr("\"code\": \"TM401\""));
}

TEST(FindingsReport, ListsEveryRule)
{
    const std::string rules = findingsReport::rules();
    EXPECT_EQ(static_cast<std::size_t>(std::count(rules.begin(), rules.end(), '\n')),
              checkRules().size());
    EXPECT_THAT(rules, HasSubstr("TM101  error    the scalar table is missing\n"));
}
