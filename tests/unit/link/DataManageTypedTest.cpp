#include "DataManage.h"

#include "SnmpDataBase.h"
#include "link/LinkFixture.h"
#include "support/MappingFile.h"
#include "support/ScriptedDevice.h"

#include <algorithm>
#include <chrono>
#include <string>

#include <gmock/gmock.h>

namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// The conversions that the mapping gives the objects: none, IPv4 text, decimal text with scale 2,
/// integer with scale 3, truncated to 16 bits; the last object is not in the mapping.
constexpr std::uint16_t plain = 0x0101;
constexpr std::uint16_t address = 0x0102;
constexpr std::uint16_t decimal = 0x0103;
constexpr std::uint16_t scaled = 0x0104;
constexpr std::uint16_t cut = 0x0105;
constexpr std::uint16_t unmapped = 0x0999;

constexpr const char *readErrorLine = "DataManage::getObjValue  readData error!\n";

std::unique_ptr<SnmpDataBase> loadMapping()
{
    const MappingFile file;
    file.addScalar("101", "2", "3", 1, 1, 1, "9");
    file.addScalar("102", "4", "1", 1, 1, 2, "1");
    file.addScalar("103", "4", "3", 1, 1, 3, "2004");
    file.addScalar("104", "2", "3", 1, 1, 4, "3000");
    file.addScalar("105", "2", "3", 1, 1, 5, "B");
    return std::make_unique<SnmpDataBase>(file.path());
}

class DataManageTypedTest : public LinkFixture
{
protected:
    static void SetUpTestSuite() { s_mapping = loadMapping(); }

    static void TearDownTestSuite() { s_mapping.reset(); }

    DataManageTypedTest() { openLinkTo(device, {.answerWait = 10s, .silentAnswerWait = 10s}); }

    std::int32_t select(std::uint16_t objId)
    {
        std::int32_t status = 0;
        value.oid = objId;
        printed = capture([&] { status = link->select(value, *s_mapping); });
        return status;
    }

    std::int32_t set(std::uint16_t objId)
    {
        std::int32_t status = 0;
        value.oid = objId;
        printed = capture([&] { status = link->setSnmpValue(value, *s_mapping); });
        return status;
    }

    std::int32_t setInteger(std::uint16_t objId, std::uint32_t number,
                            std::uint16_t attr = attribute::unsignedInteger)
    {
        value = DeviceValue{.attr = attr};
        value.setInt32(number);
        return set(objId);
    }

    std::int32_t setText(std::uint16_t objId, const std::string &text)
    {
        value = DeviceValue{.attr = attribute::string};
        value.setText(text);
        return set(objId);
    }

    void deviceHoldsWritable(std::uint16_t id, std::uint32_t number, int bytes)
    {
        device.holdsInteger(id, number, bytes);
        device.makesWritable(id);
    }

    void deviceHoldsWritableText(std::uint16_t id, std::size_t size)
    {
        device.holdsText(id, "", size);
        device.makesWritable(id);
    }

    /// The integer that a select returns; its record must then hold a 32-bit integer.
    std::uint32_t selectedInteger(std::uint16_t id)
    {
        EXPECT_EQ(select(id), 0);
        EXPECT_EQ(value.len, 7);
        return value.int32();
    }

    static std::unique_ptr<SnmpDataBase> s_mapping;
    ScriptedDevice device;
};

std::unique_ptr<SnmpDataBase> DataManageTypedTest::s_mapping;

TEST_F(DataManageTypedTest, SelectWidensASignedByte)
{
    device.holdsInteger(plain, 0xFF, 1, ValueKind::signedInteger);
    EXPECT_EQ(selectedInteger(plain), 0xFFFFFFFFU);
    device.holdsInteger(plain, 0x7F, 1, ValueKind::signedInteger);
    EXPECT_EQ(selectedInteger(plain), 0x7FU);
}

TEST_F(DataManageTypedTest, SelectWidensAnUnsignedByte)
{
    value.data.fill(0xEE);
    device.holdsInteger(plain, 0xFF, 1);
    EXPECT_EQ(selectedInteger(plain), 255U);
}

TEST_F(DataManageTypedTest, SelectWidensTwoSignedBytes)
{
    device.holdsInteger(plain, 0x8000, 2, ValueKind::signedInteger);
    EXPECT_EQ(selectedInteger(plain), 0xFFFF8000U);
}

TEST_F(DataManageTypedTest, SelectWidensTwoUnsignedBytes)
{
    value.data.fill(0xEE);
    device.holdsInteger(plain, 0x8000, 2);
    EXPECT_EQ(selectedInteger(plain), 0x8000U);
}

TEST_F(DataManageTypedTest, SelectLeavesFourBytesAsTheyAre)
{
    device.holdsInteger(plain, 0x89ABCDEF, 4, ValueKind::signedInteger);
    EXPECT_EQ(selectedInteger(plain), 0x89ABCDEFU);
    EXPECT_EQ(printed, "");
}

TEST_F(DataManageTypedTest, SelectMeasuresAText)
{
    device.holdsText(plain, "abc", 10);
    EXPECT_EQ(select(plain), 0);
    EXPECT_EQ(value.len, 6);
    EXPECT_EQ(value.text(), "abc");
}

TEST_F(DataManageTypedTest, SelectMeasuresATextWithoutNulByAllItsData)
{
    device.holdsText(plain, std::string(64, 'x'));
    EXPECT_EQ(select(plain), 0);
    EXPECT_EQ(value.len, 67);
}

TEST_F(DataManageTypedTest, SelectLeavesOtherKindsAsTheyAre)
{
    value.data.fill(0xEE);
    device.holdsInteger(plain, 0xABCD, 2, ValueKind::other);
    EXPECT_EQ(select(plain), 0);
    EXPECT_EQ(value.len, 5);
    EXPECT_EQ(value.int32(), 0xEEEEABCDU);
}

TEST_F(DataManageTypedTest, SelectConvertsForTheManager)
{
    device.holdsInteger(address, 0x0A01A8C0, 4);
    EXPECT_EQ(select(address), 0);
    EXPECT_EQ(value.text(), "192.168.1.10");
    device.holdsInteger(decimal, 0xFB, 1, ValueKind::signedInteger);
    EXPECT_EQ(select(decimal), 0);
    EXPECT_EQ(value.text(), "-0.05");
    device.holdsInteger(cut, 0x12345678, 4);
    EXPECT_EQ(selectedInteger(cut), 0x5678U);
}

TEST_F(DataManageTypedTest, SelectRefusesAnObjectThatIsNotInTheMapping)
{
    device.holdsInteger(unmapped, 5, 4);
    EXPECT_EQ(select(unmapped), -1);
    EXPECT_EQ(value.int32(), 5U);
    EXPECT_EQ(printed, "");
}

TEST_F(DataManageTypedTest, SelectGoesOnWithWhatTheRecordHeldWhenTheDeviceAnswersWithAnError)
{
    for (const std::uint8_t length : Frame{4, 5, 7}) {
        value = DeviceValue{.len = length};
        value.data[0] = 9;
        EXPECT_EQ(selectedInteger(plain), 9U);
        EXPECT_EQ(printed, "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x0101\n");
    }
}

TEST_F(DataManageTypedTest, SelectRefusesAnIntegerOfNoKnownLength)
{
    for (const std::uint8_t length : Frame{0, 3, 6, 8, 23}) {
        value = DeviceValue{.len = length, .attr = attribute::signedInteger};
        EXPECT_EQ(select(plain), -1) << int{length};
    }
}

TEST_F(DataManageTypedTest, SelectRefusesABlockThatIsNotText)
{
    device.answersReadsWith(plain, ScriptedDevice::readAnswer(plain, 0, Frame(20)));
    EXPECT_EQ(select(plain), -1);
}

TEST_F(DataManageTypedTest, SelectServesNothingOfASilentDevice)
{
    openLinkTo(device, {.answerWait = 5ms, .silentAnswerWait = 5ms});
    device.isSilentAbout(plain);
    value = DeviceValue{.len = 7};
    EXPECT_EQ(select(plain), -1);
    EXPECT_EQ(printed, timedOutLine() + readErrorLine);
    EXPECT_EQ(value.len, 0);
}

TEST_F(DataManageTypedTest, SetWritesTheLowByteToAnObjectOfOneByte)
{
    deviceHoldsWritable(plain, 0, 1);
    EXPECT_EQ(setInteger(plain, 0x12345678), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 4, 0x01, 0x01, 0x78}));
    EXPECT_EQ(value.len, 4);
    EXPECT_EQ(value.int32(), 0x78U);
}

TEST_F(DataManageTypedTest, SetWritesTheLowSixteenBitsToAnObjectOfTwoBytes)
{
    deviceHoldsWritable(plain, 0, 2);
    EXPECT_EQ(setInteger(plain, 0x12345), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 5, 0x01, 0x01, 0x45, 0x23}));
    EXPECT_EQ(value.int32(), 0x2345U);
}

TEST_F(DataManageTypedTest, SetWritesAllOfFourBytes)
{
    deviceHoldsWritable(plain, 0, 4);
    EXPECT_EQ(setInteger(plain, 0x89ABCDEF), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 7, 0x01, 0x01, 0xEF, 0xCD, 0xAB, 0x89}));
    EXPECT_EQ(printed, badAddressLine());
}

TEST_F(DataManageTypedTest, SetReadsTheObjectBeforeItWrites)
{
    deviceHoldsWritable(plain, 0, 1);
    setInteger(plain, 5);
    EXPECT_THAT(device.requests(),
                ElementsAre(Frame{2, 7, 0x01, 0x01, 0, 0, 0, 0}, Frame{1, 4, 0x01, 0x01, 5}));
}

TEST_F(DataManageTypedTest, SetConvertsForTheDevice)
{
    deviceHoldsWritable(scaled, 0, 4);
    EXPECT_EQ(setInteger(scaled, 7), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 7, 0x04, 0x01, 0x58, 0x1B, 0, 0}));
    device.forgetRequests();
    deviceHoldsWritable(decimal, 0, 2);
    EXPECT_EQ(setText(decimal, "12.5"), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 5, 0x03, 0x01, 0xE2, 0x04}));
}

TEST_F(DataManageTypedTest, SetReadsTheIntegerAsTheCallersAttributeWordSays)
{
    deviceHoldsWritable(scaled, 0, 4);
    EXPECT_EQ(setInteger(scaled, 0xFFFFFFFF, attribute::signedInteger), 0);
    EXPECT_EQ(setInteger(scaled, 0xFFFFFFFF, attribute::unsignedInteger), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 7, 0x04, 0x01, 0, 0, 0, 0},
                                             Frame{1, 7, 0x04, 0x01, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST_F(DataManageTypedTest, SetWritesATextThatFillsItsObject)
{
    deviceHoldsWritableText(plain, 10);
    EXPECT_EQ(setText(plain, "0123456789"), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 13, 0x01, 0x01, '0', '1', '2', '3', '4', '5',
                                                   '6', '7', '8', '9'}));
    EXPECT_EQ(printed, "\nDataManage::setObjValue error obj type!\n" + badAddressLine());
}

TEST_F(DataManageTypedTest, SetWritesAShortTextAndWhatFollowsItInTheRecord)
{
    deviceHoldsWritableText(plain, 5);
    value = DeviceValue{.attr = attribute::string};
    value.data = {'a', 'b', 0, 'c', 'd', 'e'};
    EXPECT_EQ(set(plain), 0);
    EXPECT_THAT(device.writes(), ElementsAre(Frame{1, 8, 0x01, 0x01, 'a', 'b', 0, 'c', 'd'}));
}

TEST_F(DataManageTypedTest, SetRefusesATextLongerThanItsObject)
{
    deviceHoldsWritableText(plain, 10);
    EXPECT_EQ(setText(plain, "0123456789a"), -1);
    EXPECT_THAT(device.writes(), IsEmpty());
    EXPECT_EQ(printed, "");
}

TEST_F(DataManageTypedTest, SetNeverReadsBeyondTheDataOfATextWithoutNul)
{
    deviceHoldsWritableText(plain, 63);
    EXPECT_EQ(setText(plain, std::string(64, 'x')), -1);
    deviceHoldsWritableText(plain, 64);
    EXPECT_EQ(setText(plain, std::string(64, 'x')), 0);
    EXPECT_EQ(device.writes().back().size(), 68U);
}

TEST_F(DataManageTypedTest, SetRefusesAnObjectThatTheDeviceDoesNotLetBeWritten)
{
    device.holdsInteger(plain, 0, 1);
    EXPECT_EQ(setInteger(plain, 5), -1);
    EXPECT_THAT(device.writes(), IsEmpty());
    EXPECT_EQ(value.len, 4);
    EXPECT_EQ(printed, "");
}

TEST_F(DataManageTypedTest, SetRefusesAnObjectThatIsNotInTheMapping)
{
    deviceHoldsWritable(unmapped, 0, 1);
    EXPECT_EQ(setInteger(unmapped, 5), -1);
    EXPECT_THAT(device.writes(), IsEmpty());
    EXPECT_EQ(printed, "");
}

TEST_F(DataManageTypedTest, SetRefusesATextThatCannotBeConverted)
{
    deviceHoldsWritable(decimal, 0, 4);
    EXPECT_EQ(setText(decimal, "-3"), -1);
    EXPECT_THAT(device.writes(), IsEmpty());
    EXPECT_EQ(printed, "");
}

TEST_F(DataManageTypedTest, SetRefusesAnIntegerObjectOfAnotherLength)
{
    device.answersReadsWith(plain, ScriptedDevice::readAnswer(plain, 0x0010, Frame(20)));
    EXPECT_EQ(setInteger(plain, 5), -1);
    EXPECT_THAT(device.writes(), IsEmpty());
}

TEST_F(DataManageTypedTest, SetRefusesAnObjectThatCannotBeRead)
{
    EXPECT_EQ(setInteger(plain, 5), -1);
    EXPECT_THAT(device.writes(), IsEmpty());
    EXPECT_EQ(printed, "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x0101\n");
}

TEST_F(DataManageTypedTest, SetRefusesAnObjectOfASilentDevice)
{
    openLinkTo(device, {.answerWait = 5ms, .silentAnswerWait = 5ms});
    device.isSilentAbout(plain);
    EXPECT_EQ(setInteger(plain, 5), -1);
    EXPECT_THAT(device.writes(), IsEmpty());
    EXPECT_EQ(printed, timedOutLine() + readErrorLine);
}

TEST_F(DataManageTypedTest, SetIsDoneWhateverTheDeviceAnswersToTheWrite)
{
    deviceHoldsWritable(plain, 0, 1);
    device.answersWritesWith({0x13, 4, 0x01, 0x01});
    EXPECT_EQ(setInteger(plain, 5), 0);
    EXPECT_EQ(printed, badAddressLine());
}
} // namespace
