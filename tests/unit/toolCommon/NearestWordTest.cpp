#include "NearestWord.h"

#include <array>

#include <gtest/gtest.h>

namespace
{
constexpr std::array<std::string_view, 4> known{"scalars", "tables", "cells", "oid"};
} // namespace

TEST(NearestWord, CountsInsertedRemovedReplacedAndSwappedCharacters)
{
    EXPECT_EQ(nearestWord("scalers", known), "scalars");
    EXPECT_EQ(nearestWord("scalar", known), "scalars");
    EXPECT_EQ(nearestWord("ttables", known), "tables");
    EXPECT_EQ(nearestWord("clels", known), "cells");
    EXPECT_EQ(nearestWord("cell", known), "cells");
}

TEST(NearestWord, IsTheNearestOfSeveral)
{
    constexpr std::array<std::string_view, 3> several{"columnar", "columns", "column"};
    EXPECT_EQ(nearestWord("colums", several), "columns");
}

TEST(NearestWord, IsTheFirstOfEquallyNearOnes)
{
    constexpr std::array<std::string_view, 2> twins{"attr1", "attr2"};
    EXPECT_EQ(nearestWord("attr3", twins), "attr1");
}

TEST(NearestWord, IsNothingBeyondTwoChanges)
{
    EXPECT_EQ(nearestWord("sclr", known), std::nullopt);
    EXPECT_EQ(nearestWord("attribute", known), std::nullopt);
}

TEST(NearestWord, IsNothingIfEveryCharacterWouldChange)
{
    EXPECT_EQ(nearestWord("ab", known), std::nullopt);
    EXPECT_EQ(nearestWord("", known), std::nullopt);
    constexpr std::array<std::string_view, 1> shortWord{"x"};
    EXPECT_EQ(nearestWord("y", shortWord), std::nullopt);
}

TEST(NearestWord, IsTheWordItselfIfItIsKnown)
{
    EXPECT_EQ(nearestWord("oid", known), "oid");
}
