#include "DataManage.h"

#include "link/LinkFixture.h"
#include "link/WaitingCall.h"
#include "support/ScriptedDevice.h"
#include "support/SystemCalls.h"

#include <future>

#include <gmock/gmock.h>

namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr std::uint16_t objectA = 0x0A01;
constexpr std::uint16_t objectB = 0x0A02;
constexpr std::uint32_t done = 0;
constexpr std::uint32_t failed = 255;
constexpr const char *sendErrorLine = "ComPortAdapter::write msg_queue error:\n";
constexpr const char *readErrorLine = "DataManage::getObjValue  readData error!\n";

/// The test queues every answer of the device itself, before the exchange that should find it. The
/// answers are longer than a drain takes, so they reach the read.
class DataManageWaitingTest : public LinkFixture
{
protected:
    static constexpr std::chrono::milliseconds aWhile{45};
    static constexpr std::chrono::milliseconds aMoment{1};
    static constexpr std::chrono::milliseconds unbounded{0};

    /// A text answer of 106 bytes whose text starts with the letter.
    static Frame answerFrom(std::uint16_t id, char letter)
    {
        return ScriptedDevice::readAnswer(id, attribute::string,
                                          Frame(100, static_cast<std::uint8_t>(letter)));
    }

    static void answersWait(const std::vector<Frame> &answers)
    {
        for (const Frame &answer : answers) {
            linkQueues::putAnswer(answer);
        }
    }

    /// Exchanges that get no answer in time.
    void expireReadsOf(const ObjIds &ids)
    {
        for (const std::uint16_t id : ids) {
            ASSERT_EQ(read(id), failed);
            ASSERT_EQ(printed, timedOutLine() + readErrorLine);
        }
    }

    /// The first letter of the text that a read gets, or '-' if it fails.
    char letterReadFrom(std::uint16_t id)
    {
        return read(id) == done ? static_cast<char>(value.data[0]) : '-';
    }

    /// Callable on any thread, since its output is not captured. -1 for a failed read.
    std::int64_t byteReadFrom(std::uint16_t id)
    {
        DeviceValue own;
        return link->getObjValue(id, own) == done ? own.data[0] : -1;
    }

    std::chrono::steady_clock::duration timeToExpire(std::uint16_t id)
    {
        const auto start = std::chrono::steady_clock::now();
        expireReadsOf({id});
        return std::chrono::steady_clock::now() - start;
    }

    static DeviceValue aValue(std::uint8_t length) { return {.len = length, .oid = objectA}; }

    void openBriefLink() { openLink({.answerWait = 5ms, .silentAnswerWait = 5ms}); }
};

// Start-up

TEST_F(DataManageWaitingTest, WaitsInStartUpAsLongAsItTakes)
{
    openLinkInStartUp({.answerWait = aMoment, .silentAnswerWait = aMoment});
    WaitingCall call([this] { return link->getObjValue(objectA, value); });
    ASSERT_TRUE(linkQueues::takeRequest(10s));
    ASSERT_TRUE(call.comesToWait());
    std::this_thread::sleep_for(20 * aMoment);
    EXPECT_FALSE(call.hasEnded());
    linkQueues::putAnswer(answerFrom(objectA, 'a'));
    EXPECT_EQ(call.result(), done);
}

TEST_F(DataManageWaitingTest, LeavesItsRequestInTheQueueForADeviceThatStartsLater)
{
    openLinkInStartUp({});
    WaitingCall call([this] { return link->getObjValue(objectA, value); });
    ASSERT_TRUE(call.comesToWait());
    EXPECT_EQ(linkQueues::takeRequest(10s), (Frame{2, 7, 0x01, 0x0A, 0, 0, 0, 0}));
    linkQueues::putAnswer(answerFrom(objectA, 'a'));
    EXPECT_EQ(call.result(), done);
    EXPECT_EQ(linkQueues::waitingRequests(), 0U);
}

TEST_F(DataManageWaitingTest, AsksAgainInStartUpWhereTheDeviceMakesTheQueuesAnew)
{
    openLinkInStartUp({});
    std::promise<void> bothAreGone;
    systemCalls::duringSleep([&] { bothAreGone.get_future().wait(); });
    WaitingCall call([this] { return link->getObjValue(objectA, value); });
    ASSERT_TRUE(call.comesToWait());
    linkQueues::remove();
    ScriptedDevice device;
    device.holdsInteger(objectA, 5, 1);
    bothAreGone.set_value();
    EXPECT_EQ(call.result(), done);
    EXPECT_EQ(value.data[0], 5);
    EXPECT_THAT(systemCalls::sleeps(), ElementsAre(1));
}

TEST_F(DataManageWaitingTest, RepeatsAnUnsendableRequestEverySecondInStartUp)
{
    openLinkInStartUp({});
    linkQueues::fillRequestQueue();
    systemCalls::duringSleep([] {
        if (systemCalls::sleeps().size() == 3) {
            linkQueues::emptyRequestQueue();
            linkQueues::putAnswer(answerFrom(objectA, 'a'));
        }
    });
    EXPECT_EQ(letterReadFrom(objectA), 'a');
    EXPECT_EQ(printed, sendErrorLine);
    EXPECT_THAT(systemCalls::sleeps(), ElementsAre(1, 1, 1));
    EXPECT_EQ(linkQueues::takeRequest(), (Frame{2, 7, 0x01, 0x0A, 0, 0, 0, 0}));
    EXPECT_EQ(linkQueues::waitingRequests(), 0U);
}

TEST_F(DataManageWaitingTest, RepeatsAnUnsendableWriteInStartUpToo)
{
    openLinkInStartUp({});
    linkQueues::fillRequestQueue();
    systemCalls::duringSleep([] {
        linkQueues::emptyRequestQueue();
        linkQueues::putAnswer({0x11, 4, 0x01, 0x0A});
    });
    EXPECT_EQ(write(objectA, aValue(4)), done);
    EXPECT_EQ(printed, sendErrorLine + badAddressLine());
    EXPECT_THAT(systemCalls::sleeps(), ElementsAre(1));
    EXPECT_EQ(linkQueues::takeRequest(), (Frame{1, 4, 0x01, 0x0A, 0}));
}

TEST_F(DataManageWaitingTest, NeverRepeatsARequestAfterStartUp)
{
    openBriefLink();
    linkQueues::fillRequestQueue();
    EXPECT_EQ(read(objectA), failed);
    EXPECT_EQ(printed, sendErrorLine + timedOutLine() + readErrorLine);
    EXPECT_EQ(write(objectA, aValue(4)), done);
    EXPECT_EQ(printed, sendErrorLine + timedOutLine());
    EXPECT_THAT(systemCalls::sleeps(), ElementsAre());
}

// Bounded waits

TEST_F(DataManageWaitingTest, ServesNothingStaleOfADeviceThatDoesNotAnswer)
{
    openBriefLink();
    value = DeviceValue{.len = 7, .oid = 0x7777, .attr = 0x0110};
    value.setInt32(1234);
    expireReadsOf({objectA});
    EXPECT_EQ(value.len, 0);
    EXPECT_EQ(value.attr, 0);
    EXPECT_EQ(value.oid, 0x7777);
    EXPECT_EQ(value.int32(), 1234U);
}

TEST_F(DataManageWaitingTest, GivesUpAWriteThatIsNotAnswered)
{
    openBriefLink();
    EXPECT_EQ(write(objectA, aValue(4)), done);
    EXPECT_EQ(printed, timedOutLine());
}

TEST_F(DataManageWaitingTest, WaitsTheWholeBoundForADeviceThatIsAlive)
{
    openLink({.answerWait = aWhile, .silentAnswerWait = aMoment});
    EXPECT_GE(timeToExpire(objectA), aWhile);
}

TEST_F(DataManageWaitingTest, WaitsTheOtherBoundOnceTheDeviceIsSilent)
{
    openLink({.answerWait = aMoment, .silentAnswerWait = aWhile});
    expireReadsOf({objectA});
    EXPECT_GE(timeToExpire(objectB), aWhile);
    EXPECT_GE(timeToExpire(objectB), aWhile);
}

TEST_F(DataManageWaitingTest, WaitsTheOtherBoundAfterAnUnansweredWrite)
{
    openLink({.answerWait = aMoment, .silentAnswerWait = aWhile});
    write(objectA, aValue(4));
    EXPECT_GE(timeToExpire(objectB), aWhile);
}

TEST_F(DataManageWaitingTest, WaitsTheWholeBoundAgainOnceAMessageIsDrained)
{
    openLink({.answerWait = aWhile, .silentAnswerWait = aMoment});
    expireReadsOf({objectA});
    linkQueues::putAnswer({0x13});
    EXPECT_GE(timeToExpire(objectB), aWhile);
}

TEST_F(DataManageWaitingTest, WaitsWithoutBoundWhereTheBoundIsZero)
{
    openLink({.answerWait = unbounded, .silentAnswerWait = aMoment});
    WaitingCall call([this] { return link->getObjValue(objectA, value); });
    ASSERT_TRUE(linkQueues::takeRequest(10s));
    std::this_thread::sleep_for(20 * aMoment);
    ASSERT_TRUE(call.comesToWait());
    linkQueues::putAnswer(answerFrom(objectA, 'a'));
    EXPECT_EQ(call.result(), done);
}

TEST_F(DataManageWaitingTest, WaitsWithoutBoundForASilentDeviceWhereThatBoundIsZero)
{
    openLink({.answerWait = aMoment, .silentAnswerWait = unbounded});
    expireReadsOf({objectA});
    linkQueues::emptyRequestQueue();
    WaitingCall call([this] { return link->getObjValue(objectB, value); });
    ASSERT_TRUE(linkQueues::takeRequest(10s));
    std::this_thread::sleep_for(20 * aMoment);
    ASSERT_TRUE(call.comesToWait());
    linkQueues::putAnswer(answerFrom(objectB, 'b'));
    EXPECT_EQ(call.result(), done);
}

TEST_F(DataManageWaitingTest, AnswersEveryReadOfADeviceThatStaysSilent)
{
    openLink({.answerWait = aMoment, .silentAnswerWait = aMoment});
    for (int exchange = 0; exchange < 50; ++exchange) {
        expireReadsOf({objectA});
    }
    EXPECT_EQ(linkQueues::waitingRequests(), 50U);
}

// Threads

TEST_F(DataManageWaitingTest, HasOneRequestUnderWayAtATimeWhoeverCalls)
{
    openLink({.answerWait = 10s, .silentAnswerWait = 10s});
    WaitingCall first([this] { return byteReadFrom(objectA); });
    EXPECT_EQ(linkQueues::takeRequest(10s), (Frame{2, 7, 0x01, 0x0A, 0, 0, 0, 0}));
    WaitingCall second([this] { return byteReadFrom(objectB); });
    EXPECT_TRUE(second.comesToWait());
    EXPECT_EQ(linkQueues::takeRequest(20ms), std::nullopt);

    linkQueues::putAnswer(ScriptedDevice::readAnswer(objectA, 0, {0xAA}));
    EXPECT_EQ(linkQueues::takeRequest(10s), (Frame{2, 7, 0x02, 0x0A, 0, 0, 0, 0}));
    linkQueues::putAnswer(ScriptedDevice::readAnswer(objectB, 0, {0xBB}));
    EXPECT_EQ(first.result(), 0xAA);
    EXPECT_EQ(second.result(), 0xBB);
}

TEST_F(DataManageWaitingTest, GivesEachOfTwoThreadsItsOwnAnswers)
{
    openLink({.answerWait = 10s, .silentAnswerWait = 10s});
    ScriptedDevice device;
    device.holdsInteger(objectA, 0xAA, 1);
    device.holdsInteger(objectB, 0xBB, 1);
    const auto mistakesIn = [this](std::uint16_t id, std::int64_t expected) {
        int mistakes = 0;
        for (int exchange = 0; exchange < 200; ++exchange) {
            mistakes += byteReadFrom(id) == expected ? 0 : 1;
        }
        return mistakes;
    };
    WaitingCall first([&] { return mistakesIn(objectA, 0xAA); });
    WaitingCall second([&] { return mistakesIn(objectB, 0xBB); });
    EXPECT_EQ(first.result(), 0);
    EXPECT_EQ(second.result(), 0);
}
} // namespace
