#include "DeviceNames.h"
#include "SimulatorFixture.h"

#include <string>
#include <string_view>

namespace
{
class DeviceNamesTest : public testing::Test
{
protected:
    void add(std::uint16_t id, const std::string &name)
    {
        _device.objects.emplace(id, DeviceObject(id, ValueKind::string, 4, true, name));
    }

    [[nodiscard]] std::uint16_t idOf(std::string_view word) const
    {
        return deviceNames::idOf(_device, word);
    }

    [[nodiscard]] std::string refusalOf(std::string_view word) const
    {
        return reasonOf([&] { static_cast<void>(idOf(word)); });
    }

private:
    SimulatedDevice _device;
};
} // namespace

TEST_F(DeviceNamesTest, areTakenInPlaceOfIds)
{
    add(0x0101, "level");
    add(0x0102, "2ndLevel");
    EXPECT_EQ(idOf("level"), 0x0101);
    EXPECT_EQ(idOf("2ndLevel"), 0x0102);
}

TEST_F(DeviceNamesTest, doNotHideIds)
{
    add(0x0101, "5");
    EXPECT_EQ(idOf("5"), 5);
    EXPECT_EQ(idOf("0x0199"), 0x0199);
}

TEST_F(DeviceNamesTest, areSuggestedForATypingError)
{
    add(0x0101, "supplyVoltage");
    EXPECT_EQ(refusalOf("suplyVoltage"),
              "no object \"suplyVoltage\" (did you mean \"supplyVoltage\"?)");
    EXPECT_EQ(refusalOf("temperature"), "no object \"temperature\"");
}

TEST_F(DeviceNamesTest, mustNotBeAmbiguous)
{
    add(0x0101, "x");
    add(0x0102, "x");
    EXPECT_EQ(refusalOf("x"), "several objects are named \"x\": 0x0101, 0x0102");
    add(0x0103, "x");
    EXPECT_EQ(refusalOf("x"), "several objects are named \"x\": 0x0101, 0x0102, ...");
}

TEST_F(DeviceNamesTest, areNotLookedForInAWrongId)
{
    EXPECT_EQ(refusalOf("70000"), "object id \"70000\" is not a number from 0 to 65535");
}
