#include "AlarmWords.h"
#include "Checker.h"
#include "DatabaseFile.h"
#include "HtmlWriter.h"
#include "InputError.h"
#include "Listing.h"
#include "MappingDiff.h"
#include "ServedAlarms.h"
#include "SourceReader.h"
#include "VerifyAlarms.h"

#include <array>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
/// A scalar `level`, a table of four rows with `state` and `title`, and alarms in flow style.
std::string sourceWith(const std::string &alarms)
{
    return "module: {name: SHELF-MIB, base: .1.3.6.1.4.1.32473.1, revisions: [{day: 2026-01-01, "
           "text: a}, {day: 2026-02-01, text: b}]}\n"
           "scalars:\n"
           "  - {name: level, oid: 1.1.1, object: 0x1, type: integer}\n"
           "  - {name: volts, oid: 1.1.2, object: 0x2, type: text, conversion: decimal 1}\n"
           "  - {name: former, oid: 1.1.3, type: integer, status: obsolete}\n"
           "tables:\n"
           "  - {name: portTable, node: .2.1, rows: 4, columns: [\n"
           "      {name: state, first: 0x10, type: integer, labels: {0: down, 1: up, 7: lost}},\n"
           "      {name: title, first: 0x20, type: text}]}\n"
           "alarms: [\n" +
           alarms + "]\n";
}

std::string reasonFor(const std::string &source)
{
    try {
        (void)sourceReader::parse(source, "shelf.yaml");
        return "was read";
    } catch (const InputError &error) {
        return error.what();
    }
}

ServedMapping servedFrom(const std::string &source)
{
    return servedBy(MappingDatabase(sourceReader::parse(source, "shelf.yaml"), "shelf.yaml"), {});
}

struct BadAlarm {
    const char *alarm;
    const char *reason;
};

constexpr std::array badAlarms{
    BadAlarm{"5", "shelf.yaml:11:1: alarm is not a map"},
    BadAlarm{"{number: 1, object: level, condition: changed}",
             "shelf.yaml:11:1: alarm has no \"name\""},
    BadAlarm{"{name: hot, object: level, condition: changed}", "alarm has no \"number\""},
    BadAlarm{"{name: hot, number: 1, condition: changed}", "alarm has no \"object\""},
    BadAlarm{"{name: hot, number: 1, object: level}", "alarm has no \"condition\""},
    BadAlarm{"{name: hot, number: 1, object: level, condition: over, raise: 1}",
             "shelf.yaml:11:50: unknown condition \"over\"; allowed: above, below, equal, not "
             "equal, changed, one of"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: above}", "alarm has no \"raise\""},
    BadAlarm{"{name: hot, number: 1, object: level, condition: above, raise: 4.125}",
             "raise \"4.125\" is not a number with at most two decimal places"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: above, raise: 5, clear: five}",
             "clear \"five\" is not a number"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: equal, raise: 5, clear: 4}",
             "shelf.yaml:11:74: only the conditions above and below have a clear"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: changed, raise: 5}",
             "the condition changed needs no raise"},
    BadAlarm{"{name: hot, number: 1, object: state, condition: one of, raise: down}",
             "raise is not a list"},
    BadAlarm{"{name: hot, number: 1, object: state, condition: one of, raise: []}",
             "raise is empty"},
    BadAlarm{"{name: hot, number: 1, object: state, condition: one of, raise: [up, up]}",
             "raise \"up\" is a duplicate"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: changed, every: 0}",
             "every \"0\" is not a number from 1 to 86400"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: changed, severity: mayor}",
             R"(unknown severity "mayor" (did you mean "major"?); allowed: critical, major)"},
    BadAlarm{"{name: hot, number: 1, object: levels, condition: changed}",
             R"(shelf.yaml:11:32: there is no scalar or column "levels" (did you mean "level"?))"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: changed, with: [level, lever]}",
             "there is no scalar or column \"lever\""},
    BadAlarm{"{name: Hot, number: 1, object: level, condition: changed}",
             "name \"Hot\" is not a lower-case letter followed by"},
    BadAlarm{"{name: level, number: 1, object: level, condition: changed}",
             "shelf.yaml:11:8: duplicate name \"level\""},
    BadAlarm{"{name: hot, number: 1, object: level, condition: changed},\n"
             "{name: hotClear, number: 2, object: level, condition: changed}",
             "shelf.yaml:12:8: duplicate name \"hotClear\""},
    BadAlarm{"{name: hot, number: 7, object: level, condition: changed},\n"
             "{name: hotter, number: 7, object: level, condition: changed}",
             "shelf.yaml:12:24: duplicate number 7; the next free one is 8"},
    BadAlarm{"{name: hot, number: 1, object: level, condition: changed, since: 2026-01-05}",
             "2026-01-05"},
};

/// From one alarm, and whether the difference breaks a manager.
struct AlarmChange {
    const char *alarm;
    const char *difference;
};

constexpr std::array alarmChanges{
    AlarmChange{"{name: low, number: 2, object: volts, condition: below, raise: 46}",
                "no differences\n"},
    AlarmChange{"", "! .1.3.6.1.4.1.32473.1.0.3 low: gone\n"
                    "! .1.3.6.1.4.1.32473.1.100.65536 shelfMIBNotificationGroup: group: low "
                    "lowClear -> none\n"},
    AlarmChange{"{name: low, number: 2, object: volts, condition: below, raise: 46},\n"
                "{name: high, number: 1, object: volts, condition: above, raise: 50, "
                "since: 2026-02-01}",
                "  .1.3.6.1.4.1.32473.1.0.1 high: added\n"},
    AlarmChange{"{name: lower, number: 2, object: volts, condition: below, raise: 46, text: Low.}",
                "! .1.3.6.1.4.1.32473.1.0.3 low: name: low -> lower\n"
                "  .1.3.6.1.4.1.32473.1.0.3 low: alarm: Raised when volts is below 46. Severity: "
                "warning. It is not sent: managers watch the object themselves. -> Low. Raised "
                "when volts is below 46. Severity: warning. It is not sent: managers watch the "
                "object themselves.\n"
                "  .1.3.6.1.4.1.32473.1.0.3 low: clear: The alarm low is cleared when volts is 46 "
                "or more. It is not sent: managers watch the object themselves. -> The alarm "
                "lower is cleared when volts is 46 or more. It is not sent: managers watch the "
                "object themselves.\n"},
    AlarmChange{"{name: low, number: 2, object: volts, condition: below, raise: 46, with: [level]}",
                "! .1.3.6.1.4.1.32473.1.0.3 low: objects: volts -> volts level\n"},
    AlarmChange{"{name: low, number: 2, object: volts, condition: below, raise: 46, status: "
                "deprecated}",
                "  .1.3.6.1.4.1.32473.1.0.3 low: status: current -> deprecated\n"},
};

class AlarmChanges : public testing::TestWithParam<AlarmChange>
{
};

class BadAlarms : public testing::TestWithParam<BadAlarm>
{
};
} // namespace

TEST_P(BadAlarms, AreReportedWithPlaceReasonAndText)
{
    EXPECT_THAT(reasonFor(sourceWith(GetParam().alarm)), HasSubstr(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(Alarms, BadAlarms, testing::ValuesIn(badAlarms),
                         [](const testing::TestParamInfo<BadAlarm> &bad) {
                             return "case" + std::to_string(bad.index);
                         });

TEST(Alarms, BelongToTheObjectThatHoldsThem)
{
    const MappingSource mapping = sourceReader::parse(
        "scalars: [{name: level, oid: 1.1.1, object: 0x1, type: integer, alarms: [\n"
        "  {name: full, number: 3, condition: above, raise: 90}]}]\n"
        "tables: [{node: .2.1, rows: 4, columns: [{name: state, first: 0x10, type: integer,\n"
        "  alarms: [{name: stateChanged, number: 1, condition: changed}]}]}]",
        "shelf.yaml");
    ASSERT_EQ(mapping.alarms.size(), 2U);
    EXPECT_EQ(mapping.alarms[0].object, "level");
    EXPECT_EQ(mapping.alarms[1].object, "state");
}

TEST(Alarms, BelongToNoOtherObjectAndToNoneWithoutAName)
{
    const std::string scalar = "scalars: [{oid: 1.1.1, object: 0x1, type: integer, ";
    EXPECT_THAT(reasonFor(scalar + "alarms: [{name: full, number: 3, condition: changed}]}]"),
                HasSubstr("an object with alarms needs a name"));
    EXPECT_THAT(reasonFor(scalar + "name: level, alarms: [{name: full, number: 3, object: level, "
                                   "condition: changed}]}]"),
                HasSubstr("the alarm belongs to level: it names no object"));
}

TEST(Alarms, AreOrderedByTheirNumbersAndHaveTheirLimitsInHundredths)
{
    const ServedMapping served = servedFrom(sourceWith(
        "{name: lost, number: 4, object: state, condition: one of, raise: [lost, down]},\n"
        "{name: low, number: 2, object: volts, condition: below, raise: 46, clear: 46.5},\n"
        "{name: full, number: 3, object: level, condition: above, raise: -7}"));
    ASSERT_EQ(served.alarms.size(), 3U);
    EXPECT_EQ(served.alarms[0].notes.name, "low");
    EXPECT_THAT(served.alarms[0].raise, ElementsAre(4600));
    EXPECT_EQ(served.alarms[0].clear, 4650);
    EXPECT_EQ(served.alarms[1].clear, -700);
    EXPECT_THAT(served.alarms[2].raise, ElementsAre(0, 700));
    EXPECT_EQ(served.alarms[2].clear, std::nullopt);
}

TEST(Alarms, AreNotServedWithoutTheirObjectOrWithALabelThatItDoesNotHave)
{
    EXPECT_THAT(servedFrom(sourceWith("{name: a, number: 1, object: former, condition: changed},\n"
                                      "{name: b, number: 2, object: state, condition: equal, "
                                      "raise: broken},\n"
                                      "{name: c, number: 3, object: title, condition: equal, "
                                      "raise: 1}"))
                    .alarms,
                IsEmpty());
}

TEST(Alarms, StayPublishedWhenTheyAreObsolete)
{
    const ServedMapping served = servedFrom(
        sourceWith("{name: a, number: 1, object: former, condition: changed, status: obsolete}"));
    ASSERT_EQ(served.alarms.size(), 1U);
    EXPECT_FALSE(servedAlarms::isWatched(served.alarms[0]));
    EXPECT_FALSE(servedAlarms::isWatchedByMaster(served, served.alarms[0]));
    EXPECT_EQ(servedAlarms::objectOf(served, served.alarms[0]).notes.name, "former");
}

TEST(Alarms, AreWatchedByTheMasterIfItCanCompareTheValue)
{
    const ServedMapping served = servedFrom(
        sourceWith("{name: a, number: 1, object: level, condition: above, raise: 1},\n"
                   "{name: b, number: 2, object: volts, condition: above, raise: 1},\n"
                   "{name: c, number: 3, object: title, condition: changed, with: [state]}"));
    ASSERT_EQ(served.alarms.size(), 3U);
    EXPECT_TRUE(servedAlarms::isWatchedByMaster(served, served.alarms[0]));
    EXPECT_FALSE(servedAlarms::isWatchedByMaster(served, served.alarms[1]));
    EXPECT_TRUE(servedAlarms::isWatchedByMaster(served, served.alarms[2]));
    EXPECT_FALSE(servedAlarms::hasClear(served.alarms[2]));
    const auto objects = servedAlarms::alongWith(served, served.alarms[2]);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[1]->notes.name, "state");
}

TEST(Alarms, AreFoundAtTheirLineWithTheirNameAndAcceptFindings)
{
    const auto written = sourceReader::parseWritten(
        sourceWith("{name: a, number: 1, object: level, condition: equal,\n"
                   "  raise: 1.5},\n"
                   "{name: b, number: 2, object: volts, condition: above, raise: 1,\n"
                   "  accept: {TM959: Prometheus watches it., TM957: It is polled rarely.}}"),
        "shelf.yaml");
    const Findings findings =
        check(MappingDatabase(written.mapping, "shelf.yaml"), written.places, "");
    std::string found;
    for (const Finding &each : findings.all()) {
        found += std::to_string(each.mark.line) + ':' + std::to_string(each.mark.column) + ' ' +
                 std::string(each.rule->code) + ' ' + each.object +
                 (each.isAccepted() ? " accepted\n" : "\n");
    }
    EXPECT_EQ(found, "7:41 TM810 portTable\n"
                     "12:10 TM954 a\n"
                     "13:30 TM959 b accepted\n"
                     "14:43 TM991 b\n");
}

TEST(Alarms, AreListedForProgramsWithTheirNotifications)
{
    const auto all = nlohmann::json::parse(listing::json(servedFrom(
        sourceWith("{name: low, number: 2, object: volts, condition: below, raise: 46.5},\n"
                   "{name: lost, number: 4, object: state, condition: one of, raise: [lost]}"))));
    ASSERT_EQ(all["alarms"].size(), 2U);
    EXPECT_EQ(all["alarms"][0]["raise"], nlohmann::json::parse("[46.5]"));
    EXPECT_EQ(all["alarms"][0]["clear"], 46.5);
    EXPECT_EQ(all["alarms"][1]["raise"], nlohmann::json::parse("[7]"));
    EXPECT_TRUE(all["alarms"][1]["clear"].is_null());
    EXPECT_EQ(all["alarms"][1]["notifications"][1]["name"], "lostClear");
}

TEST_P(AlarmChanges, AreInTheDifferences)
{
    EXPECT_EQ(mappingDiff::text(mappingDiff::compare(
                  servedFrom(sourceWith("{name: low, number: 2, object: volts, condition: below, "
                                        "raise: 46}")),
                  servedFrom(sourceWith(GetParam().alarm)))),
              GetParam().difference);
}

INSTANTIATE_TEST_SUITE_P(Alarms, AlarmChanges, testing::ValuesIn(alarmChanges),
                         [](const testing::TestParamInfo<AlarmChange> &change) {
                             return "case" + std::to_string(change.index);
                         });

TEST(Alarms, AreOnThePageAndLinkToWhatItHas)
{
    const std::string page = htmlWriter::write(servedFrom(
        sourceWith("{name: old, number: 1, object: former, condition: changed, status: obsolete},\n"
                   "{name: low, number: 2, object: volts, condition: below, raise: 46}")));
    EXPECT_THAT(page, HasSubstr("<article id=\"low\">"));
    EXPECT_THAT(page, HasSubstr("<dd><a href=\"#volts\">volts</a>"));
    EXPECT_THAT(page, HasSubstr("<dd>former"));
}

TEST(Alarms, PolledMoreOftenThanTheDeviceAnswersAreFound)
{
    const ServedMapping served = servedFrom(sourceWith(
        "{name: down, number: 1, object: state, condition: equal, raise: down, every: 5}"));
    const auto findingsAt = [&served](std::chrono::milliseconds time) {
        DeviceReadings readings;
        for (const std::uint16_t row : std::initializer_list<std::uint16_t>{0x10, 0x11, 0x12}) {
            readings.objects[row].outcome = VerifyExchange::Outcome::answered;
            readings.objects[row].time = time;
        }
        Findings findings;
        verifyAlarms(served, readings, findings);
        return findings.all();
    };
    // Four rows, to raise and to clear, twelve times a minute: 96 exchanges.
    EXPECT_THAT(findingsAt(std::chrono::milliseconds(156)), IsEmpty());
    const auto found = findingsAt(std::chrono::milliseconds(157));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].rule->code, "TV215");
    EXPECT_EQ(found[0].what, "96 exchanges per minute of 157 ms each");
    EXPECT_EQ(found[0].object, "down");
}

TEST(AlarmWords, ReadHundredths)
{
    EXPECT_EQ(alarmWords::hundredthsIn("46.5"), 4650);
    EXPECT_EQ(alarmWords::hundredthsIn("-0.05"), -5);
    EXPECT_EQ(alarmWords::hundredthsIn("2147483648"), 214748364800);
    for (const char *bad :
         {"", "-", ".5", "5.", "1.234", "1e3", "+1", " 1", "12345678901", "1.-1"}) {
        EXPECT_EQ(alarmWords::hundredthsIn(bad), std::nullopt) << bad;
    }
}
