#include "MappingSchema.h"

#include <limits>

#include <gtest/gtest.h>

namespace
{
using mappingSchema::cellColumns;
using mappingSchema::Columns;
using mappingSchema::scalarColumns;

template <typename Record>
void expectNumbersCutToTheirWidth(const Columns<Record> &columns)
{
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    for (const mappingSchema::FieldColumn<Record> &column : columns) {
        if (column.text == nullptr) {
            Record record;
            column.setNumber(record, most);
            EXPECT_EQ(column.number(record), most >> (32 - column.bits)) << column.name;
        }
    }
}

template <typename Record>
void expectTextsKept(const Columns<Record> &columns)
{
    for (const mappingSchema::FieldColumn<Record> &column : columns) {
        if (column.text != nullptr) {
            Record record;
            record.*column.text = "kept";
            EXPECT_EQ(record.*column.text, "kept") << column.name;
            EXPECT_EQ(column.bits, 0U) << column.name;
        }
    }
}

TEST(MappingSchemaTest, AColumnWritesWhatItReadCutToTheFieldsWidth)
{
    expectNumbersCutToTheirWidth(scalarColumns);
    expectNumbersCutToTheirWidth(cellColumns);
}

TEST(MappingSchemaTest, TextsHaveNoWidth)
{
    expectTextsKept(scalarColumns);
    expectTextsKept(cellColumns);
}

TEST(MappingSchemaTest, PositionsAreThoseOfTheColumnsOfTheirNames)
{
    EXPECT_STREQ(scalarColumns[mappingSchema::scalarPosition::objId].name, "objId");
    EXPECT_STREQ(scalarColumns[mappingSchema::scalarPosition::text].name, "text");
    EXPECT_STREQ(cellColumns[mappingSchema::cellPosition::column].name, "columnId");
    EXPECT_STREQ(cellColumns[mappingSchema::cellPosition::tableNode].name, "tableNode");
    EXPECT_STREQ(cellColumns[mappingSchema::cellPosition::text].name, "text");
    EXPECT_STREQ(cellColumns[mappingSchema::cellPosition::instance].name, "instance");
}
} // namespace
