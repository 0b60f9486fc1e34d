#include "ZabbixWriter.h"
#include "DatabaseFile.h"
#include "MappingDatabase.h"
#include "SourceReader.h"
#include "ZabbixItems.h"
#include "ZabbixUuid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace
{
std::string templateOf(const std::string &goldenSource)
{
    const MappingInput input(goldenPath(goldenSource));
    return zabbixWriter::write(servedBy(input.database(), {}), {});
}

std::string templateOfSource(const std::string &source, const zabbixWriter::Options &options = {})
{
    const MappingDatabase database(sourceReader::parse(source, "shelf.yaml"), "shelf.yaml");
    return zabbixWriter::write(servedBy(database, {}), options);
}

/// A number with one alarm.
std::string levelWith(const std::string &alarm)
{
    return "module: {name: LEVEL-MIB, revisions: [{day: 2026-01-15, text: a}, {day: 2026-06-01, "
           "text: b}]}\n"
           "scalars:\n"
           "  - {name: level, oid: 1.1.1, object: 0x0101, type: integer, alarms: [{name: "
           "levelHigh, "
           "number: 1, condition: above, raise: 5" +
           alarm + "}]}\n";
}
} // namespace

TEST(ZabbixWriter, WritesATriggerForEveryKindOfAlarm)
{
    expectGolden("watched.zabbix.yaml", templateOf("watched.yaml"));
}

TEST(ZabbixWriter, WritesAnItemForEveryKindOfObject)
{
    expectGolden("everything.zabbix.yaml", templateOf("everything.yaml"));
}

TEST(ZabbixWriter, LeavesOutWhatAMappingDoesNotHave)
{
    const std::string empty = templateOfSource("{}");
    EXPECT_THAT(empty, Not(HasSubstr("[]")));
    EXPECT_THAT(empty, Not(HasSubstr("items")));
    EXPECT_THAT(templateOfSource("scalars: [{oid: 1.1.1, object: 0x1, type: integer}]"),
                Not(HasSubstr("snmptrap")));
}

TEST(ZabbixWriter, WatchesNoObsoleteAlarm)
{
    const std::string watched = templateOfSource(levelWith(""));
    EXPECT_THAT(watched, HasSubstr("name: \"levelHigh\""));
    EXPECT_THAT(watched, HasSubstr("name: \"notification levelHighClear\""));
    EXPECT_THAT(templateOfSource(levelWith(", status: obsolete, until: 2026-06-01")),
                Not(HasSubstr("levelHigh")));
}

TEST(ZabbixWriter, LeavesOutTheFallbackIfAnotherTemplateHasIt)
{
    EXPECT_THAT(templateOfSource(levelWith("")), HasSubstr("snmptrap.fallback"));
    const std::string without = templateOfSource(levelWith(""), {.hasFallback = false});
    EXPECT_THAT(without, Not(HasSubstr("snmptrap.fallback")));
    EXPECT_THAT(without, HasSubstr("snmptrap["));
}

TEST(ZabbixWriter, ReadsAnItemAsOftenAsItsAlarmLooksButAtLeastOnceAMinute)
{
    EXPECT_THAT(templateOfSource(levelWith(", every: 7")), HasSubstr("delay: \"7s\""));
    EXPECT_THAT(templateOfSource(levelWith(", every: 3600")), HasSubstr("delay: \"60s\""));
}

TEST(ZabbixWriter, NamesARowAfterThreeColumnsAtMost)
{
    std::string source = "tables: [{node: .2.1, rows: 4, columns: [";
    for (const char *const column : {"a", "b", "c", "d"}) {
        source += std::string("{name: ") + column + ", first: 0x1, type: text, label: true},";
    }
    EXPECT_THAT(templateOfSource(source + "]}]"),
                HasSubstr("name: \"table1 {#TABLE1ROW} {#A} {#B} {#C}: d\""));
}

TEST(ZabbixWriter, NeedsNoRecoveryExpressionIfOneLimitIsEnough)
{
    EXPECT_THAT(templateOfSource(levelWith(", clear: 4")), HasSubstr("recovery_expression"));
    EXPECT_THAT(templateOfSource(levelWith(", clear: 5")), Not(HasSubstr("recovery_expression")));
    EXPECT_THAT(templateOfSource(levelWith("")), Not(HasSubstr("recovery_expression")));
}

TEST(ZabbixUuid, DependsOnEachPartOfTheIdentity)
{
    const std::string uuid = zabbixUuid::of("A-MIB", "item", "level");
    EXPECT_EQ(uuid, zabbixUuid::of("A-MIB", "item", "level"));
    EXPECT_NE(uuid, zabbixUuid::of("B-MIB", "item", "level"));
    EXPECT_NE(uuid, zabbixUuid::of("A-MIB", "trigger", "level"));
    EXPECT_NE(uuid, zabbixUuid::of("A-MIB", "item", "levels"));
    EXPECT_NE(zabbixUuid::of("A", "Bitem", "level"), zabbixUuid::of("AB", "item", "level"));
}

TEST(ZabbixUuid, HasTheFormOfARandomOne)
{
    for (const char *name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
        EXPECT_THAT(zabbixUuid::of("", "", name),
                    MatchesRegex("[0-9a-f]{12}4[0-9a-f]{3}[89ab][0-9a-f]{15}"));
    }
}

TEST(ZabbixItems, LeaveNothingInATextThatZabbixWouldExpand)
{
    EXPECT_EQ(zabbixItems::plain("{$USER} {#ROW} {?last(//a)} {HOST.NAME} {{ITEM.VALUE}.x()} $1"),
              "{ $USER} { #ROW} { ?last(//a)} { HOST.NAME} {{ ITEM.VALUE}.x()} $ 1");
    EXPECT_EQ(zabbixItems::plain("{a} {} {1} $0 $x 5$ {"), "{a} {} {1} $0 $x 5$ {");
}
