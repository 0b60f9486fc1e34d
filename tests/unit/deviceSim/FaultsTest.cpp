#include "Parsing.h"
#include "SimulatorFixture.h"

#include <string>

namespace
{
Fault faultOf(std::string_view text)
{
    return Fault::parse(parsing::words(text));
}

std::string refusalOf(std::string_view text)
{
    return reasonOf([&] { faultOf(text); });
}

class FaultsInForce : public testing::Test
{
protected:
    static constexpr std::uint16_t one = 1;
    static constexpr std::uint16_t two = 2;

    bool meets(FaultKind kind, std::uint16_t id, FaultScope request = FaultScope::reads)
    {
        return faults.take(id, request).contains(kind);
    }

    Faults faults;
};
} // namespace

TEST(Fault, isReadWithItsArgument)
{
    EXPECT_EQ(faultOf("pause 70").kind, FaultKind::pause);
    EXPECT_EQ(faultOf("pause 70").number, 70U);
    EXPECT_EQ(faultOf("delay 50").kind, FaultKind::delay);
    EXPECT_EQ(faultOf("delay 50").number, 50U);
    EXPECT_EQ(faultOf("silent").kind, FaultKind::silent);
    EXPECT_EQ(faultOf("error 0x15").number, 0x15U);
    EXPECT_EQ(faultOf("length 255").number, 255U);
    EXPECT_EQ(faultOf("wrong-id 0xFFFF").number, 0xFFFFU);
    EXPECT_EQ(faultOf("extra 3").number, 3U);
    EXPECT_EQ(faultOf("truncate 0").number, 0U);
    EXPECT_EQ(faultOf("size 8192").number, 8192U);
    EXPECT_EQ(faultOf("raw 120a").bytes, parsing::hexBytes("12 0a"));
}

TEST(Fault, isReadWithoutAnArgumentThatMayBeLeftOut)
{
    EXPECT_FALSE(faultOf("error").number.has_value());
    EXPECT_FALSE(faultOf("duplicate").number.has_value());
    EXPECT_EQ(faultOf("duplicate 3").number, 3U);
}

TEST(Fault, isReadWithItsCountAndScopeInAnyOrder)
{
    for (const char *const text : {"error times 2 only writes", "error only writes times 2"}) {
        EXPECT_EQ(faultOf(text).remaining, 2U);
        EXPECT_EQ(faultOf(text).scope, FaultScope::writes);
    }
    EXPECT_EQ(faultOf("silent only reads").scope, FaultScope::reads);
    EXPECT_EQ(faultOf("silent").scope, FaultScope::everything);
    EXPECT_FALSE(faultOf("silent").remaining.has_value());
}

TEST(Fault, ofPauseMeetsOneRequestUnlessToldOtherwise)
{
    EXPECT_EQ(faultOf("pause 70").remaining, 1U);
    EXPECT_EQ(faultOf("pause 70 only writes").remaining, 1U);
    EXPECT_EQ(faultOf("pause 70 times 3").remaining, 3U);
}

TEST(Fault, isRefusedWithTheReason)
{
    EXPECT_EQ(refusalOf(""), "which fault?");
    EXPECT_EQ(refusalOf("sleepy"), "unknown fault \"sleepy\"");
    EXPECT_EQ(refusalOf("delay"), "\"delay\" needs an argument");
    EXPECT_EQ(refusalOf("delay x"), "delay \"x\" is not a number from 0 to 600000");
    EXPECT_EQ(refusalOf("pause"), "\"pause\" needs an argument");
    EXPECT_EQ(refusalOf("pause 600001"), "pause \"600001\" is not a number from 0 to 600000");
    EXPECT_EQ(refusalOf("length 256"), "length \"256\" is not a number from 0 to 255");
    EXPECT_EQ(refusalOf("size 8193"), "size \"8193\" is not a number from 0 to 8192");
    EXPECT_EQ(refusalOf("raw 1"), "\"1\" is not pairs of hexadecimal digits");
    EXPECT_EQ(refusalOf("silent 5"), "unexpected \"5\" behind the fault");
    EXPECT_EQ(refusalOf("silent times"), "\"times\" needs an argument");
    EXPECT_EQ(refusalOf("silent times 0"), "times \"0\" is not a number from 1 to 1000000");
    EXPECT_EQ(refusalOf("silent only sets"),
              "\"only sets\" is neither \"only reads\" nor \"only writes\"");
}

TEST_F(FaultsInForce, meetTheirObjectOnly)
{
    faults.setFor(one, faultOf("silent"));
    EXPECT_TRUE(meets(FaultKind::silent, one));
    EXPECT_FALSE(meets(FaultKind::silent, two));
}

TEST_F(FaultsInForce, meetEveryObjectWhenSetForAll)
{
    faults.setForAll(faultOf("silent"));
    EXPECT_TRUE(meets(FaultKind::silent, one));
    EXPECT_TRUE(meets(FaultKind::silent, two));
}

TEST_F(FaultsInForce, ofTheObjectHoldBeforeThoseForAll)
{
    faults.setForAll(faultOf("delay 10"));
    faults.setFor(one, faultOf("delay 20"));
    EXPECT_EQ(faults.take(one, FaultScope::reads).at(FaultKind::delay).number, 20U);
    EXPECT_EQ(faults.take(two, FaultScope::reads).at(FaultKind::delay).number, 10U);
}

TEST_F(FaultsInForce, ofDifferentKindsAddUp)
{
    faults.setForAll(faultOf("delay 10"));
    faults.setFor(one, faultOf("extra 2"));
    faults.setFor(one, faultOf("length 9"));
    EXPECT_EQ(faults.take(one, FaultScope::reads).size(), 3U);
}

TEST_F(FaultsInForce, ofOneKindReplaceEachOther)
{
    faults.setFor(one, faultOf("delay 10"));
    faults.setFor(one, faultOf("delay 20"));
    EXPECT_EQ(faults.take(one, FaultScope::reads).at(FaultKind::delay).number, 20U);
}

TEST_F(FaultsInForce, areGoneAfterTheRequestsTheyWereCountedFor)
{
    faults.setFor(one, faultOf("silent times 2"));
    EXPECT_TRUE(meets(FaultKind::silent, one));
    EXPECT_TRUE(meets(FaultKind::silent, one));
    EXPECT_FALSE(meets(FaultKind::silent, one));
}

TEST_F(FaultsInForce, countOnlyTheRequestsTheyMeet)
{
    faults.setForAll(faultOf("silent times 1 only writes"));
    EXPECT_FALSE(meets(FaultKind::silent, one, FaultScope::reads));
    EXPECT_TRUE(meets(FaultKind::silent, one, FaultScope::writes));
    EXPECT_FALSE(meets(FaultKind::silent, one, FaultScope::writes));
}

TEST_F(FaultsInForce, forAllDoNotCountRequestsThatMetTheObjectsOwn)
{
    faults.setForAll(faultOf("delay 10 times 1"));
    faults.setFor(one, faultOf("delay 20 times 1"));
    EXPECT_TRUE(meets(FaultKind::delay, one));
    EXPECT_TRUE(meets(FaultKind::delay, one));
    EXPECT_FALSE(meets(FaultKind::delay, one));
}

TEST_F(FaultsInForce, areClearedPerObjectForAllOrAltogether)
{
    faults.setForAll(faultOf("silent"));
    faults.setFor(one, faultOf("extra 1"));
    faults.setFor(two, faultOf("extra 1"));
    faults.clearFor(one);
    EXPECT_FALSE(meets(FaultKind::extra, one));
    EXPECT_TRUE(meets(FaultKind::silent, one));
    faults.clearForAll();
    EXPECT_FALSE(meets(FaultKind::silent, one));
    EXPECT_TRUE(meets(FaultKind::extra, two));
    faults.clear();
    EXPECT_FALSE(meets(FaultKind::extra, two));
}
