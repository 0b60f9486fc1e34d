#include "AlarmsWriter.h"
#include "DatabaseFile.h"
#include "MappingDatabase.h"
#include "MibWriter.h"
#include "SourceReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
ServedMapping servedAlarmsOfEveryCondition()
{
    const MappingInput input(goldenPath("alarms.yaml"));
    return servedBy(input.database(), {});
}

/// The configuration of a module with one scalar, one column and these alarms.
std::string configurationWith(const std::string &alarms)
{
    const std::string source = "module: {name: PUMP-MIB, base: .1.3.6.1.4.1.32473.20}\n"
                               "scalars:\n"
                               "  - {name: level, oid: 1.1.1, object: 0x10, type: integer}\n"
                               "tables:\n"
                               "  - name: valveTable\n"
                               "    node: .2.1\n"
                               "    rows: 4\n"
                               "    columns:\n"
                               "      - {name: valveFlow, first: 0x100, type: integer}\n"
                               "alarms:\n" +
                               alarms;
    return alarmsWriter::write(
               servedBy(MappingDatabase(sourceReader::parse(source, "pump.yaml"), "pump.yaml"), {}))
        .text;
}
} // namespace

TEST(MibWriter, WritesTheNotificationsOfAlarms)
{
    const PublishedMib mib = mibWriter::write(servedAlarmsOfEveryCondition());
    expectGolden("alarms.mib", mib.text);
    EXPECT_THAT(mib.remarks, IsEmpty());
}

TEST(AlarmsWriter, WritesMonitorsForEveryCondition)
{
    const AlarmConfiguration configuration = alarmsWriter::write(servedAlarmsOfEveryCondition());
    expectGolden("alarms.conf", configuration.text);
    EXPECT_THAT(configuration.remarks,
                ElementsAre("pressureLow: not watched: the master agent compares integers only",
                            "heatHalf: not watched: no integer meets its condition"));
}

TEST(AlarmsWriter, GetsEachRowByItself)
{
    const std::string text =
        configurationWith("  - {name: flowing, number: 1, object: valveFlow, condition: above, "
                          "raise: 5, with: [level]}\n");
    EXPECT_THAT(text,
                HasSubstr("monitor -u tarnoAlarms -r 60 -I -o .1.3.6.1.4.1.32473.20.2.1.1.2.4.0 "
                          "-o .1.3.6.1.4.1.32473.20.1.1.1.0 -e 1.clear.flowing 1.clear.4.flowing "
                          ".1.3.6.1.4.1.32473.20.2.1.1.2.4.0 <= 5\n"));
}

TEST(AlarmsWriter, CutsLongNamesBehindWhatMakesThemUnique)
{
    const std::string text = configurationWith("  - {name: aNameThatHasThirtyLettersInAll, number: "
                                               "77, object: valveFlow, condition: changed}\n");
    EXPECT_THAT(text,
                HasSubstr(" -e 77.raise.aNameThatHasThirtyLe 77.raise.4.aNameThatHasThirty "));
}

TEST(AlarmsWriter, WritesTheUserOnlyIfNothingIsWatched)
{
    const std::string text = configurationWith("  []\n");
    EXPECT_THAT(text, HasSubstr("\nrouser tarnoAlarms auth -V tarnoAlarms\n"
                                "view tarnoAlarms included .1.3.6.1.4.1.32473.20\n"));
}
