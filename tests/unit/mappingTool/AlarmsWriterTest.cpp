#include "DatabaseFile.h"
#include "MappingDatabase.h"
#include "MibWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::IsEmpty;

namespace
{
ServedMapping servedAlarmsOfEveryCondition()
{
    const MappingInput input(goldenPath("alarms.yaml"));
    return servedBy(input.database(), {});
}
} // namespace

TEST(MibWriter, WritesTheNotificationsOfAlarms)
{
    const PublishedMib mib = mibWriter::write(servedAlarmsOfEveryCondition());
    expectGolden("alarms.mib", mib.text);
    EXPECT_THAT(mib.remarks, IsEmpty());
}
