#include "DatabaseBuilder.h"
#include "DatabaseFile.h"
#include "MappingDatabase.h"
#include "SourceReader.h"
#include "SourceWriter.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace
{
/// Mappings without duplicate keys, but otherwise with any value that fits the fields.
class RandomMapping
{
public:
    explicit RandomMapping(std::uint32_t seed) : _random(seed) {}

    MappingSource make()
    {
        MappingSource mapping;
        const std::size_t scalars = below(40);
        for (std::size_t index = 0; index < scalars; ++index) {
            mapping.scalars.push_back(scalar(index));
        }
        const std::size_t tables = below(4);
        for (std::size_t index = 0; index < tables; ++index) {
            addTable(mapping, '.' + std::to_string(2 + index) + '.' + std::to_string(below(300)));
        }
        if (below(3) == 0) {
            std::shuffle(mapping.cells.begin(), mapping.cells.end(), _random);
        }
        return mapping;
    }

private:
    std::uint32_t below(std::uint32_t limit)
    {
        return static_cast<std::uint32_t>(_random() % limit);
    }

    std::string text()
    {
        static const std::string letters = "abc XYZ:#'\"\\-{}[]\n\t\xC3\xA9,&*!|>%@`~";
        std::string text;
        for (std::uint32_t left = below(12); left > 0; --left) {
            text += letters[below(15)];
        }
        return below(4) == 0 ? text + "\xC3\xA9\n\t" : text;
    }

    void fill(SnmpObjInfo &info)
    {
        info.attr1 = static_cast<std::uint8_t>(below(256));
        info.flag = static_cast<std::uint8_t>(below(256));
        info.attr2 = static_cast<std::uint16_t>(below(65536));
        info.valueType = static_cast<std::uint16_t>(below(3) == 0 ? below(65536) : below(5));
        info.asnType = static_cast<std::uint16_t>(below(3) == 0 ? below(65536) : 2 * below(3));
        info.access = static_cast<std::uint16_t>(below(3) == 0 ? below(65536) : below(4));
        info.text = text();
    }

    ScalarEntry scalar(std::size_t index)
    {
        ScalarEntry entry;
        fill(entry.record);
        entry.record.objId = static_cast<std::uint16_t>(index * 1000 + below(1000));
        entry.record.magic = static_cast<std::uint8_t>(below(256));
        entry.record.oidArc1 = below(4294967295U);
        entry.record.oidArc2 = below(5);
        entry.record.oidArc3 = static_cast<std::uint32_t>(index);
        entry.record.oidArc4 = below(2) * below(1000);
        return entry;
    }

    void addTable(MappingSource &mapping, const std::string &node)
    {
        const std::uint32_t rows = 1 + below(9);
        const std::uint32_t columns = 1 + below(5);
        const bool isWild = below(3) == 0;
        const auto kind = static_cast<std::uint8_t>(below(256));
        for (std::uint32_t column = 0; column < columns; ++column) {
            CellEntry entry;
            fill(entry.record);
            entry.record.tableNode = node;
            entry.record.tableKind = kind;
            entry.record.column = 2 + column * (isWild ? 3 : 1);
            entry.record.attr3 = static_cast<std::uint16_t>(below(65536));
            for (std::uint32_t row = 1; row <= rows; ++row) {
                if (isWild) {
                    fill(entry.record);
                }
                entry.record.instance = static_cast<std::uint8_t>(row);
                entry.record.objId = static_cast<std::uint16_t>(below(65536));
                mapping.cells.push_back(entry);
            }
        }
    }

    std::mt19937 _random;
};

std::string readBack(const std::string &bytes)
{
    const TestDirectory directory;
    writeContent(directory.file("mapping.db"), bytes);
    return sourceWriter::write(MappingDatabase(directory.file("mapping.db")).source());
}
} // namespace

TEST(RoundTrip, BuildOfImportHoldsTheSameRecordsInTheSameOrder)
{
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const MappingSource mapping = RandomMapping(seed).make();
        const std::string database = databaseBuilder::build(mapping);
        const std::string source = readBack(database);
        const MappingSource again = sourceReader::parse(source, "imported");
        ASSERT_EQ(recordsOf(again), recordsOf(mapping)) << "seed " << seed << '\n' << source;
        ASSERT_EQ(databaseBuilder::build(again), database) << "seed " << seed;
    }
}

TEST(RoundTrip, KeepsEverythingThatASourceSays)
{
    const std::string source = R"(module:
  name: "SHELF-MIB"
  base: ".1.3.6.1.4.1.32473.1"
  organization: "Shelves"
  contact: "noc@example.net"
  description: "A shelf."
  updated: "2026-01-31"
  revisions:
    - {day: 2026-01-01, text: "First."}
    - {day: 2026-01-31, text: "Second."}
  reserved: [".1.1.9"]
  groups:
    - {node: ".1.1", name: shelf}
scalars:
  - name: state
    oid: "1.1.1.7"
    object: 0x0110
    description: "The state."
    type: integer
    access: read-write
    conversion: scaled 1
    units: "volts"
    labels: {-1: "unknown", 0: "down", 1: "up"}
    text: "state"
    flag: 1
    attr1: 2
    attr2: 3
    magic: 4
    device: {kind: signed, width: 2, value: "-5", motion: "counter 1"}
  - name: limit
    oid: "1.1.2"
    object: 0x0111
    type: integer
    access: read-only
    range: -20..60
    since: 2026-01-31
  - name: key
    oid: "1.1.3"
    object: 0x0000
    type: text
    access: read-only
    status: obsolete
    until: 2026-01-31
tables:
  - name: portTable
    node: ".2.1"
    description: "The ports."
    kind: 3
    rows: 2
    order: columns
    columns:
      - name: portName
        column: 2
        first: 0x2100
        step: 16
        type: text
        access: read-only
        attr3: 5
        device: {kind: string, width: 8, values: ["north", "south"]}
      - name: portState
        column: 3
        objects: [0x0007, 0x0006]
        type: integer
        access: read-only
alarms:
  - name: tooHigh
    number: 7
    object: "limit"
    condition: above
    raise: "45.5"
    clear: "40"
    every: 10
    severity: major
    text: "It is too \"high\"."
    with: ["portName", "state"]
    since: 2026-01-31
  - name: isStrange
    number: 2
    object: "state"
    condition: one of
    raise: ["unknown", "down"]
    every: 60
    severity: warning
    status: deprecated
    until: 2026-01-31
  - name: portChanged
    number: 3
    object: "portState"
    condition: changed
    every: 86400
    severity: info
)";
    EXPECT_EQ(readBack(databaseBuilder::build(sourceReader::parse(source, "source"))), source);
}
