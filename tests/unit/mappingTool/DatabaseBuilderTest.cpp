#include "DatabaseBuilder.h"

#include "DatabaseFile.h"
#include "MappingDatabase.h"
#include "SourceReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace
{
constexpr const char *source = R"(
module: {name: SHELF-MIB, base: ".1.3.6.1.4.1.32473.1"}
scalars:
  - {name: state, oid: 1.2.3.4, object: 0x0110, type: ipAddress, access: read-write,
     conversion: decimal 1, flag: 0x1F, attr1: 31, attr2: 0xABC, magic: 17, text: "it's \"it\"",
     units: volts, description: The state., labels: {0: down, 1: up},
     device: {kind: signed, width: 2, value: -5, motion: counter 1}}
tables:
  - name: portTable
    node: .2.1
    kind: 9
    rows: 2
    description: The ports.
    columns:
      - {name: portName, first: 0x2100, step: 16, type: ipAddress, conversion: 0x0107, attr3: 0xF}
)";

std::vector<std::optional<std::string>> firstRow(const RawTable *table)
{
    return table->rows.at(0);
}

class DatabaseBuilder : public testing::Test
{
protected:
    DatabaseBuilder()
    {
        file.replaceBytes(databaseBuilder::build(sourceReader::parse(source, "source")));
    }

    DatabaseFile file;
};
} // namespace

TEST_F(DatabaseBuilder, WritesEachNumberOfAScalarInTheBaseOfItsColumn)
{
    EXPECT_THAT(firstRow(MappingDatabase(file.path()).scalars()),
                ElementsAre("0110", "31", "17", "40", "3", "1", "2", "3", "4", "1004", "1F",
                            "it's \"it\"", "ABC", "state", "The state.", "volts", "0=down 1=up",
                            "signed", "2", "-5", "counter 1", "", "", "", "", ""));
}

TEST_F(DatabaseBuilder, WritesEachNumberOfACellInTheBaseOfItsColumn)
{
    EXPECT_THAT(firstRow(MappingDatabase(file.path()).cells()),
                ElementsAre("2100", "0", "2", "64", "1", ".2.1", "0107", "0", "", "1", "9", "0",
                            "F", "portName", "", "", "", "", "", "", "", "", "", "", "", ""));
}

TEST_F(DatabaseBuilder, KeepsWhatIsKnownOfTheModuleAndTheTables)
{
    const MappingSource mapping = MappingDatabase(file.path()).source();
    EXPECT_EQ(mapping.module.name, "SHELF-MIB");
    EXPECT_EQ(mapping.module.base, ".1.3.6.1.4.1.32473.1");
    EXPECT_EQ(mapping.tables.at(0).name, "portTable");
    EXPECT_EQ(mapping.tables.at(0).description, "The ports.");
}

TEST_F(DatabaseBuilder, MakesTheSameBytesOfTheSameMapping)
{
    EXPECT_EQ(databaseBuilder::build(sourceReader::parse(source, "source")), file.bytes());
}

TEST_F(DatabaseBuilder, MakesADatabaseOfNothing)
{
    file.replaceBytes(databaseBuilder::build({}));
    const MappingDatabase database(file.path());
    ASSERT_NE(database.scalars(), nullptr);
    ASSERT_NE(database.cells(), nullptr);
    EXPECT_TRUE(database.scalars()->rows.empty());
}

TEST_F(DatabaseBuilder, MakesATableOfAlarmsOnlyIfThereAreAny)
{
    MappingSource mapping = sourceReader::parse(source, "source");
    EXPECT_THAT(databaseBuilder::build(mapping), Not(HasSubstr("TARNO_MAPPING_ALARMS")));
    mapping.alarms.emplace_back();
    EXPECT_THAT(databaseBuilder::build(mapping), HasSubstr("TARNO_MAPPING_ALARMS"));
}
