#include "PrometheusRules.h"
#include "DatabaseFile.h"
#include "MappingDatabase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace
{
ServedMapping watched()
{
    return servedBy(MappingInput(goldenPath("rules.yaml")).database(), {});
}

ServedMapping of(const std::string &statements)
{
    const DatabaseFile file(statements);
    return servedBy(MappingDatabase(file.path()), {});
}

std::string rulesOf(const ServedMapping &served, const PrometheusRuleOptions &options)
{
    return prometheusRules::write(served, options);
}
} // namespace

TEST(PrometheusRules, HaveEveryConditionOnEveryKindOfMetric)
{
    expectGolden("rules.prometheus-0.21.yml", rulesOf(watched(), {.release = "0.21"}));
}

TEST(PrometheusRules, HaveScaledLimitsForAnExporterThatScales)
{
    const std::string rules = rulesOf(watched(), {.release = "0.25"});
    EXPECT_THAT(rules, HasSubstr("round(power, 0.1) > 11.1\n"));
    EXPECT_THAT(rules, HasSubstr("or round(power, 0.1) > 10.5 and "));
    EXPECT_THAT(rules, HasSubstr(" dBm (alarm above 11.1 until 10.5)."));
}

TEST(PrometheusRules, HaveUnscaledLimitsForAnExporterThatDoesNotScale)
{
    const std::string rules = rulesOf(watched(), {.release = "0.23"});
    EXPECT_THAT(rules, HasSubstr("          power > 111\n"));
    EXPECT_THAT(rules, HasSubstr(" in 0.1 dBm (alarm above 111 until 105)."));
}

TEST(PrometheusRules, HaveTheNameOfTheOnlyJobInEverySelector)
{
    const std::string rules = rulesOf(watched(), {.release = "0.21", .jobs = {"north \"1\""}});
    EXPECT_THAT(rules, HasSubstr("expr: up{job=\"north \\\"1\\\"\"} == 0\n"));
    EXPECT_THAT(rules, HasSubstr("          load{job=\"north \\\"1\\\"\"} > 90\n"));
    EXPECT_THAT(rules, HasSubstr("ALERTS{alertname=\"loadHigh\",alertstate=\"firing\","
                                 "module=\"watched_mib\",job=\"north \\\"1\\\"\"}"));
}

TEST(PrometheusRules, MatchTheNamesOfSeveralJobsLiterally)
{
    EXPECT_THAT(rulesOf(watched(), {.release = "0.21", .jobs = {"north.1", "south|2"}}),
                HasSubstr("          load{job=~\"north\\\\.1|south\\\\|2\"} > 90\n"));
}

TEST(PrometheusRules, LeaveOutObsoleteAlarms)
{
    EXPECT_THAT(rulesOf(watched(), {.release = "0.21"}), Not(HasSubstr("fuse")));
}

TEST(PrometheusRules, OfAMappingWithoutAlarmsReportSilence)
{
    const std::string rules = rulesOf(of(soundDatabase()), {.release = "0.21"});
    EXPECT_THAT(rules, HasSubstr("- alert: DeviceUnreachable\n        expr: up == 0\n"));
    EXPECT_THAT(rules, HasSubstr("- alert: DeviceWithoutValues\n"));
    EXPECT_THAT(rules, Not(HasSubstr("interval:")));
}

TEST(PrometheusRules, OfAMappingWithoutObjectsDoNotMissValues)
{
    const std::string rules = rulesOf(of(""), {.release = "0.21"});
    EXPECT_THAT(rules, HasSubstr("DeviceUnreachable"));
    EXPECT_THAT(rules, Not(HasSubstr("WithoutValues")));
}

TEST(PrometheusRules, DoNotTakeRowNumbersForValuesOfTheDevice)
{
    EXPECT_THAT(
        rulesOf(of(soundDatabase() + "DELETE FROM SNMP_GENERAL_OBJ_TABLE;"), {.release = "0.21"}),
        Not(HasSubstr("Row|")));
}
