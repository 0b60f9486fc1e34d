#include "Parsing.h"
#include "InputError.h"
#include "SimulatorFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Parsing, readsObjectIdsInDecimalAndHexadecimal)
{
    EXPECT_EQ(parsing::objectId("0x0a41"), 0x0A41);
    EXPECT_EQ(parsing::objectId("2625"), 0x0A41);
    EXPECT_THROW(static_cast<void>(parsing::objectId("65536")), InputError);
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

TEST(Parsing, splitsALineAtBlanksAndTabs)
{
    EXPECT_THAT(parsing::words("  set\t1  2 "), ElementsAre("set", "1", "2"));
    EXPECT_THAT(parsing::words(" \t"), IsEmpty());
}
