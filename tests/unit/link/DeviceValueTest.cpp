#include "DeviceValue.h"

#include <algorithm>
#include <bit>
#include <string>

#include <gtest/gtest.h>

namespace
{
TEST(DeviceValueTest, StartsAllZero)
{
    const auto bytes = std::bit_cast<std::array<std::uint8_t, 70>>(DeviceValue{});
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), 70);
}

TEST(DeviceValueTest, HasItsFieldsInOrderWithoutPadding)
{
    DeviceValue value{.len = 0x11, .oid = 0x3322, .attr = 0x5544, .spare = 0x66};
    value.data[0] = 0x77;
    value.data[63] = 0x88;
    const auto bytes = std::bit_cast<std::array<std::uint8_t, 70>>(value);
    EXPECT_EQ((std::array{bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6],
                          bytes[69]}),
              (std::array<std::uint8_t, 8>{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}));
}

TEST(DeviceValueTest, HasItsKindInBitsEightAndNineOfTheAttributeWord)
{
    const auto kindOf = [](std::uint16_t attribute) {
        return DeviceValue{.attr = attribute}.kind();
    };
    EXPECT_EQ(kindOf(0xFCFF), ValueKind::unsignedInteger);
    EXPECT_EQ(kindOf(0xFDFF), ValueKind::signedInteger);
    EXPECT_EQ(kindOf(0xFEFF), ValueKind::string);
    EXPECT_EQ(kindOf(0x0300), ValueKind::other);
}

TEST(DeviceValueTest, IsWritableByBitFourOfTheAttributeWord)
{
    EXPECT_TRUE(DeviceValue{.attr = 0x0010}.isWritable());
    EXPECT_FALSE(DeviceValue{.attr = 0xFFEF}.isWritable());
}

TEST(DeviceValueTest, KeepsTheWordInHostByteOrderAtTheStartOfItsData)
{
    DeviceValue value;
    value.data.fill(0xEE);
    value.setInt32(0x04030201);
    EXPECT_EQ(
        (std::array{value.data[0], value.data[1], value.data[2], value.data[3], value.data[4]}),
        (std::array<std::uint8_t, 5>{1, 2, 3, 4, 0xEE}));
    EXPECT_EQ(value.int32(), 0x04030201U);
}

TEST(DeviceValueTest, HasTextUpToItsNul)
{
    DeviceValue value;
    value.data = {'a', 'b', 0, 'c'};
    EXPECT_EQ(value.text(), "ab");
}

TEST(DeviceValueTest, HasTextOfAtMostAllItsData)
{
    DeviceValue value;
    value.data.fill('x');
    EXPECT_EQ(value.text(), std::string(64, 'x'));
}

TEST(DeviceValueTest, ClearsItsDataBeforeATextIsPutThere)
{
    DeviceValue value;
    value.data.fill(0xEE);
    value.setText("abc");
    EXPECT_EQ(value.text(), "abc");
    EXPECT_EQ(std::count(value.data.begin(), value.data.end(), 0), 61);
}

TEST(DeviceValueTest, TakesTheFirstSixtyFourBytesOfALongText)
{
    DeviceValue value{.len = 9};
    value.setText(std::string(64, 'x') + "never seen");
    EXPECT_EQ(value.text(), std::string(64, 'x'));
    EXPECT_EQ(value.len, 9);
}
} // namespace
