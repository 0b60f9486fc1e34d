#include "DeviceMotion.h"

#include <gtest/gtest.h>

namespace
{
void expectRange(const char *motion, std::int64_t low, std::int64_t high)
{
    const auto range = deviceMotion::rangeOf(motion);
    ASSERT_TRUE(range) << motion;
    EXPECT_EQ(range->low, low) << motion;
    EXPECT_EQ(range->high, high) << motion;
}
} // namespace

TEST(DeviceMotion, KnowsTheFormsOfTheSimulator)
{
    for (const char *motion :
         {"counter 7", "counter -7 0.5", "ramp 0 100 10", "ramp 5 -5 0.01", "sine 0 100 86400",
          "walk 1 0 100", "walk 0 -5 5 2", "clock", "replay recorded.csv", "  clock  "}) {
        EXPECT_TRUE(deviceMotion::isKnown(motion)) << motion;
    }
}

TEST(DeviceMotion, RefusesEverythingElse)
{
    for (const char *motion :
         {"", "jump 1", "counter", "counter x", "counter 1 2 3", "counter 4294967296", "ramp 0 100",
          "ramp 0 100 0", "ramp 0 100 86401", "ramp 0 100 1s", "walk -1 0 9", "walk 1 9 3",
          "clock 1", "replay", "replay a b", "Clock"}) {
        EXPECT_FALSE(deviceMotion::isKnown(motion)) << motion;
    }
}

TEST(DeviceMotion, KnowsTheLowestAndTheHighestNumber)
{
    expectRange("ramp 100 -5 10", -5, 100);
    expectRange("sine 10 30 5", -20, 40);
    expectRange("sine 10 -30 5", -20, 40);
    expectRange("walk 3 -4 9", -4, 9);
    expectRange("clock", 0, 2147483647);
}

TEST(DeviceMotion, HasNoRangeWithoutLimitsOrKnownNumbers)
{
    for (const char *motion : {"counter 1", "replay recorded.csv", "jump", "ramp 0 100"}) {
        EXPECT_FALSE(deviceMotion::rangeOf(motion)) << motion;
    }
}
