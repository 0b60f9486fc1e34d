#include "DeviceObjects.h"

#include <gtest/gtest.h>

namespace
{
TEST(DeviceObjectsTest, FourIdsOfTheFirstGroupStandForOneObject)
{
    for (std::uint16_t id = 2320; id <= 2323; ++id) {
        EXPECT_EQ(deviceObject::onLink(id), 2106) << id;
    }
}

TEST(DeviceObjectsTest, FourIdsOfTheSecondGroupStandForOneObject)
{
    for (std::uint16_t id = 2324; id <= 2327; ++id) {
        EXPECT_EQ(deviceObject::onLink(id), 2107) << id;
    }
}

TEST(DeviceObjectsTest, EveryOtherIdStandsForItself)
{
    for (std::uint32_t number = 0; number <= 0xFFFF; ++number) {
        const auto id = static_cast<std::uint16_t>(number);
        if (id < 2320 || id > 2327) {
            ASSERT_EQ(deviceObject::onLink(id), id);
        }
    }
}
} // namespace
