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
    /// Another rule that such a fault cannot avoid.
    const char *companion = nullptr;
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

/// The last cell of the second table, which converts.
std::string inSecondTable(const char *assignment)
{
    return std::string("UPDATE ") + cells + " SET " + assignment +
           " WHERE tableNode = '.2.2' AND instance = 8";
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

/// A new first column, or none.
std::string shiftRight(const std::string &table)
{
    return keepColumns(table, "rowid AS id, *");
}

std::string shiftLeft(const std::string &table, const char *columns)
{
    return keepColumns(table, (std::string(columns) + ", '' AS last").c_str());
}

/// Columns with other names, the first one additional.
std::string shiftUnnamed(const std::string &table)
{
    return "CREATE TABLE kept (a, b, c, d, e, f, g, h, i, j, k, l, m, n); INSERT INTO kept SELECT "
           "rowid, * FROM " +
           table + "; DROP TABLE " + table + "; ALTER TABLE kept RENAME TO " + table;
}

/// Another type for a column, and its values stored again.
std::string declare(const std::string &table, const std::string &column, const char *type)
{
    return "PRAGMA writable_schema = ON; UPDATE sqlite_master SET sql = replace(sql, '" + column +
           " TEXT', '" + column + ' ' + type + "') WHERE name = '" + table +
           "'; PRAGMA writable_schema = RESET; UPDATE " + table + " SET " + column + " = " +
           column + " || ''";
}

/// What the tool stores in addition.
std::string describe(const char *subject, const char *property, const char *value)
{
    return std::string("CREATE TABLE TARNO_MAPPING_NOTES (subject TEXT, property TEXT, value TEXT);"
                       "INSERT INTO TARNO_MAPPING_NOTES VALUES ('") +
           subject + "', '" + property + "', " + value + ')';
}

std::string describeModule(const char *property, const char *value)
{
    return describe("", property, value);
}

std::string withNotes(const std::string &statement)
{
    std::string all;
    for (const char *table : {scalars, cells}) {
        for (const char *column : {"name", "description", "units", "labels", "deviceKind",
                                   "deviceWidth", "deviceValue", "deviceMotion"}) {
            all += std::string("ALTER TABLE ") + table + " ADD COLUMN " + column + " TEXT;";
        }
    }
    return all + statement;
}

/// What an author says of the device's object, with another change of the same row.
std::string described(const char *kind, const char *width, const char *assignment)
{
    return std::string("deviceKind = '") + kind + "', deviceWidth = '" + width + "', " + assignment;
}

/// A read-only number.
std::string describeState(const char *kind, const char *width, const char *assignment)
{
    return withNotes(inScalar(described(kind, width, assignment).c_str()));
}

/// A writable text.
std::string describeText(const char *kind, const char *width, const char *assignment)
{
    return withNotes(inText(described(kind, width, assignment).c_str()));
}

std::string inRow(int row, const std::string &assignment)
{
    return std::string("UPDATE ") + scalars + " SET " + assignment +
           " WHERE rowid = " + std::to_string(row);
}

/// A writable number.
std::string describeLimit(const char *kind, const char *width, const char *assignment)
{
    return withNotes(inRow(4, described(kind, width, assignment)));
}

/// A writable decimal text.
std::string describeThreshold(const char *kind, const char *width, const char *assignment)
{
    return withNotes(inRow(5, described(kind, width, assignment)));
}

/// A column of writable numbers.
std::string describeColumn(const char *kind, const char *width)
{
    return withNotes(inColumn(described(kind, width, "attr1 = '0'").c_str()));
}

std::string nameState(const char *name)
{
    return withNotes(inScalar((std::string("name = '") + name + '\'').c_str()));
}

/// A sound alarm on the first scalar, or on another object, with a change.
std::string withAlarm(const char *assignment, const char *object = "state")
{
    return withNotes(
        inRow(1, "name = 'state'") + ';' + inRow(3, "name = 'contact'") + ';' +
        inRow(4, "name = 'limit', labels = '0=off 1=low 2=high 3=hot'") + ';' +
        inRow(5, "name = 'threshold'") + ';' + inColumn("name = 'level'") + ';' +
        inSecondTable("name = 'current'") +
        ";CREATE TABLE TARNO_MAPPING_ALARMS (name TEXT, number TEXT, object TEXT, condition TEXT, "
        "raiseAt TEXT, clearAt TEXT, every TEXT, severity TEXT, text TEXT, along TEXT, since TEXT, "
        "status TEXT, until TEXT); INSERT INTO TARNO_MAPPING_ALARMS VALUES ('tooHigh', '1', '" +
        object +
        "', 'above', '5', '4', '60', 'major', '', '', '', '', ''); UPDATE TARNO_MAPPING_ALARMS "
        "SET " +
        assignment);
}

/// The column of the first table is watched by as many alarms, each every five seconds.
std::string manyAlarms(int count)
{
    return withAlarm("every = '5'", "level") +
           ";WITH RECURSIVE n(i) AS (VALUES (2) UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(count) +
           ") INSERT INTO TARNO_MAPPING_ALARMS SELECT 'alarm' || i, i, object, condition, raiseAt, "
           "clearAt, every, severity, text, along, since, status, until FROM n, "
           "TARNO_MAPPING_ALARMS";
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

        PlantedFault{"write-ahead mode", "TM106", "PRAGMA journal_mode = WAL"},
        PlantedFault{"object ids of a scalar as INTEGER", "TM107",
                     declare(scalars, "objId", "INTEGER")},
        PlantedFault{"conversions of cells as NUMERIC", "TM107",
                     declare(cells, "valueType", "numeric(4)")},
        PlantedFault{"access of scalars as DECIMAL", "TM107",
                     declare(scalars, "access", "DECIMAL(5,0)")},
        PlantedFault{"column before those of scalars", "TM108", shiftRight(scalars)},
        PlantedFault{"column before those of cells", "TM108", shiftRight(cells)},
        PlantedFault{"column before cells of other names", "TM108", shiftUnnamed(cells)},
        PlantedFault{"scalars without their first column", "TM108",
                     shiftLeft(scalars,
                               "attr1, magic, asnType, access, oidArc1, oidArc2, oidArc3, oidArc4, "
                               "valueType, flag, text, attr2")},
        PlantedFault{"cells without their first column", "TM108",
                     shiftLeft(cells, "attr1, columnId, asnType, access, tableNode, valueType, "
                                      "flag, text, instance, tableKind, attr2, attr3")},
        PlantedFault{"base without a leading period", "TM109", describeModule("base", "'1.3.6'")},
        PlantedFault{"base over 32 bits", "TM109", describeModule("base", "'.1.3.4294967296'")},
        PlantedFault{"base with letters", "TM109", describeModule("base", "'.1.3.six'")},
        PlantedFault{"base below another root", "TM110", describeModule("base", "'.2.3.6'")},
        PlantedFault{"base of one number", "TM110", describeModule("base", "'.1'")},

        PlantedFault{"NULL number of a scalar", "TM201", inScalar("magic = NULL")},
        PlantedFault{"NULL number of a cell", "TM201", inCell("attr3 = NULL")},
        PlantedFault{"no number", "TM202", inScalar("attr1 = 'none'")},
        PlantedFault{"empty number", "TM202", inCell("flag = ''")},
        PlantedFault{"hexadecimal digits in a decimal column", "TM202", inScalar("magic = 'A'")},
        PlantedFault{"rest behind a number", "TM203", inScalar("attr2 = '12 volts'")},
        PlantedFault{"0x in a decimal column", "TM203", inScalar("oidArc4 = '0x0'")},
        PlantedFault{"object id over 16 bits", "TM204", inScalar("objId = '10115'")},
        PlantedFault{"attribute over 8 bits", "TM204", inCell("attr1 = '256'")},
        PlantedFault{"arc over 32 bits", "TM204", inScalar("oidArc3 = '4294967395'"), "TM713"},
        PlantedFault{"magic number over 8 bits", "TM204", inScalar("magic = '256'")},
        PlantedFault{"number over 64 bits", "TM204", inScalar("attr2 = 'FFFFFFFFFFFFFFFFF'")},
        PlantedFault{"negative number", "TM205", inScalar("attr1 = '-1'")},
        PlantedFault{"long text of a device", "TM208",
                     withNotes(inText("deviceKind = 'string', deviceValue = printf('%65s', 'x')"))},
        PlantedFault{"NULL carried text", "TM209", inCell("text = NULL")},
        PlantedFault{"text that is not UTF-8", "TM210", inScalar("text = CAST(X'C328' AS TEXT)")},
        PlantedFault{"description that is not UTF-8", "TM211",
                     withNotes(inScalar("description = CAST(X'C328' AS TEXT)"))},
        PlantedFault{"unit of a cell that is not UTF-8", "TM211",
                     withNotes(inCell("units = CAST(X'B0' AS TEXT)"))},
        PlantedFault{"contact that is not UTF-8", "TM211",
                     describeModule("contact", "CAST(X'FF' AS TEXT)")},

        PlantedFault{"second scalar of an object", "TM301",
                     addScalar("'0110','0','6','2','1','1','1','9','0','0','0','','0'")},
        PlantedFault{"second scalar at an OID", "TM302",
                     addScalar("'0120','0','6','2','1','1','1','1','0','0','0','','0'")},
        PlantedFault{"second row of a cell", "TM303",
                     addCell("'2150','0','3','4','1','.2.1','0','0','name','8','0','0','0'")},
        PlantedFault{"cells that convert one object differently", "TM304",
                     inSecondTable("objId = '2116'")},
        PlantedFault{"scalar and cell that convert one object differently", "TM305",
                     inSecondTable("objId = '0111'")},
        PlantedFault{"two ids of the first shared group", "TM306",
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '0910' WHERE rowid = 1;"
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '0913' WHERE rowid = 2"},
        PlantedFault{"shared id beside the object of its group", "TM306",
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '083B' WHERE rowid = 1;"
                     "UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '0915' WHERE rowid = 2"},
        PlantedFault{"id of the first shared group", "TM308", inScalar("objId = '0910'")},
        PlantedFault{"id of the second shared group", "TM308", inCell("objId = '0917'")},
        PlantedFault{"writable base OID", "TM307", inText("objId = '80BA'")},
        PlantedFault{"writable number of rows", "TM307",
                     inColumn("objId = '0A41'") + " AND instance = 1"},

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
        PlantedFault{"scalar beside the entry of a table", "TM707",
                     inScalar("oidArc1 = '2', oidArc3 = '2'")},
        PlantedFault{"table at the OID of a scalar", "TM707", secondTableAt(".1.1.1")},
        PlantedFault{"table at the instance of a scalar", "TM707", secondTableAt(".1.1.1.0"),
                     "TM922"},
        PlantedFault{"third table", "TM708", thirdTable()},
        PlantedFault{"cell of an unserved table that converts first", "TM304",
                     thirdTable() + "; UPDATE SNMP_TABLE_OBJ_TABLE SET objId = '2116' WHERE "
                                    "tableNode = '.2.3' AND instance = 1",
                     "TM708"},
        PlantedFault{"third table with gaps", "TM708",
                     thirdTable() + "; DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.3' "
                                    "AND instance < 3"},
        PlantedFault{"third table of another type", "TM708",
                     thirdTable() + "; UPDATE SNMP_TABLE_OBJ_TABLE SET asnType = '65' WHERE "
                                    "tableNode = '.2.3'"},
        PlantedFault{"long node", "TM709",
                     inTable("tableNode = '.2.1' || replace(hex(zeroblob(60)), '00', '.1') || "
                             "replace(hex(zeroblob(60)), '00', '.2')")},
        PlantedFault{"number over 32 bits in a node", "TM710",
                     inTable("tableNode = '.2.99999999999'")},
        PlantedFault{"fourth arc", "TM711", inScalar("oidArc4 = '7'")},
        PlantedFault{"256 scalars", "TM712", manyScalars()},
        PlantedFault{"first arc above 31 bits", "TM713", inScalar("oidArc1 = '2147483648'")},
        PlantedFault{"last arc above 31 bits", "TM713", inScalar("oidArc3 = '4294967295'")},
        PlantedFault{"base above 31 bits", "TM715", describeModule("base", "'.1.3.2147483648'")},
        PlantedFault{"node above 31 bits", "TM714", secondTableAt(".2.2147483648")},
        PlantedFault{"negative number in a node", "TM714", secondTableAt(".7.-1"), "TM702"},
        PlantedFault{"node at the end of 32 bits", "TM714", secondTableAt(".4294967295.2")},

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
        PlantedFault{"four rows", "TM810", "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE instance > 4"},
        PlantedFault{"four and eight rows", "TM812",
                     "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.1' AND instance > 4"},
        PlantedFault{"eight and four rows", "TM812",
                     "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.2' AND instance > 4"},
        PlantedFault{
            "last column missing in row 1", "TM811",
            "DELETE FROM SNMP_TABLE_OBJ_TABLE WHERE tableNode = '.2.1' AND columnId = 3 AND "
            "instance = 1"},

        PlantedFault{"writable signed cells", "TM901", describeColumn("signed", "4")},
        PlantedFault{"writable signed cells of one byte", "TM901", describeColumn("signed", "1")},
        PlantedFault{"writable scaled signed scalar", "TM902",
                     describeLimit("signed", "2", "valueType = '1000'"), "TM508"},
        PlantedFault{"writable signed decimal", "TM903",
                     describeThreshold("signed", "2", "flag = '0'"), "TM913"},
        PlantedFault{"unsigned number of four bytes", "TM904",
                     describeState("unsigned", "4", "access = '1'")},
        PlantedFault{"unsigned cells of four bytes", "TM904", describeColumn("unsigned", "4")},
        PlantedFault{"text as INTEGER", "TM905", describeState("string", "16", "access = '1'")},
        PlantedFault{"text cells as INTEGER", "TM905", describeColumn("string", "8")},
        PlantedFault{"text as 16 bits", "TM905",
                     describeState("string", "16", "valueType = '000B'")},
        PlantedFault{"number as OCTET STRING", "TM906",
                     describeText("unsigned", "2", "access = '1'")},
        PlantedFault{"signed number as OCTET STRING", "TM906",
                     describeText("signed", "4", "access = '3'")},
        PlantedFault{"decimal text of a text", "TM907",
                     describeThreshold("string", "16", "access = '1'")},
        PlantedFault{"block as OCTET STRING", "TM908", describeText("other", "4", "access = '1'")},
        PlantedFault{"block of eight bytes", "TM909", describeText("other", "8", "access = '1'")},
        PlantedFault{"address of six bytes", "TM909",
                     describeText("other", "6", "access = '1', valueType = '0001'")},
        PlantedFault{"address of two bytes", "TM910",
                     describeText("other", "2", "access = '1', valueType = '0001'")},
        PlantedFault{"address in a number of two bytes", "TM910",
                     describeText("unsigned", "2", "access = '1', valueType = '0002'")},
        PlantedFault{"address as a text", "TM911",
                     describeText("string", "15", "access = '1', valueType = '0001'")},
        PlantedFault{"uint16 of a signed number", "TM912",
                     describeState("signed", "2", "valueType = '000B'")},
        PlantedFault{"writable decimal", "TM913",
                     describeThreshold("unsigned", "2", "access = '3'")},
        PlantedFault{"writable decimal of one byte with two places", "TM913",
                     describeThreshold("unsigned", "1", "valueType = '2004'")},
        PlantedFault{"value above one byte", "TM914",
                     describeState("unsigned", "1", "deviceValue = '256'")},
        PlantedFault{"negative value of an unsigned number", "TM914",
                     describeState("unsigned", "2", "deviceValue = '-1'")},
        PlantedFault{"value below two signed bytes", "TM914",
                     describeState("signed", "2", "deviceValue = '-32769'")},
        PlantedFault{"words as the value of a number", "TM914",
                     describeState("unsigned", "2", "deviceValue = 'twelve'")},
        PlantedFault{"text longer than its object", "TM914",
                     describeText("string", "4", "deviceValue = 'north'")},
        PlantedFault{"block longer than its object", "TM914",
                     describeText("other", "2",
                                  "access = '1', valueType = '0003', deviceValue = 'C0 00 02'")},
        PlantedFault{
            "block with half a byte", "TM914",
            describeText("other", "4", "access = '1', valueType = '0001', deviceValue = 'C00'")},
        PlantedFault{"ramp above one byte", "TM915",
                     describeState("unsigned", "1", "deviceMotion = 'ramp 0 300 10'")},
        PlantedFault{"sine below 0", "TM915",
                     describeState("unsigned", "2", "deviceMotion = 'sine 10 20 5'")},
        PlantedFault{"walk above two signed bytes", "TM915",
                     describeState("signed", "2", "deviceMotion = 'walk 1 0 40000'")},
        PlantedFault{"clock in two bytes", "TM915",
                     describeState("unsigned", "2", "deviceMotion = 'clock'")},
        PlantedFault{"unknown motion", "TM916",
                     describeState("unsigned", "2", "deviceMotion = 'jump 1 2'")},
        PlantedFault{"motion without its time", "TM916",
                     describeState("unsigned", "2", "deviceMotion = 'ramp 0 100'")},
        PlantedFault{"walk between crossed bounds", "TM916",
                     describeState("unsigned", "2", "deviceMotion = 'walk 1 9 3'")},
        PlantedFault{"motion of a text", "TM916",
                     describeText("string", "8", "deviceMotion = 'clock'")},
        PlantedFault{"number of three bytes", "TM917",
                     describeState("unsigned", "3", "flag = '0'")},
        PlantedFault{"signed cells of eight bytes", "TM917", describeColumn("signed", "8")},
        PlantedFault{"label above one byte", "TM918",
                     describeState("unsigned", "1", "labels = '0=down 256=up'")},
        PlantedFault{"label below 0", "TM918",
                     describeState("unsigned", "2", "labels = '-1=unknown 1=up'")},
        PlantedFault{"writable uint16 of four bytes", "TM919",
                     describeLimit("unsigned", "4", "valueType = '000B'")},

        PlantedFault{"name of the root", "TM921", nameState("deviceMIB")},
        PlantedFault{"name of the group", "TM921", nameState("deviceMIBGroup")},
        PlantedFault{"name of the compliance statement", "TM921", nameState("deviceMIBCompliance")},
        PlantedFault{"name of the conformance branch", "TM921", nameState("deviceMIBConformance")},
        PlantedFault{"name of the branch of notifications", "TM921",
                     withAlarm("number = '1'", "level") + ';' +
                         inScalar("name = 'deviceMIBNotifications'")},
        PlantedFault{"name of the group of notifications", "TM921",
                     withAlarm("number = '1'", "level") + ';' +
                         inScalar("name = 'deviceMIBNotificationGroup'")},
        PlantedFault{"column with the name of the root", "TM921",
                     withNotes(inColumn("name = 'pumpMIB'")) + ';' +
                         describeModule("name", "'PUMP-MIB'")},
        PlantedFault{"name of the root in other letters", "TM921", nameState("devicemib")},
        PlantedFault{"name of a node", "TM921", nameState("deviceNode1x2")},
        PlantedFault{"name of the group of a revision", "TM921",
                     nameState("deviceMIBGroup20260601")},
        PlantedFault{"name of the compliance statement of a revision", "TM921",
                     nameState("deviceMIBCompliance20260601")},
        PlantedFault{"name of the notifications that may come", "TM921",
                     nameState("deviceMIBNotifications")},
        PlantedFault{"name of the rows of a table", "TM921",
                     nameState("valveEntry") + ';' + describe(".2.1", "name", "'valveTable'")},
        PlantedFault{"name of the second index of a table", "TM921",
                     nameState("valveSubIndex") + ';' + describe(".2.1", "name", "'valveTable'")},
        PlantedFault{"name of a node of the author", "TM921",
                     nameState("pump") + ';' + describe("groups", ".1.1", "'pump'")},
        PlantedFault{"node of the author with the name of the root", "TM921",
                     describe("groups", ".1.1", "'deviceMIB'")},
        PlantedFault{"alarm with the name of the root", "TM921", withAlarm("name = 'deviceMIB'")},
        PlantedFault{"scalar that ends in 0", "TM922", inScalar("oidArc3 = '0'")},
        PlantedFault{"table that ends in 0", "TM922", secondTableAt(".2.0")},
        PlantedFault{"day after the end of February", "TM923",
                     describeModule("updated", "'2026-02-29'")},
        PlantedFault{"date with words", "TM923", describeModule("updated", "'15 January'")},
        PlantedFault{"two scalars of one name", "TM924",
                     withNotes(inScalar("name = 'pump'") + ';' + inText("name = 'pump'"))},
        PlantedFault{"scalar and column of one name", "TM924",
                     withNotes(inScalar("name = 'pump'") + ';' + inColumn("name = 'pump'"))},
        PlantedFault{"names that differ in capitals only", "TM924",
                     withNotes(inScalar("name = 'pumpRate'") + ';' + inText("name = 'pumprate'"))},
        PlantedFault{"alarm with the name of an object", "TM924", withAlarm("name = 'limit'")},
        PlantedFault{"object with the name of a clearing", "TM924",
                     withAlarm("number = '1'") + ';' + inRow(4, "name = 'tooHighClear'")},
        PlantedFault{"name in capitals", "TM925", nameState("Pump")},
        PlantedFault{"name with a hyphen", "TM925", nameState("pump-state")},
        PlantedFault{"name of a cell with a blank", "TM925",
                     withNotes(inCell("name = 'pump state'"))},
        PlantedFault{"name of 65 characters", "TM925", nameState(std::string(65, 'a').c_str())},
        PlantedFault{"module in small letters", "TM925", describeModule("name", "'pump-mib'")},
        PlantedFault{"module with a blank", "TM925", describeModule("name", "'PUMP MIB'")},
        PlantedFault{"table that begins with a digit", "TM925", describe(".2.1", "name", "'2nd'")},
        PlantedFault{"alarm with a long name", "TM951",
                     withAlarm("name = 'abcdefghijklmnopqrstuvwxyzabcde'")},
        PlantedFault{"alarm on a missing object", "TM952", withAlarm("object = 'states'")},
        PlantedFault{"alarm with a limit on a text", "TM953",
                     withAlarm("condition = 'above'", "contact")},
        PlantedFault{"alarm that waits for a text", "TM953",
                     withAlarm("condition = 'equal', clearAt = ''", "contact")},
        PlantedFault{"alarm at a fraction of an integer", "TM954",
                     withAlarm("condition = 'equal', raiseAt = '5.5', clearAt = ''")},
        PlantedFault{"alarm on an unknown label", "TM954",
                     withAlarm("condition = 'one of', raiseAt = 'lower', clearAt = ''", "limit")},
        PlantedFault{"alarm on a number without a label", "TM954",
                     withAlarm("condition = 'equal', raiseAt = '9', clearAt = ''", "limit")},
        PlantedFault{"alarm above the highest label", "TM954",
                     withAlarm("raiseAt = '3', clearAt = '2'", "limit")},
        PlantedFault{"alarm below the lowest label", "TM954",
                     withAlarm("condition = 'below', raiseAt = '0', clearAt = '1'", "limit")},
        PlantedFault{"alarm outside the range", "TM954",
                     withAlarm("raiseAt = '2147483648', clearAt = '4'")},
        PlantedFault{"alarm above a limit that clears above it", "TM955",
                     withAlarm("clearAt = '6'")},
        PlantedFault{"alarm below a limit that clears below it", "TM955",
                     withAlarm("condition = 'below', raiseAt = '3', clearAt = '2'", "limit")},
        PlantedFault{"alarm that sends an unknown object", "TM956", withAlarm("along = 'states'")},
        PlantedFault{"alarm of a scalar that sends a column", "TM956",
                     withAlarm("along = 'level'")},
        PlantedFault{"alarm polled every second", "TM957", withAlarm("every = '1'", "level")},
        PlantedFault{"alarms polled too often together", "TM958", manyAlarms(5)},
        PlantedFault{"alarm on a decimal text", "TM959", withAlarm("clearAt = ''", "threshold")},
        PlantedFault{
            "alarm on labels in the middle", "TM960",
            withAlarm("condition = 'one of', raiseAt = 'low' || char(10) || 'hot', clearAt = ''",
                      "limit")},
        PlantedFault{"scalar with the number of the notifications", "TM961",
                     withAlarm("number = '1'") + ';' + inRow(2, "oidArc1 = '0'")},
        PlantedFault{"table with the number of the notifications", "TM961",
                     withAlarm("number = '1'") + ';' + secondTableAt(".0.2")},
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
    std::set<std::string> expected{GetParam().code};
    if (GetParam().companion != nullptr) {
        expected.emplace(GetParam().companion);
    }
    EXPECT_EQ(codesIn(database), expected);
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

TEST(Check, FindsNothingInASoundAlarm)
{
    for (const char *change :
         {"number = '1'", "clearAt = '5'", "clearAt = ''", "raiseAt = '5.5'", "every = '86400'",
          "along = 'contact'", "raiseAt = '-2147483648', clearAt = '-2147483648'",
          "condition = 'changed', raiseAt = ''", "condition = 'not equal', clearAt = ''",
          "object = 'nothing', status = 'obsolete', until = '2026-01-01'"}) {
        const DatabaseFile database(soundDatabase());
        database.run(withAlarm(change));
        EXPECT_THAT(codesIn(database), UnorderedElementsAre()) << change;
    }
}

TEST(Check, LooksAtNoAlarmThatIsObsolete)
{
    const DatabaseFile database(soundDatabase());
    database.run(withAlarm(
        "condition = 'equal', raiseAt = '5.5', status = 'obsolete', until = '2026-01-01'"));
    EXPECT_THAT(codesIn(database), UnorderedElementsAre());
}

TEST(Check, KnowsTheNumbersOfADecimalTextFromTheDevice)
{
    const DatabaseFile database(soundDatabase());
    database.run(withAlarm("raiseAt = '6553.4', clearAt = '4'", "threshold") + ';' +
                 inRow(5, "deviceKind = 'unsigned', deviceWidth = '2'"));
    EXPECT_THAT(codesIn(database), testing::Contains("TM959"));
    database.run("UPDATE TARNO_MAPPING_ALARMS SET raiseAt = '6553.6'");
    EXPECT_THAT(codesIn(database), testing::Contains("TM954"));
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

TEST(Check, AcceptsObjectsThatAreSharedAndConvertedAlike)
{
    const DatabaseFile database(soundDatabase());
    database.run(inCell("objId = '2116'"));
    EXPECT_THAT(codesIn(database), UnorderedElementsAre());
    database.run(inCell("objId = '0111'"));
    EXPECT_THAT(codesIn(database), UnorderedElementsAre());
}

TEST(Check, AcceptsALongTextThatNothingUses)
{
    const DatabaseFile database(soundDatabase());
    database.run(inScalar("text = printf('%65s', 'x')"));
    EXPECT_THAT(codesIn(database), UnorderedElementsAre());
}

TEST(Check, UsesTheBaseForTheLargestArc)
{
    const DatabaseFile database(soundDatabase());
    EXPECT_THAT(codesOf(check(MappingDatabase(database.path()), ".1.3.2147483648")),
                UnorderedElementsAre("TM715"));
    EXPECT_THAT(codesOf(check(MappingDatabase(database.path()), ".1.3.2147483647")),
                UnorderedElementsAre());
}

TEST(Check, RefusesABaseOver32Bits)
{
    const DatabaseFile database(soundDatabase());
    EXPECT_THROW((void)check(MappingDatabase(database.path()), ".1.3.4294967296"), InputError);
}

TEST(Check, ReportsShiftedColumnsOnce)
{
    const DatabaseFile database(soundDatabase());
    database.run(shiftRight(cells));
    Findings findings;
    EXPECT_EQ(onlyFindingIn(database, findings).what,
              "every column is one position too far to the right");
}

TEST(Check, AcceptsColumnsOfOtherNamesAndTypes)
{
    const DatabaseFile database(soundDatabase());
    database.run(declare(scalars, "objId", "VARCHAR(8)") + ';' +
                 declare(scalars, "oidArc1", "INTEGER") + ';' + declare(cells, "objId", "BLOB"));
    EXPECT_THAT(codesIn(database), UnorderedElementsAre());
    database.run("ALTER TABLE SNMP_GENERAL_OBJ_TABLE RENAME COLUMN objId TO a;"
                 "ALTER TABLE SNMP_GENERAL_OBJ_TABLE RENAME COLUMN attr1 TO objId");
    EXPECT_THAT(codesIn(database), UnorderedElementsAre());
}

TEST(Check, UsesAStatedBaseInsteadOfABadOne)
{
    const DatabaseFile database(soundDatabase());
    database.run(describeModule("base", "'.1.3.six'"));
    EXPECT_THAT(codesOf(check(MappingDatabase(database.path()), ".1.3.6")), UnorderedElementsAre());
}

TEST(Check, SaysThatAnAlarmKeepsANameThatIsTaken)
{
    const DatabaseFile database(soundDatabase());
    database.run(withAlarm("name = 'limit'"));
    Findings findings;
    EXPECT_THAT(onlyFindingIn(database, findings).effect, HasSubstr("tools refuse to load it"));
}

TEST(Check, TellsTheEffectsOfOverlapsApart)
{
    const std::vector<std::pair<std::string, std::string>> overlaps{
        {secondTableAt(".1.1.1"), "refuses the table"},
        {secondTableAt(".1.1.1.0"), "the scalar is not served"},
        {secondTableAt(".1.1.1.5"), "serves both"},
        {inScalar("oidArc1 = '2', oidArc3 = '2'"), "serves both"},
        {inScalar("oidArc1 = '2'"), "returns noSuchInstance"},
        {inTable("tableNode = 'x'"), "takes the place of a cell"}};
    for (const auto &[statements, effect] : overlaps) {
        const DatabaseFile database(soundDatabase());
        database.run(statements);
        const Findings findings = check(MappingDatabase(database.path()), "");
        EXPECT_THAT(findingsReport::text(findings, false), HasSubstr(effect)) << statements;
    }
}

TEST(Check, KnowsWhatTenDecimalPlacesDoToANumber)
{
    const DatabaseFile database(soundDatabase());
    database.run(inColumn("valueType = '9000'"));
    Findings findings = check(MappingDatabase(database.path()), "");
    EXPECT_EQ(findings.all().at(0).effect, "");
    database.run(inColumn("valueType = 'A000'"));
    findings = check(MappingDatabase(database.path()), "");
    EXPECT_THAT(findings.all().at(0).effect, HasSubstr("Every number but 0"));
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
    const std::string rules = findingsReport::rules(checkRules());
    EXPECT_EQ(static_cast<std::size_t>(std::count(rules.begin(), rules.end(), '\n')),
              checkRules().size());
    EXPECT_THAT(rules, HasSubstr("TM101  error    the scalar table is missing\n"));
}
