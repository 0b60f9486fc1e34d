#include "TextNumbers.h"

#include <array>
#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace
{
TEST(ParseDecimalTest, SkipsBlanksAndStopsAfterTheNumber)
{
    const char *const text = "  -2.50xyz";
    const char *end = nullptr;
    EXPECT_EQ(parseDecimal(text, &end), -2.5F);
    EXPECT_EQ(end, text + 7);
}

TEST(ParseDecimalTest, TakesEveryKindOfBlank)
{
    EXPECT_EQ(parseDecimal(" \t\n\v\f\r7"), 7.0F);
}

TEST(ParseDecimalTest, NeedsNoPlaceForTheEnd)
{
    EXPECT_EQ(parseDecimal("12.25"), 12.25F);
}

TEST(ParseDecimalTest, NullTextIsZero)
{
    const char *end = "untouched";
    EXPECT_EQ(parseDecimal(nullptr, &end), 0.0F);
    EXPECT_STREQ(end, "untouched");
}

TEST(ParseDecimalTest, TextWithoutANumberIsZeroAndConsumesNothing)
{
    for (const char *const text : {"", "x1", "+5"}) {
        const char *end = nullptr;
        EXPECT_EQ(parseDecimal(text, &end), 0.0F) << text;
        EXPECT_EQ(end, text) << text;
    }
}

TEST(ParseDecimalTest, SignAloneIsMinusZero)
{
    EXPECT_TRUE(std::signbit(parseDecimal("-")));
}

TEST(ParseDecimalTest, ConsumesAPeriodThatNoDigitFollows)
{
    const char *const text = "5.x";
    const char *end = nullptr;
    EXPECT_EQ(parseDecimal(text, &end), 5.0F);
    EXPECT_EQ(end, text + 2);
}

TEST(ParseDecimalTest, NeedsNoDigitBeforeThePeriod)
{
    EXPECT_EQ(parseDecimal(".5"), 0.5F);
    EXPECT_EQ(parseDecimal("."), 0.0F);
}

TEST(ParseDecimalTest, EndsAtASecondPeriod)
{
    const char *const text = "1.5.7";
    const char *end = nullptr;
    EXPECT_EQ(parseDecimal(text, &end), 1.5F);
    EXPECT_EQ(end, text + 3);
}

TEST(ParseDecimalTest, KnowsNoExponent)
{
    EXPECT_EQ(parseDecimal("2e3"), 2.0F);
}

TEST(ParseDecimalTest, TakesNoNeighbourOfTheDigitsForOne)
{
    for (const char *const text : {"7/", "7:", "7./", "7.:"}) {
        EXPECT_EQ(parseDecimal(text), 7.0F) << text;
    }
}

TEST(ParseDecimalTest, RoundsEveryStepToSinglePrecision)
{
    EXPECT_EQ(parseDecimal("0.7"), 0.7F);
    EXPECT_EQ(parseDecimal("16777217"), 16777216.0F);
    // 0.1 and the next step are each rounded, which ends one unit off the nearest number.
    const auto second = static_cast<float>(static_cast<double>(0.1F) * 0.1);
    const auto third = static_cast<float>(static_cast<double>(second) * 0.1);
    const float expected = 1.0F * 0.1F + 2.0F * second + 3.0F * third;
    EXPECT_EQ(parseDecimal("0.123"), expected);
}

TEST(ParseDecimalTest, EndsInInfinityWhenTheNumberIsTooLarge)
{
    EXPECT_EQ(parseDecimal(std::string(64, '9').c_str()), std::numeric_limits<float>::infinity());
}

constexpr std::uint32_t largest = 4294967295;

TEST(ParseUnsignedTest, ReadsDigitsOfTheBaseAfterBlanksAndASign)
{
    EXPECT_EQ(parseUnsigned(" 12", 10), 12U);
    EXPECT_EQ(parseUnsigned(" \t\n\v\f\r7", 10), 7U);
    EXPECT_EQ(parseUnsigned("+12", 10), 12U);
    EXPECT_EQ(parseUnsigned("1f", 16), 0x1FU);
    EXPECT_EQ(parseUnsigned("1F", 16), 0x1FU);
}

TEST(ParseUnsignedTest, EndsAtTheFirstCharacterThatIsNoDigitOfTheBase)
{
    EXPECT_EQ(parseUnsigned("12a", 10), 12U);
    EXPECT_EQ(parseUnsigned("12a", 16), 0x12AU);
    EXPECT_EQ(parseUnsigned("12.5", 10), 12U);
    EXPECT_EQ(parseUnsigned("1 2", 10), 1U);
}

TEST(ParseUnsignedTest, KnowsAPrefixInHexadecimalOnly)
{
    EXPECT_EQ(parseUnsigned("0x1F", 16), 0x1FU);
    EXPECT_EQ(parseUnsigned("-0X1f", 16), 0xFFFFFFE1U);
    EXPECT_EQ(parseUnsigned("0x1F", 10), 0U);
    EXPECT_EQ(parseUnsigned("010", 10), 10U);
}

TEST(ParseUnsignedTest, NegatesModulo32Bits)
{
    EXPECT_EQ(parseUnsigned("-1", 10), largest);
    EXPECT_EQ(parseUnsigned("-2147483648", 10), 2147483648U);
    EXPECT_EQ(parseUnsigned("-4294967295", 10), 1U);
    EXPECT_EQ(parseUnsigned("-FFFFFFFE", 16), 2U);
    EXPECT_EQ(parseUnsigned("-0", 10), 0U);
}

TEST(ParseUnsignedTest, TakesMoreThan32BitsForTheLargestNumberWhateverTheSign)
{
    EXPECT_EQ(parseUnsigned("4294967294", 10), 4294967294U);
    for (const char *const text :
         {"4294967295", "4294967296", "4294967297", "18446744073709551615", "18446744073709551616",
          "99999999999999999999", "-4294967296", "-4294967297", "-18446744073709551615",
          "-99999999999999999999"}) {
        EXPECT_EQ(parseUnsigned(text, 10), largest) << text;
    }
    for (const char *const text : {"FFFFFFFF", "100000000", "-100000000", "FFFFFFFFFFFFFFFFF"}) {
        EXPECT_EQ(parseUnsigned(text, 16), largest) << text;
    }
}

TEST(ParseUnsignedTest, ATextWithoutANumberIsZero)
{
    for (const char *const text : {"", " ", "-", "x1", "- 1", "--1", ".5"}) {
        EXPECT_EQ(parseUnsigned(text, 10), 0U) << text;
    }
    EXPECT_EQ(parseUnsigned("g", 16), 0U);
    EXPECT_EQ(parseUnsigned(nullptr, 10), 0U);
}

class ParseDottedNumbersTest : public testing::Test
{
protected:
    std::int32_t parse(const char *text)
    {
        return parseDottedNumbers(text, numbers.data(), numbers.size());
    }

    std::array<std::uint32_t, 5> numbers{77, 77, 77, 77, 77};
};

TEST_F(ParseDottedNumbersTest, ConvertsTheNumberAfterEachPeriod)
{
    EXPECT_EQ(parse(".1.3.6.1.4"), 5);
    EXPECT_EQ(numbers, (std::array<std::uint32_t, 5>{1, 3, 6, 1, 4}));
}

TEST_F(ParseDottedNumbersTest, NeverConvertsWhatStandsBeforeTheFirstPeriod)
{
    EXPECT_EQ(parse("1.3.6"), 2);
    EXPECT_EQ(numbers, (std::array<std::uint32_t, 5>{3, 6, 77, 77, 77}));
    EXPECT_EQ(parse("1.2"), 1);
    EXPECT_EQ(numbers[0], 2U);
}

TEST_F(ParseDottedNumbersTest, FindsNothingWithoutAPeriod)
{
    EXPECT_EQ(parse("abc"), 0);
    EXPECT_EQ(parse(""), 0);
    EXPECT_EQ(numbers[0], 77U);
}

TEST_F(ParseDottedNumbersTest, TakesNoNumberAfterAPeriodForZero)
{
    EXPECT_EQ(parse("..x.5"), 3);
    EXPECT_EQ(numbers, (std::array<std::uint32_t, 5>{0, 0, 5, 77, 77}));
}

TEST_F(ParseDottedNumbersTest, ReadsDecimalsOnlyWhateverTheyBeginWith)
{
    EXPECT_EQ(parse(".010.0x10"), 2);
    EXPECT_EQ(numbers, (std::array<std::uint32_t, 5>{10, 0, 77, 77, 77}));
}

TEST_F(ParseDottedNumbersTest, RefusesNullArguments)
{
    EXPECT_EQ(parse(nullptr), -1);
    EXPECT_EQ(parseDottedNumbers(".1", nullptr, 5), -1);
}

TEST_F(ParseDottedNumbersTest, CountsWhatItHasNoRoomFor)
{
    EXPECT_EQ(parseDottedNumbers(".1.2.3.4", numbers.data(), 2), 4);
    EXPECT_EQ(numbers, (std::array<std::uint32_t, 5>{1, 2, 77, 77, 77}));
}

TEST_F(ParseDottedNumbersTest, TakesMoreThan32BitsForTheLargestNumber)
{
    EXPECT_EQ(parse(".4294967294.4294967295.4294967297.-1. 7"), 5);
    EXPECT_EQ(numbers, (std::array<std::uint32_t, 5>{largest - 1, largest, largest, largest, 7}));
}
} // namespace
