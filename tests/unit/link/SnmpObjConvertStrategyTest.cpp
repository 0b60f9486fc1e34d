#include "SnmpObjConvertStrategy.h"

#include "support/SystemCalls.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr std::uint16_t unsignedAttribute = 0x0000;
constexpr std::uint16_t signedAttribute = 0x0100;
constexpr std::uint16_t stringAttribute = 0x0200;
constexpr std::uint16_t otherAttribute = 0x0300;

using Kinds = std::vector<std::uint16_t>;

class SnmpObjConvertStrategyTest : public testing::Test
{
public:
    SnmpObjConvertStrategyTest(const SnmpObjConvertStrategyTest &) = delete;
    SnmpObjConvertStrategyTest &operator=(const SnmpObjConvertStrategyTest &) = delete;

protected:
    SnmpObjConvertStrategyTest()
    {
        systemCalls::reset();
        if (const char *const zone = std::getenv("TZ")) {
            zoneBefore = zone;
        }
    }

    ~SnmpObjConvertStrategyTest() override
    {
        if (zoneBefore) {
            inTimeZone(zoneBefore->c_str());
        } else {
            unsetenv("TZ");
        }
        systemCalls::reset();
    }

    /// Changes only the environment: nothing here calls tzset, so the conversion has to.
    static void inTimeZone(const char *zone) { setenv("TZ", zone, 1); }

    std::string clockShownAt(std::int64_t seconds)
    {
        systemCalls::stopClockAt(seconds);
        return shown(code(conversion::dateTimeText));
    }

    void holdsInt32(std::uint32_t word, std::uint16_t attribute = unsignedAttribute)
    {
        value = DeviceValue{.len = 7, .oid = 0x7777, .attr = attribute};
        value.setInt32(word);
    }

    void holdsText(const std::string &text)
    {
        value = DeviceValue{.len = 9, .oid = 0x7777, .attr = stringAttribute};
        value.setText(text);
    }

    static std::uint16_t code(std::uint16_t kind, unsigned scale = 0)
    {
        return static_cast<std::uint16_t>(scale << 12U | kind);
    }

    std::string shown(std::uint16_t valueType)
    {
        EXPECT_EQ(converter.toDisplay(valueType, value), 0);
        return std::string(value.text());
    }

    std::uint32_t converted(std::uint16_t valueType)
    {
        EXPECT_EQ(converter.fromDisplay(valueType, value), 0);
        return value.int32();
    }

    /// Whether a conversion leaves a record full of marks unchanged.
    template <typename Conversion>
    bool leavesAlone(Conversion conversion)
    {
        value = DeviceValue{.len = 9, .oid = 0x7777, .attr = unsignedAttribute, .spare = 5};
        value.data.fill(0xEE);
        const DeviceValue before = value;
        EXPECT_EQ(conversion(value), 0);
        return before.len == value.len && before.attr == value.attr && before.data == value.data;
    }

    SnmpObjConvertStrategy converter;
    DeviceValue value;
    std::optional<std::string> zoneBefore;
};

TEST_F(SnmpObjConvertStrategyTest, ShowsIpv4TextFirstByteFirst)
{
    for (const std::uint16_t kind : Kinds{1, 2}) {
        holdsInt32(0x0A01A8C0);
        EXPECT_EQ(shown(code(kind)), "192.168.1.10");
        EXPECT_EQ(value.len, 12);
    }
}

TEST_F(SnmpObjConvertStrategyTest, ShowsBytesAboveOneHundredTwentySevenAsTheyAre)
{
    holdsInt32(0xFFFFFFFF);
    EXPECT_EQ(shown(code(1)), "255.255.255.255");
    EXPECT_EQ(value.len, 15);
}

TEST_F(SnmpObjConvertStrategyTest, ClearsTheDataBeforeATextIsShown)
{
    for (const std::uint16_t kind : Kinds{1, 2, 3, 4}) {
        value.data.fill(0x39);
        const std::string text = shown(code(kind));
        EXPECT_EQ(std::count(value.data.begin(), value.data.end(), 0),
                  static_cast<std::ptrdiff_t>(64 - text.size()))
            << kind;
    }
}

TEST_F(SnmpObjConvertStrategyTest, LeavesIdAndAttributeWordAloneWhenATextIsShown)
{
    holdsInt32(1, signedAttribute);
    shown(code(1));
    EXPECT_EQ(value.oid, 0x7777);
    EXPECT_EQ(value.attr, signedAttribute);
}

TEST_F(SnmpObjConvertStrategyTest, ShowsTheAgentsClockWithoutPadding)
{
    inTimeZone("UTC0");
    holdsInt32(12345);
    EXPECT_EQ(clockShownAt(1'741'943'107), "9:5:7 3/14/2025");
    EXPECT_EQ(value.len, 15 + 3);
}

TEST_F(SnmpObjConvertStrategyTest, ShowsTheAgentsClockInItsTimeZone)
{
    inTimeZone("EAST-5:30");
    EXPECT_EQ(clockShownAt(1'741'943'107), "14:35:7 3/14/2025");
}

TEST_F(SnmpObjConvertStrategyTest, FollowsAChangeOfTheTimeZone)
{
    for (int round = 0; round < 2; ++round) {
        inTimeZone("EAST-5");
        EXPECT_EQ(clockShownAt(0), "5:0:0 1/1/1970");
        inTimeZone("WEST7");
        EXPECT_EQ(clockShownAt(0), "17:0:0 12/31/1969");
    }
}

TEST_F(SnmpObjConvertStrategyTest, ShowsTimesAroundTheEndOf32BitSeconds)
{
    inTimeZone("UTC0");
    EXPECT_EQ(clockShownAt(2'147'483'647), "3:14:7 1/19/2038");
    EXPECT_EQ(clockShownAt(2'147'483'648), "3:14:8 1/19/2038");
    EXPECT_EQ(clockShownAt(4'294'967'295), "6:28:15 2/7/2106");
    EXPECT_EQ(clockShownAt(4'294'967'296), "6:28:16 2/7/2106");
}

TEST_F(SnmpObjConvertStrategyTest, ShowsSummerTimeBeyondTheEndOf32BitSeconds)
{
    inTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(clockShownAt(2'524'651'200), "13:0:0 1/1/2050");
    EXPECT_EQ(clockShownAt(2'540'289'600), "14:0:0 7/1/2050");
}

TEST_F(SnmpObjConvertStrategyTest, ShowsADecimalWithTwoPlaces)
{
    holdsInt32(1234);
    EXPECT_EQ(shown(code(4, 1)), "123.40");
    EXPECT_EQ(value.len, 6);
}

TEST_F(SnmpObjConvertStrategyTest, ShowsASignedDecimal)
{
    holdsInt32(static_cast<std::uint32_t>(-5), signedAttribute);
    EXPECT_EQ(shown(code(4, 2)), "-0.05");
    EXPECT_EQ(value.len, 5);
}

TEST_F(SnmpObjConvertStrategyTest, ShowsADecimalOfAnyOtherKindAsUnsigned)
{
    for (const std::uint16_t attribute : {unsignedAttribute, stringAttribute, otherAttribute}) {
        holdsInt32(4294967295, attribute);
        EXPECT_EQ(shown(code(4)), "4294967296.00") << attribute;
        EXPECT_EQ(value.len, 13) << attribute;
    }
}

TEST_F(SnmpObjConvertStrategyTest, ShowsADecimalInSinglePrecision)
{
    holdsInt32(16777217);
    EXPECT_EQ(shown(code(4)), "16777216.00");
    holdsInt32(123456789);
    EXPECT_EQ(shown(code(4, 2)), "1234567.88");
}

TEST_F(SnmpObjConvertStrategyTest, ShowsTheLargestScaleAsZero)
{
    holdsInt32(4294967295);
    EXPECT_EQ(shown(code(4, 15)), "0.00");
}

TEST_F(SnmpObjConvertStrategyTest, CutsAWordToSixteenBits)
{
    holdsInt32(0x12345678);
    value.data[4] = 0xEE;
    EXPECT_EQ(converter.toDisplay(code(11, 5), value), 0);
    EXPECT_EQ(value.int32(), 0x00005678U);
    EXPECT_EQ(value.data[4], 0xEE);
    EXPECT_EQ(value.len, 7);
}

TEST_F(SnmpObjConvertStrategyTest, ShowsValuesOfEveryOtherKindAsTheyAre)
{
    for (std::uint16_t kind = 0; kind <= 0x0FFF; ++kind) {
        if ((kind < 1 || kind > 4) && kind != 11) {
            ASSERT_TRUE(leavesAlone([&](DeviceValue &record) {
                return converter.toDisplay(code(kind, 3), record);
            })) << kind;
        }
    }
}

TEST_F(SnmpObjConvertStrategyTest, ScalesAnIntegerUp)
{
    holdsInt32(7);
    EXPECT_EQ(converted(code(0, 3)), 7000U);
    holdsInt32(7);
    EXPECT_EQ(converted(code(0)), 7U);
    EXPECT_EQ(value.len, 7);
}

TEST_F(SnmpObjConvertStrategyTest, TakesANegativeIntegerForZero)
{
    holdsInt32(static_cast<std::uint32_t>(-1), signedAttribute);
    EXPECT_EQ(converted(code(0)), 0U);
}

TEST_F(SnmpObjConvertStrategyTest, TakesTheSameBitsUnsignedForALargeInteger)
{
    holdsInt32(4294967295, otherAttribute);
    EXPECT_EQ(converted(code(0)), 4294967295U);
}

TEST_F(SnmpObjConvertStrategyTest, SaturatesAScaledInteger)
{
    holdsInt32(42949673);
    EXPECT_EQ(converted(code(0, 2)), 4294967295U);
    holdsInt32(4294967295);
    EXPECT_EQ(converted(code(0, 15)), 4294967295U);
}

TEST_F(SnmpObjConvertStrategyTest, ScalesNoText)
{
    holdsText("5");
    const auto before = value.data;
    EXPECT_EQ(converter.fromDisplay(code(0, 3), value), 0);
    EXPECT_EQ(value.data, before);
}

TEST_F(SnmpObjConvertStrategyTest, TakesADecimalTextForAScaledInteger)
{
    holdsText("12.5");
    EXPECT_EQ(converted(code(4, 2)), 1250U);
    EXPECT_EQ(value.len, 9);
    EXPECT_EQ(value.data[4], 0);
}

TEST_F(SnmpObjConvertStrategyTest, TakesALonePeriodForZero)
{
    holdsText(".");
    EXPECT_EQ(converted(code(4, 2)), 0U);
}

TEST_F(SnmpObjConvertStrategyTest, EndsOneUnitLowWhereSinglePrecisionFallsShort)
{
    holdsText("0.7");
    EXPECT_EQ(converted(code(4, 1)), 6U);
}

TEST_F(SnmpObjConvertStrategyTest, SaturatesADecimalText)
{
    holdsText("9999999999");
    EXPECT_EQ(converted(code(4)), 4294967295U);
    holdsText(std::string(64, '9'));
    EXPECT_EQ(converted(code(4, 15)), 4294967295U);
}

TEST_F(SnmpObjConvertStrategyTest, RefusesATextThatIsNoDecimalNumberAndLeavesIt)
{
    for (const std::string text : {"", "-3", "+3", " 3", "3 ", "1,5", "1e3", "x"}) {
        holdsText(text);
        EXPECT_EQ(converter.fromDisplay(code(4, 2), value), -1) << text;
        EXPECT_EQ(value.text(), text);
        EXPECT_EQ(value.len, 9);
    }
}

TEST_F(SnmpObjConvertStrategyTest, ChecksAllSixtyFourCharactersOfAText)
{
    holdsText(std::string(63, '0') + "x");
    EXPECT_EQ(converter.fromDisplay(code(4), value), -1);
    holdsText(std::string(63, '0') + "8");
    EXPECT_EQ(converted(code(4)), 8U);
}

TEST_F(SnmpObjConvertStrategyTest, TakesValuesOfEveryOtherKindAsTheyAre)
{
    for (std::uint16_t kind = 1; kind <= 0x0FFF; ++kind) {
        if (kind != 4) {
            ASSERT_TRUE(leavesAlone([&](DeviceValue &record) {
                return converter.fromDisplay(code(kind, 3), record);
            })) << kind;
        }
    }
}

TEST(ConversionTest, NoKindAndNoWordStandsTwice)
{
    std::set<std::uint16_t> kinds;
    std::set<std::string> words;
    for (const conversion::Conversion &each : conversion::all()) {
        EXPECT_TRUE(kinds.insert(each.kind).second) << each.kind;
        EXPECT_TRUE(each.word == nullptr || words.insert(each.word).second) << each.word;
        EXPECT_TRUE(!each.usesPlaces() || words.insert(each.wordWithPlaces).second)
            << each.wordWithPlaces;
    }
}

TEST(ConversionTest, OnlyATextWithoutAWayBackIsOneWay)
{
    EXPECT_TRUE(conversion::find(conversion::ipv4Text)->isOneWay());
    EXPECT_TRUE(conversion::find(conversion::dateTimeText)->isOneWay());
    EXPECT_FALSE(conversion::find(conversion::decimalText)->isOneWay());
    EXPECT_FALSE(conversion::find(conversion::unsigned16)->isOneWay());
    EXPECT_FALSE(conversion::find(conversion::scaledInteger)->isOneWay());
}

TEST(ConversionTest, TheCodeSplitsIntoKindAndPlaces)
{
    EXPECT_EQ(conversion::find(0x3004)->kind, conversion::decimalText);
    EXPECT_EQ(conversion::placesOf(0x3004), 3U);
    EXPECT_EQ(conversion::find(0x3005), nullptr);
}
} // namespace
