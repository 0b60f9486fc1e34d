#include "BaseOid.h"

#include "agent/AgentFixture.h"
#include "support/CapturedOutput.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint16_t baseOidObject = 0x80BA;

class BaseOidTest : public AgentFixture
{
};

TEST_F(BaseOidTest, IsTheTextOfTheDevice)
{
    deviceGivesBaseOid(".1.3.6.1.4.1.99999.1");
    EXPECT_EQ(readBaseOidText(), ".1.3.6.1.4.1.99999.1");
}

TEST_F(BaseOidTest, IsReadInOneExchange)
{
    deviceGivesBaseOid(".1.3");
    static_cast<void>(readBaseOidText());
    EXPECT_THAT(_pDevice->requests(), ElementsAre(Frame{2, 7, 0xBA, 0x80, 0, 0, 0, 0}));
}

TEST_F(BaseOidTest, MayBeAllThatAValueHolds)
{
    std::string text;
    for (int arc = 0; arc < 32; ++arc) {
        text += ".7";
    }
    deviceGivesBaseOid(text);
    EXPECT_EQ(readBaseOidText(), text);
}

TEST_F(BaseOidTest, IsEmptyWhereTheDeviceHoldsAnEmptyText)
{
    _pDevice->holdsText(baseOidObject, "", 8);
    EXPECT_EQ(readBaseOidText(), "");
}

TEST_F(BaseOidTest, IsTheDefaultWhereTheDeviceAnswersAnError)
{
    CapturedOutput output;
    EXPECT_EQ(readBaseOidText(), defaultBaseText);
    EXPECT_EQ(output.text(), "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x80ba\n");
}

TEST(ToOidTest, TakesTheNumberAfterEachPeriod)
{
    EXPECT_THAT(*toOid(".1.3.6.1", 10), ElementsAre(1, 3, 6, 1));
    EXPECT_THAT(*toOid("1.3.6", 10), ElementsAre(3, 6));
}

TEST(ToOidTest, TakesTheGreatestSubIdentifier)
{
    EXPECT_THAT(*toOid(".4294967295", 10), ElementsAre(4294967295U));
}

TEST(ToOidTest, HasNoNumbersWithoutAPeriod)
{
    EXPECT_THAT(*toOid("136", 10), IsEmpty());
    EXPECT_THAT(*toOid("", 10), IsEmpty());
}

TEST(ToOidTest, TakesAsManyNumbersAsAreAllowedAndNoMore)
{
    EXPECT_THAT(*toOid(".1.2.3", 3), ElementsAre(1, 2, 3));
    EXPECT_FALSE(toOid(".1.2.3.4", 3).has_value());
}

TEST(ToOidTest, IsNothingForATextOfFarTooManyNumbers)
{
    std::string text;
    for (int arc = 0; arc < 100000; ++arc) {
        text += ".1";
    }
    EXPECT_FALSE(toOid(text, 124).has_value());
}
} // namespace
