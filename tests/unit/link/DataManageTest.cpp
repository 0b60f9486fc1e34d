#include "DataManage.h"

#include "link/LinkFixture.h"
#include "link/WaitingCall.h"
#include "support/ScriptedDevice.h"

#include <algorithm>
#include <array>
#include <numeric>

#include <gmock/gmock.h>

namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr std::uint16_t object = 0x1234;
constexpr std::uint32_t done = 0;
constexpr std::uint32_t failed = 255;
constexpr const char *readErrorLine = "DataManage::getObjValue  readData error!\n";
constexpr const char *unsupportedLine = "ERR: DatabaseFacade::select: type unsupported!\n";
constexpr const char *objTypeLine = "\nDataManage::setObjValue error obj type!\n";

/// A link that waits long enough for a device that answers.
class DataManageTest : public LinkFixture
{
protected:
    DataManageTest()
    {
        openLinkTo(device, {.answerWait = 10s, .silentAnswerWait = 10s});
        value = marked();
    }

    static DeviceValue marked()
    {
        DeviceValue record{.len = 77, .oid = 0x7777, .attr = 0x7777, .spare = 0x77};
        record.data.fill(0xEE);
        return record;
    }

    std::uint32_t readAnswered(const Frame &answer)
    {
        device.answersReadsWith(object, answer);
        return read(object);
    }

    static DeviceValue countedUp(std::uint8_t length)
    {
        DeviceValue record{.len = length, .oid = object};
        std::iota(record.data.begin(), record.data.end(), std::uint8_t{1});
        return record;
    }

    void expectUnchanged() const
    {
        EXPECT_EQ(value.len, marked().len);
        EXPECT_EQ(value.attr, std::uint16_t{marked().attr});
        EXPECT_EQ(value.data, marked().data);
    }

    ScriptedDevice device;
};

TEST_F(DataManageTest, LogsThatThePortIsOpen)
{
    openLinkTo(device, {});
    EXPECT_EQ(printed, "_pComPortAdapter->open() end....\n");
}

TEST_F(DataManageTest, IsOneInstanceForTheWholeProcess)
{
    DataManage *first = nullptr;
    capture([&] { first = DataManage::getInstance(); });
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(capture([&] { EXPECT_EQ(DataManage::getInstance(), first); }), "");
}

TEST_F(DataManageTest, LeavesTheQueuesWhenItIsReleased)
{
    linkQueues::putAnswer({1});
    link.reset();
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
}

TEST_F(DataManageTest, AsksForAnObject)
{
    device.holdsInteger(object, 5, 1);
    EXPECT_EQ(read(object), done);
    EXPECT_THAT(device.requests(), ElementsAre(Frame{2, 7, 0x34, 0x12, 0, 0, 0, 0}));
    EXPECT_EQ(printed, "");
}

TEST_F(DataManageTest, RequestsTheOneObjectOfAGroupOfIds)
{
    for (const std::uint16_t id : ObjIds{2322, 2327, 2328}) {
        read(id);
    }
    EXPECT_THAT(device.requests(), ElementsAre(Frame{2, 7, 0x3A, 0x08, 0, 0, 0, 0},
                                               Frame{2, 7, 0x3B, 0x08, 0, 0, 0, 0},
                                               Frame{2, 7, 0x18, 0x09, 0, 0, 0, 0}));
}

TEST_F(DataManageTest, WritesToTheOneObjectOfAGroupOfIds)
{
    for (const std::uint16_t id : ObjIds{2320, 2324, 2319}) {
        write(id, countedUp(4));
    }
    EXPECT_THAT(device.requests(),
                ElementsAre(Frame{1, 4, 0x3A, 0x08, 1}, Frame{1, 4, 0x3B, 0x08, 1},
                            Frame{1, 4, 0x0F, 0x09, 1}));
}

TEST_F(DataManageTest, LeavesTheCallersObjectIdAlone)
{
    device.holdsInteger(2106, 5, 1);
    ASSERT_EQ(read(2322), done);
    EXPECT_EQ(value.oid, 0x7777);
    EXPECT_EQ(value.spare, 0x77);
}

TEST_F(DataManageTest, ReadsAByteIntoTheFirstDataByteOnly)
{
    device.holdsInteger(object, 0xAB, 1);
    device.makesWritable(object);
    ASSERT_EQ(read(object), done);
    EXPECT_EQ(value.len, 4);
    EXPECT_EQ(value.attr, 0x0010);
    EXPECT_EQ(value.int32(), 0xEEEEEEABU);
}

TEST_F(DataManageTest, ReadsTwoBytes)
{
    device.holdsInteger(object, 0xABCD, 2, ValueKind::signedInteger);
    ASSERT_EQ(read(object), done);
    EXPECT_EQ(value.len, 5);
    EXPECT_EQ(value.attr, attribute::signedInteger);
    EXPECT_EQ(value.int32(), 0xEEEEABCDU);
}

TEST_F(DataManageTest, ReadsFourBytes)
{
    device.holdsInteger(object, 0x89ABCDEF, 4, ValueKind::other);
    ASSERT_EQ(read(object), done);
    EXPECT_EQ(value.len, 7);
    EXPECT_EQ(value.attr, attribute::other);
    EXPECT_EQ(value.int32(), 0x89ABCDEFU);
    EXPECT_EQ(value.data[4], 0xEE);
}

TEST_F(DataManageTest, ReadsTextFollowedByZeros)
{
    device.holdsText(object, "hello");
    ASSERT_EQ(read(object), done);
    EXPECT_EQ(value.len, 8);
    EXPECT_EQ(value.text(), "hello");
    EXPECT_EQ(std::count(value.data.begin(), value.data.end(), 0), 59);
}

TEST_F(DataManageTest, ReadsTheFirstSixtyFourBytesOfALongText)
{
    device.holdsText(object, std::string(200, 'x'));
    ASSERT_EQ(read(object), done);
    EXPECT_EQ(value.len, 203);
    EXPECT_EQ(value.text(), std::string(64, 'x'));
}

TEST_F(DataManageTest, LogsAnErrorAnswer)
{
    EXPECT_EQ(readAnswered({0x13, 4, 0, 0, 0xCD, 0x0B, 1}), failed);
    EXPECT_EQ(printed, "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x0bcd\n");
    expectUnchanged();
}

TEST_F(DataManageTest, TakesNoWriteAnswerForARead)
{
    EXPECT_EQ(readAnswered({0x11, 4, 0x34, 0x12}), failed);
    EXPECT_EQ(printed, "ERR: DatabaseFacade::select:  error!  cmd=11  oid=0x0000\n");
}

TEST_F(DataManageTest, JudgesTheCommandBeforeTheLength)
{
    EXPECT_EQ(readAnswered({0xFF, 99, 0, 0, 0x34}), failed);
    EXPECT_EQ(printed, "ERR: DatabaseFacade::select:  error!  cmd=ff  oid=0x0034\n");
    expectUnchanged();
}

TEST_F(DataManageTest, LogsAnAnswerWithoutABit)
{
    device.isSilentAbout(object);
    device.sendsLateAnswers({Frame{}});
    EXPECT_EQ(read(object), failed);
    EXPECT_EQ(printed, "ERR: DatabaseFacade::select:  error!  cmd=0  oid=0x0000\n");
}

TEST_F(DataManageTest, LogsABlockThatIsNotText)
{
    EXPECT_EQ(readAnswered(ScriptedDevice::readAnswer(object, 0, Frame(20))), failed);
    EXPECT_EQ(printed, unsupportedLine);
    EXPECT_EQ(value.len, 23);
    EXPECT_EQ(value.attr, 0);
    EXPECT_EQ(value.data, marked().data);
}

TEST_F(DataManageTest, LogsEveryTruncatedAnswer)
{
    const Frame whole = ScriptedDevice::readAnswer(object, attribute::string, {'a', 'b', 'c'});
    for (std::size_t arrived = 1; arrived < whole.size(); ++arrived) {
        const Frame part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(arrived));
        EXPECT_EQ(readAnswered(part), failed) << arrived;
        EXPECT_EQ(printed, unsupportedLine) << arrived;
    }
    EXPECT_EQ(readAnswered(whole), done);
}

TEST_F(DataManageTest, LogsATextOfALengthBelowThree)
{
    EXPECT_EQ(readAnswered({0x12, 2, 0, 2, 0x34, 0x12, 'a'}), failed);
    EXPECT_EQ(printed, unsupportedLine);
}

TEST_F(DataManageTest, TakesAnswersOfUpTo1024Bytes)
{
    Frame answer = ScriptedDevice::readAnswer(object, attribute::string, {'a', 'b', 'c'});
    answer.resize(1024);
    EXPECT_EQ(readAnswered(answer), done);
    EXPECT_EQ(value.text(), "abc");
}

TEST_F(DataManageTest, LeavesALongerAnswerInTheQueueForEveryExchange)
{
    const Frame tooLong(1025, 0x12);
    for (int exchange = 0; exchange < 2; ++exchange) {
        EXPECT_EQ(readAnswered(tooLong), failed);
        EXPECT_EQ(printed, tooLongLine() + readErrorLine);
        expectUnchanged();
    }
    EXPECT_EQ(linkQueues::takeAnswer(), tooLong);
}

TEST_F(DataManageTest, DropsALongerAnswerWhereThatWasChosen)
{
    openLinkTo(device, {.answerWait = 10s, .silentAnswerWait = 10s, .dropOversizedAnswers = true});
    value = marked();
    EXPECT_EQ(readAnswered(Frame(1025, 0x12)), failed);
    EXPECT_EQ(printed, tooLongLine() + readErrorLine);
    expectUnchanged();
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);

    device.holdsInteger(object + 1, 5, 1);
    EXPECT_EQ(read(object + 1), done);
}

TEST_F(DataManageTest, LeavesTheRecordAsItWasWhenTheQueueIsRemoved)
{
    device.isSilentAbout(object);
    std::uint32_t status = done;
    const std::string told = capture([&] {
        WaitingCall call([&] { return link->getObjValue(object, value); });
        EXPECT_TRUE(call.comesToWait());
        linkQueues::remove();
        status = static_cast<std::uint32_t>(call.result());
    });
    EXPECT_EQ(status, failed);
    EXPECT_EQ(told, errnoLine("Identifier removed", 43) + readErrorLine);
    expectUnchanged();
}

TEST_F(DataManageTest, DiscardsWhatWaitsBeforeItAsks)
{
    linkQueues::putAnswer(ScriptedDevice::readAnswer(object, 0, {99}));
    device.holdsInteger(object, 5, 1);
    ASSERT_EQ(read(object), done);
    EXPECT_EQ(value.data[0], 5);
}

TEST_F(DataManageTest, WritesTheBytesOfAnInteger)
{
    EXPECT_EQ(write(object, countedUp(5)), done);
    EXPECT_THAT(device.requests(), ElementsAre(Frame{1, 5, 0x34, 0x12, 1, 2}));
    EXPECT_EQ(printed, badAddressLine());
}

TEST_F(DataManageTest, WritesEveryKnownLengthWithoutAWarning)
{
    for (const std::uint8_t length : Frame{4, 5, 7, 23}) {
        EXPECT_EQ(write(object, countedUp(length)), done);
        EXPECT_EQ(printed, badAddressLine()) << int{length};
        EXPECT_EQ(device.requests().back().size(), length + 1U);
    }
}

TEST_F(DataManageTest, WarnsOfAnotherLengthAndWritesAllTheSame)
{
    EXPECT_EQ(write(object, countedUp(10)), done);
    EXPECT_EQ(printed, objTypeLine + badAddressLine());
    EXPECT_THAT(device.requests(), ElementsAre(Frame{1, 10, 0x34, 0x12, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(DataManageTest, WritesAtMostTheSixtyFourDataBytes)
{
    const DeviceValue longest = countedUp(255);
    write(object, longest);
    Frame expected{1, 255, 0x34, 0x12};
    expected.insert(expected.end(), longest.data.begin(), longest.data.end());
    expected.resize(256);
    EXPECT_THAT(device.requests(), ElementsAre(expected));
}

TEST_F(DataManageTest, TakesTheAnswerToAWriteOffTheQueue)
{
    write(object, countedUp(4));
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
}

TEST_F(DataManageTest, IsDoneWithAWriteWhateverTheAnswer)
{
    for (const Frame &answer : {Frame{0x13, 4, 0x34, 0x12}, Frame{0}, Frame{0x12, 4, 0, 0, 9}}) {
        device.answersWritesWith(answer);
        EXPECT_EQ(write(object, countedUp(4)), done);
        EXPECT_EQ(printed, badAddressLine());
    }
}

TEST_F(DataManageTest, LeavesALongerAnswerToAWriteForTheNextDrain)
{
    device.answersWritesWith(Frame(6, 0x11));
    EXPECT_EQ(write(object, countedUp(4)), done);
    EXPECT_EQ(printed, tooLongLine());
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);

    device.holdsInteger(object + 1, 5, 1);
    EXPECT_EQ(read(object + 1), done);
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
}

TEST_F(DataManageTest, DumpsBytesInHexadecimal)
{
    const std::array<std::uint8_t, 4> bytes{0x01, 0xAB, 0xFF, 0x00};
    EXPECT_EQ(capture([&] { DataManage::dump(bytes); }), "1 ab ff 0 \n");
    EXPECT_EQ(capture([] { DataManage::dump({}); }), "\n");
}
} // namespace
