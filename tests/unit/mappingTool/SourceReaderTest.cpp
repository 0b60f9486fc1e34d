#include "SourceReader.h"

#include "DatabaseFile.h"
#include "InputError.h"

#include <array>
#include <ostream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace
{
std::string reasonFor(const std::string &source)
{
    try {
        (void)sourceReader::parse(source, "shelf.yaml");
        ADD_FAILURE() << "was read";
        return "";
    } catch (const InputError &error) {
        return error.what();
    }
}

struct BadSource {
    const char *name;
    const char *source;
    const char *reason;
};

std::ostream &operator<<(std::ostream &out, const BadSource &bad)
{
    return out << bad.name;
}

constexpr std::array badSources{
    BadSource{"NoYaml", "scalars: [", "shelf.yaml:1:1: "},
    BadSource{"NoMap", "- 1", "shelf.yaml:1:1: the source is not a map"},
    BadSource{"Nothing", "", "shelf.yaml:1:1: the source is not a map"},
    BadSource{"UnknownKey", "scalars: []\nscalers: []",
              "shelf.yaml:2:1: unknown key \"scalers\" in the source"},
    BadSource{"SecondKey", "scalars: []\nscalars: []",
              "shelf.yaml:2:1: duplicate key \"scalars\" in the source"},
    BadSource{"NoList", "scalars: 5", "shelf.yaml:1:10: scalars is not a list"},
    BadSource{"NoType", "scalars:\n  - {oid: 1.1.1, object: 0x1}",
              "shelf.yaml:2:5: scalar has no \"type\""},
    BadSource{"ObjectIdWithoutPrefix", "scalars:\n  - {oid: 1.1.1, object: 0110, type: integer}",
              "shelf.yaml:2:26: object id \"0110\" is not a hexadecimal number from 0x0000 to"},
    BadSource{"ObjectIdTooLarge", "scalars:\n  - {oid: 1.1.1, object: 0x10000, type: integer}",
              "object id \"0x10000\" is not"},
    BadSource{"UnknownType", "scalars:\n  - {oid: 1.1.1, object: 0x1, type: string}",
              "shelf.yaml:2:37: unknown type \"string\""},
    BadSource{"UnknownAccess", "scalars:\n  - {oid: 1.1.1, object: 0x1, type: text, access: write}",
              "unknown access \"write\""},
    BadSource{"UnknownConversion",
              "scalars:\n  - {oid: 1.1.1, object: 0x1, type: text, conversion: decimal 20}",
              "unknown conversion \"decimal 20\""},
    BadSource{"TwoArcs", "scalars:\n  - {oid: \"1.1\", object: 0x1, type: text}",
              "oid \"1.1\" is not three dotted numbers"},
    BadSource{"ArcTooLarge", "scalars:\n  - {oid: 1.1.4294967296, object: 0x1, type: text}",
              "oid \"1.1.4294967296\" is not"},
    BadSource{"SecondOid",
              "scalars:\n  - {oid: 1.1.1, object: 0x1, type: text}\n"
              "  - {oid: 1.1.1, object: 0x2, type: text}",
              "shelf.yaml:3:11: duplicate oid \"1.1.1\""},
    BadSource{"SecondObject",
              "scalars:\n  - {oid: 1.1.1, object: 0x1, type: text}\n"
              "  - {oid: 1.1.2, object: 0x1, type: text}",
              "shelf.yaml:3:26: duplicate scalar for object 0x0001"},
    BadSource{"SecondName",
              "scalars:\n  - {name: a, oid: 1.1.1, object: 0x1, type: text}\n"
              "  - {name: a, oid: 1.1.2, object: 0x2, type: text}",
              "shelf.yaml:3:12: duplicate name \"a\""},
    BadSource{"BadName", "scalars:\n  - {name: A b, oid: 1.1.1, object: 0x1, type: text}",
              "name \"A b\" is not a lower-case letter"},
    BadSource{"BadLabel", "scalars:\n  - {oid: 1.1.1, object: 0x1, type: integer, labels: {0: Up}}",
              "label \"Up\" is not"},
    BadSource{"SecondLabel",
              "scalars:\n  - {oid: 1.1.1, object: 0x1, type: integer, labels: {0: a, 0: b}}",
              "label \"b\" or its number is a duplicate"},
    BadSource{"FlagTooLarge", "scalars:\n  - {oid: 1.1.1, object: 0x1, type: integer, flag: 256}",
              "flag \"256\" is not a number from 0 to 255"},
    BadSource{"ValuesOfAScalar",
              "scalars:\n  - {oid: 1.1.1, object: 0x1, type: integer, device: {values: [1]}}",
              "unknown key \"values\" in device"},
    BadSource{"DeviceKind",
              "scalars:\n  - {oid: 1.1.1, object: 0x1, type: integer, device: {kind: int}}",
              "device kind \"int\" is not one of"},
    BadSource{"NodeWithoutPeriod", "tables:\n  - {node: 2.1}",
              "shelf.yaml:2:12: node \"2.1\" is not dotted numbers with a leading period"},
    BadSource{"SecondDocument", "scalars: []\n---\nscalars: []", "shelf.yaml:2:1: second document"},
    BadSource{"TableWithoutColumns", "tables:\n  - {node: .2.1, name: portTable}",
              "shelf.yaml:2:5: table \".2.1\" has no columns"},
    BadSource{"TableWithAnEmptyListOfColumns", "tables:\n  - {node: .2.1, columns: []}",
              "shelf.yaml:2:5: table \".2.1\" has no columns"},
    BadSource{"MotionWithoutTime",
              "scalars:\n  - {oid: 1.1.1, object: 0x1, type: integer, device: {motion: ramp 0 9}}",
              "motion \"ramp 0 9\" has wrong numbers or times"},
    BadSource{"NodeWithGap", "tables:\n  - {node: .2..1}", "node \".2..1\" is not"},
    BadSource{"SecondNode", "tables:\n  - {node: .2.1}\n  - {node: .2.1}",
              "shelf.yaml:3:12: duplicate table node \".2.1\""},
    BadSource{"NoRows", "tables:\n  - {node: .2.1, rows: 0, columns: []}",
              "rows \"0\" is not a number from 1 to 255"},
    BadSource{"BadOrder",
              "tables:\n  - {node: .2.1, order: x, columns: [{first: 0x1, type: text}]}",
              "order \"x\" is neither rows nor columns"},
    BadSource{"SecondColumn",
              "tables:\n  - node: .2.1\n    columns:\n      - {first: 0x100, type: text}\n"
              "      - {first: 0x200, type: text, column: 2}",
              "shelf.yaml:5:9: duplicate cell: table \".2.1\", row 1, column 2"},
    BadSource{"TooFewObjects", "tables:\n  - {node: .2.1, columns: [{objects: [0x1], type: text}]}",
              "objects has 1 entries for 8 rows"},
    BadSource{"ObjectsAndFirst",
              "tables:\n  - {node: .2.1, rows: 1, columns: [{objects: [0x1], first: 0x1, type: "
              "text}]}",
              "objects and \"first\" exclude each other"},
    BadSource{"IdsThatRunOut", "tables:\n  - {node: .2.1, columns: [{first: 0xFFFF, type: text}]}",
              "object ids of the rows exceed 0xFFFF"},
    BadSource{"TooFewValues",
              "tables:\n  - {node: .2.1, columns: [{first: 0x1, type: text, device: {values: "
              "[a]}}]}",
              "values has 1 entries for 8 rows"},
    BadSource{"BadDay", "module: {updated: yesterday}", "date \"yesterday\" is not in the form"},
    BadSource{"BadModuleName", "module: {name: shelfMib}", "module name \"shelfMib\" is not"},
    BadSource{"BaseOver32Bits", "module: {base: .1.3.4294967296}",
              "base \".1.3.4294967296\" is not dotted numbers with a leading period, each below "
              "4294967296"},
    BadSource{"BadBase", "module: {base: 1.3.6}", "base \"1.3.6\" is not dotted numbers"},
    BadSource{
        "UnknownMotion",
        "scalars:\n  - {oid: 1.1.1, object: 0x1, type: integer, device: {motion: leap 1}}",
        "shelf.yaml:2:63: unknown motion \"leap\"; allowed: counter, ramp, sine, walk, clock, "
        "replay"},
    BadSource{"NestedText", "module: {name: {a: b}}", "name is not a single value"},
    BadSource{"NotUtf8", R"(module: {contact: "\0"})", R"(contact "\x00" is not UTF-8 text)"},
};

class BadSources : public testing::TestWithParam<BadSource>
{
};
} // namespace

TEST_P(BadSources, AreReportedWithPlaceReasonAndText)
{
    const std::string reason = reasonFor(GetParam().source);
    EXPECT_THAT(reason, HasSubstr(GetParam().reason));
    EXPECT_THAT(reason, testing::StartsWith("shelf.yaml:"));
    EXPECT_EQ(reason.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(SourceReader, BadSources, testing::ValuesIn(badSources),
                         [](const testing::TestParamInfo<BadSource> &planted) {
                             return std::string(planted.param.name);
                         });

TEST(SourceReader, NamesTheWordThatWasMeantAndAllOthers)
{
    EXPECT_EQ(reasonFor("scalers: []"),
              "shelf.yaml:1:1: unknown key \"scalers\" in the source (did you mean \"scalars\"?); "
              "allowed: module, scalars, tables, cells, alarms");
    const auto reasonForScalar = [](const std::string &rest) {
        return reasonFor("scalars: [{oid: 1.1.1, object: 0x1, " + rest + "}]");
    };
    EXPECT_THAT(reasonForScalar("type: integr"),
                HasSubstr("unknown type \"integr\" (did you mean \"integer\"?); allowed: "));
    EXPECT_THAT(reasonForScalar("type: text, access: readonly"),
                HasSubstr("unknown access \"readonly\" (did you mean \"read-only\"?); allowed: "
                          "read-only, read-write"));
    EXPECT_THAT(
        reasonForScalar("type: text, conversion: decimel 2"),
        HasSubstr("unknown conversion \"decimel 2\" (did you mean \"decimal\"?); allowed: "));
    EXPECT_THAT(reasonForScalar("type: text, device: {kind: sting}"),
                HasSubstr("unsigned, signed, string, other (did you mean \"string\"?)"));
    EXPECT_THAT(reasonForScalar("type: text, device: {motion: sin 1 2 3}"),
                HasSubstr("unknown motion \"sin\" (did you mean \"sine\"?); allowed: "));
    EXPECT_THAT(
        reasonForScalar("type: integer, meaning: conter"),
        HasSubstr(
            "unknown meaning \"conter\" (did you mean \"counter\"?); allowed: gauge, counter"));
    EXPECT_THAT(reasonForScalar("type: integer, status: obsolet"),
                HasSubstr("unknown status \"obsolet\" (did you mean \"obsolete\"?); allowed: "
                          "current, deprecated, obsolete"));
    EXPECT_THAT(reasonFor("tables: [{node: .2.1, order: row, columns: []}]"),
                HasSubstr("is neither rows nor columns (did you mean \"rows\"?)"));
}

TEST(SourceReader, ReportsEveryErrorOfASourceInOrder)
{
    const std::string reasons = reasonFor(R"(
module: {name: shelf, base: 1.3, updated: today}
scalars:
  - {nam: a, oid: 1.1, object: 110, type: string, access: none, conversion: hex, flag: 256,
     labels: {x: up, 1: Down}, device: {kind: int, width: 99}}
  - {object: 0x1}
tables:
  - node: 2.1
    rows: 2
    columns:
      - {name: A, type: text, column: -1, objects: [0x1]}
cells: 5
)");
    std::string places;
    std::istringstream lines(reasons);
    for (std::string line; std::getline(lines, line);) {
        places += line.substr(0, line.find(": ")) + ' ';
    }
    EXPECT_EQ(places, "shelf.yaml:2:16 shelf.yaml:2:29 shelf.yaml:2:43 shelf.yaml:4:6 "
                      "shelf.yaml:4:19 shelf.yaml:4:32 shelf.yaml:4:43 shelf.yaml:4:59 "
                      "shelf.yaml:4:77 shelf.yaml:4:88 shelf.yaml:5:15 shelf.yaml:5:25 "
                      "shelf.yaml:5:47 shelf.yaml:5:59 shelf.yaml:6:5 shelf.yaml:6:5 "
                      "shelf.yaml:8:11 shelf.yaml:11:16 shelf.yaml:11:39 shelf.yaml:11:52 "
                      "shelf.yaml ")
        << reasons;
}

TEST(SourceReader, ReportsAnErrorWithoutFurtherOnesThatFollowFromIt)
{
    EXPECT_EQ(reasonFor("scalars:\n  - {oid: 1.1.1, object: 1, type: text}\n"
                        "  - {oid: 1.1.2, object: 2, type: text}\n"),
              "shelf.yaml:2:26: object id \"1\" is not a hexadecimal number from 0x0000 to 0xFFFF\n"
              "shelf.yaml:3:26: object id \"2\" is not a hexadecimal number from 0x0000 to 0xFFFF");
    EXPECT_EQ(
        reasonFor("tables:\n  - {node: .2.1, rows: 0, columns: [{objects: [0x1], type: text}]}"),
        "shelf.yaml:2:24: rows \"0\" is not a number from 1 to 255");
    EXPECT_EQ(reasonFor("tables:\n  - {node: .2.1, columns: [{column: x, first: 0x1, type: text},\n"
                        "    {column: y, first: 0x11, type: text}]}"),
              "shelf.yaml:2:37: column \"x\" is not a number from 0 to 4294967295\n"
              "shelf.yaml:3:14: column \"y\" is not a number from 0 to 4294967295");
    EXPECT_EQ(reasonFor("tables:\n  - {node: x, columns: [{first: 0x1, type: text}]}\n"
                        "  - {node: y, columns: [{first: 0x11, type: text}]}"),
              "shelf.yaml:2:12: node \"x\" is not dotted numbers with a leading period, each below "
              "4294967296\n"
              "shelf.yaml:3:12: node \"y\" is not dotted numbers with a leading period, each below "
              "4294967296");
}

TEST(SourceReader, ReportsAFileThatCannotBeRead)
{
    EXPECT_THROW((void)sourceReader::read("/nonexistent/shelf.yaml"), InputError);
}

TEST(SourceReader, GivesEveryRowOfAColumnItsObject)
{
    const MappingSource mapping = sourceReader::parse(R"(
tables:
  - node: .2.1
    rows: 3
    columns:
      - {first: 0x0100, step: 16, type: text}
      - {objects: [0x7, 0x6, 0x5], type: integer}
)",
                                                      "source");
    EXPECT_EQ(recordsOf(mapping), "cell 256 .2.1 2 1 0 0 0 0 0 0 4 1 []\n"
                                  "cell 7 .2.1 3 1 0 0 0 0 0 0 2 1 []\n"
                                  "cell 272 .2.1 2 2 0 0 0 0 0 0 4 1 []\n"
                                  "cell 6 .2.1 3 2 0 0 0 0 0 0 2 1 []\n"
                                  "cell 288 .2.1 2 3 0 0 0 0 0 0 4 1 []\n"
                                  "cell 5 .2.1 3 3 0 0 0 0 0 0 2 1 []\n");
}

TEST(SourceReader, WritesCellsColumnByColumnWhereAsked)
{
    const MappingSource mapping = sourceReader::parse(R"(
tables:
  - {node: .2.1, rows: 2, order: columns, columns: [{first: 0x1, type: text},
     {first: 0x11, type: text}]}
)",
                                                      "source");
    std::string ids;
    for (const CellEntry &entry : mapping.cells) {
        ids += std::to_string(entry.record.objId) + ' ';
    }
    EXPECT_EQ(ids, "1 2 17 18 ");
}

TEST(SourceReader, GivesRowsTheirValuesAtTheDevice)
{
    const MappingSource mapping = sourceReader::parse(R"(
tables:
  - {node: .2.1, rows: 2, columns: [{first: 0x1, type: text, device: {kind: string, width: 8,
     values: [north, south]}}]}
)",
                                                      "source");
    EXPECT_EQ(mapping.cells.at(0).notes.device.value, "north");
    EXPECT_EQ(mapping.cells.at(1).notes.device.value, "south");
    EXPECT_EQ(mapping.cells.at(1).notes.device.width, 8U);
}

TEST(SourceReader, TakesSingleCellsWhateverTheirTableIsCalled)
{
    const MappingSource mapping = sourceReader::parse(
        "cells: [{table: \"2.x\", row: 9, column: 0, object: 0x1, type: 0x103, access: 0x7}]",
        "source");
    EXPECT_EQ(recordsOf(mapping), "cell 1 2.x 0 9 0 0 0 0 0 0 259 7 []\n");
}
