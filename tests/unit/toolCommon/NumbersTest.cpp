#include "Numbers.h"

#include "InputError.h"

#include <limits>

#include <gtest/gtest.h>

namespace
{
std::string refusalOf(std::string_view text, std::int64_t smallest, std::int64_t largest)
{
    try {
        const std::int64_t number = numbers::within(text, smallest, largest, "width");
        ADD_FAILURE() << text << " was read as " << number;
        return {};
    } catch (const InputError &error) {
        return error.what();
    }
}
} // namespace

TEST(Numbers, AreDecimalOrHexadecimalAfter0x)
{
    EXPECT_EQ(numbers::unsignedIn("255", 255), 255U);
    EXPECT_EQ(numbers::unsignedIn("0xFf", 255), 255U);
    EXPECT_EQ(numbers::unsignedIn("0X10", 255), 16U);
    EXPECT_EQ(numbers::unsignedIn("010", 255), 10U);
}

TEST(Numbers, AreNothingElse)
{
    for (const char *const text : {"", "x", "1x", "0x", "-", "-1", "+1", " 1", "1 ", "1.5"}) {
        EXPECT_EQ(numbers::unsignedIn(text, 255), std::nullopt) << text;
    }
}

TEST(Numbers, StayInTheirRange)
{
    EXPECT_EQ(numbers::unsignedIn("256", 255), std::nullopt);
    EXPECT_EQ(
        numbers::unsignedIn("18446744073709551616", std::numeric_limits<std::uint64_t>::max()),
        std::nullopt);
}

TEST(Numbers, HaveASignIfTheRangeGoesBelowZero)
{
    EXPECT_EQ(numbers::within("-7", -10, 10, "width"), -7);
    EXPECT_EQ(numbers::within("-0x8", -8, 7, "width"), -8);
    EXPECT_EQ(numbers::within("7", -8, 7, "width"), 7);
    EXPECT_EQ(refusalOf("-0", 0, 10), "width \"-0\" is not a number from 0 to 10");
    EXPECT_EQ(refusalOf("-11", -10, 10), "width \"-11\" is not a number from -10 to 10");
}

TEST(Numbers, AreTakenUpToBothEndsOfTheirRange)
{
    EXPECT_EQ(numbers::within("4294967295", 0, 0xFFFFFFFF, "width"), 0xFFFFFFFF);
    EXPECT_EQ(numbers::within("2", 2, 4, "width"), 2);
    EXPECT_EQ(refusalOf("1", 2, 4), "width \"1\" is not a number from 2 to 4");
}

TEST(Numbers, AreRefusedWithTheirNameTextAndRange)
{
    for (const char *const text : {"", "x", "1x", "0x", "-", "--1", "+1", " 1", "101", "-1", "1.5",
                                   "99999999999999999999"}) {
        EXPECT_EQ(refusalOf(text, 0, 100),
                  "width \"" + std::string(text) + "\" is not a number from 0 to 100");
    }
}

TEST(Numbers, AreWrittenWithAtLeastTheDigitsAskedFor)
{
    EXPECT_EQ(numbers::hexadecimal(0x1F, 4), "0x001F");
    EXPECT_EQ(numbers::hexadecimal(0x12345, 2), "0x12345");
    EXPECT_EQ(numbers::objectIdText(0x0A41), "0x0A41");
}

TEST(Numbers, AreWrittenWithAsFewDecimalPlacesAsTheyNeed)
{
    EXPECT_EQ(numbers::decimalText(4650, 2), "46.5");
    EXPECT_EQ(numbers::decimalText(-700, 2), "-7");
    EXPECT_EQ(numbers::decimalText(-5, 2), "-0.05");
    EXPECT_EQ(numbers::decimalText(0, 2), "0");
    EXPECT_EQ(numbers::decimalText(120, 0), "120");
}
