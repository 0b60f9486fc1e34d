#include "SimulatorFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Parsing, readsDecimalAndHexadecimalNumbers)
{
    EXPECT_EQ(parsing::number("42", 0, 100, "n"), 42);
    EXPECT_EQ(parsing::number("0x2a", 0, 100, "n"), 42);
    EXPECT_EQ(parsing::number("-7", -10, 10, "n"), -7);
    EXPECT_EQ(parsing::number("4294967295", 0, 0xFFFFFFFF, "n"), 0xFFFFFFFF);
}

TEST(Parsing, refusesWhatIsNoNumberOrOutOfRange)
{
    for (const char *const text : {"", "x", "1x", "0x", "-", "--1", "+1", " 1", "101", "-1", "1.5",
                                   "99999999999999999999"}) {
        EXPECT_EQ(reasonOf([&] { static_cast<void>(parsing::number(text, 0, 100, "width")); }),
                  "width \"" + std::string(text) + "\" is not a number from 0 to 100");
    }
}

TEST(Parsing, writesObjectIdsWithFourDigits)
{
    EXPECT_EQ(parsing::objectIdText(0x0A41), "0x0A41");
    EXPECT_EQ(parsing::objectId("0x0a41"), 0x0A41);
    EXPECT_EQ(parsing::objectId("2625"), 0x0A41);
    EXPECT_THROW(static_cast<void>(parsing::objectId("65536")), BadInput);
}

TEST(Parsing, readsHexadecimalBytesWithAndWithoutBlanks)
{
    EXPECT_THAT(parsing::hexBytes("0aFF"), ElementsAre(0x0A, 0xFF));
    EXPECT_THAT(parsing::hexBytes(" 0a  ff01 "), ElementsAre(0x0A, 0xFF, 0x01));
    EXPECT_THAT(parsing::hexBytes(""), IsEmpty());
}

TEST(Parsing, refusesHalfBytesAndOtherCharacters)
{
    for (const char *const text : {"1", "1 2", "0g", "g0", "012"}) {
        EXPECT_EQ(reasonOf([&] { static_cast<void>(parsing::hexBytes(text)); }),
                  '"' + std::string(text) + "\" is not pairs of hexadecimal digits");
    }
}

TEST(Parsing, writesUnprintableCharactersAsHexadecimal)
{
    EXPECT_EQ(parsing::oneLine("a b"), "a b");
    EXPECT_EQ(parsing::oneLine("a\nb\\\x7f\xe9"), "a\\x0ab\\x5c\\x7f\\xe9");
}

TEST(Parsing, splitsALineAtBlanksAndTabs)
{
    EXPECT_THAT(parsing::words("  set\t1  2 "), ElementsAre("set", "1", "2"));
    EXPECT_THAT(parsing::words(" \t"), IsEmpty());
}
