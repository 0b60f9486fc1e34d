#include "AlarmComparisons.h"
#include "AlarmLoad.h"
#include "MappingDatabase.h"
#include "SourceReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::DoubleEq;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr const char *objects = R"(module:
  name: PUMP-MIB
  base: .1.3.6.1.4.1.32473.20
  revisions: [{day: 2026-01-15, text: One.}, {day: 2026-06-01, text: Two.}]
scalars:
  - {name: level, oid: 1.1.1, object: 0x10, type: integer}
  - {name: state, oid: 1.1.2, object: 0x11, type: integer,
     labels: {1: stopped, 2: starting, 4: running, 5: broken}}
  - {name: pressure, oid: 1.1.3, object: 0x12, type: text, conversion: decimal 2}
tables:
  - name: valveTable
    node: .2.1
    rows: 4
    columns:
      - {name: valveFlow, first: 0x100, type: integer}
alarms:
)";

ServedMapping servedWith(const std::string &alarms)
{
    const std::string source = objects + alarms;
    return servedBy(MappingDatabase(sourceReader::parse(source, "pump.yaml"), "pump.yaml"), {});
}

std::vector<std::string> textsOf(const std::vector<AlarmComparison> &comparisons)
{
    std::vector<std::string> texts;
    for (const AlarmComparison &each : comparisons) {
        texts.push_back(std::string(each.sign) +
                        (each.value ? ' ' + std::to_string(*each.value) : ""));
    }
    return texts;
}

/// What raises and what clears an alarm.
struct Texts {
    std::vector<std::string> raise;
    std::vector<std::string> clear;
};

Texts comparisonsWith(const std::string &condition)
{
    const ServedMapping served = servedWith("  - {name: alarm, number: 1, " + condition + "}\n");
    const AlarmComparisons comparisons = comparisonsOf(served, served.alarms.at(0));
    return {.raise = textsOf(comparisons.raise), .clear = textsOf(comparisons.clear)};
}

double exchangesWith(const std::string &alarm)
{
    return alarmLoad::exchangesPerMinute(
        servedWith("  - {name: alarm, number: 1, " + alarm + "}\n"));
}
} // namespace

TEST(AlarmComparisons, OfALimitAboveAreGreaterThanItAndAtMostTheOtherLimit)
{
    const auto [raise, clear] =
        comparisonsWith("object: level, condition: above, raise: 45, clear: 40");
    EXPECT_THAT(raise, ElementsAre("> 45"));
    EXPECT_THAT(clear, ElementsAre("<= 40"));
}

TEST(AlarmComparisons, OfALimitBelowAreLessThanItAndAtLeastTheOtherLimit)
{
    const auto [raise, clear] =
        comparisonsWith("object: level, condition: below, raise: -45, clear: -40");
    EXPECT_THAT(raise, ElementsAre("< -45"));
    EXPECT_THAT(clear, ElementsAre(">= -40"));
}

TEST(AlarmComparisons, HaveTheIntegersThatMeetAFractionalLimit)
{
    const auto above = comparisonsWith("object: level, condition: above, raise: 45.5, clear: -0.5");
    EXPECT_THAT(above.raise, ElementsAre("> 45"));
    EXPECT_THAT(above.clear, ElementsAre("<= -1"));
    const auto below = comparisonsWith("object: level, condition: below, raise: -1.5, clear: 0.25");
    EXPECT_THAT(below.raise, ElementsAre("< -1"));
    EXPECT_THAT(below.clear, ElementsAre(">= 1"));
}

TEST(AlarmComparisons, OfAValueAreOppositeToEachOther)
{
    const auto equal = comparisonsWith("object: state, condition: equal, raise: broken");
    EXPECT_THAT(equal.raise, ElementsAre("== 5"));
    EXPECT_THAT(equal.clear, ElementsAre("!= 5"));
    const auto notEqual = comparisonsWith("object: level, condition: not equal, raise: 60");
    EXPECT_THAT(notEqual.raise, ElementsAre("!= 60"));
    EXPECT_THAT(notEqual.clear, ElementsAre("== 60"));
}

TEST(AlarmComparisons, AreNoneForAValueThatNoIntegerHas)
{
    const auto [raise, clear] = comparisonsWith("object: level, condition: equal, raise: 0.5");
    EXPECT_THAT(raise, IsEmpty());
    EXPECT_THAT(clear, IsEmpty());
}

TEST(AlarmComparisons, OfLabelsAtOneEndAreASinglePair)
{
    const auto upper =
        comparisonsWith("object: state, condition: one of, raise: [broken, running]");
    EXPECT_THAT(upper.raise, ElementsAre(">= 4"));
    EXPECT_THAT(upper.clear, ElementsAre("< 4"));
    const auto lower =
        comparisonsWith("object: state, condition: one of, raise: [stopped, starting]");
    EXPECT_THAT(lower.raise, ElementsAre("<= 2"));
    EXPECT_THAT(lower.clear, ElementsAre("> 2"));
}

TEST(AlarmComparisons, OfLabelsAmongOthersAreOneForEachLabel)
{
    const auto [raise, clear] =
        comparisonsWith("object: state, condition: one of, raise: [running, starting]");
    EXPECT_THAT(raise, ElementsAre("== 2", "== 4"));
    EXPECT_THAT(clear, ElementsAre("< 2", "> 4"));
}

TEST(AlarmComparisons, OfLabelsClearAtEachOtherLabelBetweenThem)
{
    const auto [raise, clear] =
        comparisonsWith("object: state, condition: one of, raise: [stopped, running]");
    EXPECT_THAT(raise, ElementsAre("== 1", "== 4"));
    EXPECT_THAT(clear, ElementsAre("== 2", "> 4"));
}

TEST(AlarmComparisons, OfAChangeCompareWithTheValueBefore)
{
    const auto [raise, clear] = comparisonsWith("object: pressure, condition: changed");
    EXPECT_THAT(raise, ElementsAre("!="));
    EXPECT_THAT(clear, IsEmpty());
}

TEST(AlarmLoad, IsOneExchangeForEachComparisonAndRow)
{
    EXPECT_THAT(exchangesWith("object: level, condition: above, raise: 5, every: 10"),
                DoubleEq(12));
    EXPECT_THAT(exchangesWith("object: valveFlow, condition: above, raise: 5, every: 10"),
                DoubleEq(48));
    EXPECT_THAT(exchangesWith("object: state, condition: one of, raise: [running, starting]"),
                DoubleEq(4));
    EXPECT_THAT(exchangesWith("object: level, condition: changed, every: 120"), DoubleEq(0.5));
}

TEST(AlarmLoad, IsNothingForAnAlarmThatTheMasterDoesNotWatch)
{
    EXPECT_THAT(exchangesWith("object: pressure, condition: above, raise: 5"), DoubleEq(0));
    EXPECT_THAT(exchangesWith("object: level, condition: above, raise: 5, status: obsolete"),
                DoubleEq(0));
    EXPECT_THAT(exchangesWith("object: level, condition: equal, raise: 0.5"), DoubleEq(0));
}

TEST(AlarmLoad, AddsUpForAllAlarms)
{
    const ServedMapping served =
        servedWith("  - {name: a, number: 1, object: level, condition: above, raise: 5, every: 1}\n"
                   "  - {name: b, number: 2, object: state, condition: equal, raise: broken}\n");
    EXPECT_THAT(alarmLoad::exchangesPerMinute(served), DoubleEq(122));
}

TEST(AlarmLoad, IsAShareOfTheTimeIfTheDeviceIsSilent)
{
    EXPECT_THAT(alarmLoad::share(375), DoubleEq(0.25));
}

TEST(AlarmLoad, IsStatedInWords)
{
    EXPECT_EQ(alarmLoad::text(112.5),
              "112.5 exchanges with the device per minute, 8 % of the time if each takes 40 ms");
}
