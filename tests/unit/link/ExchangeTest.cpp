#include "DataManage.h"
#include "DeviceObjects.h"

#include "link/LinkFixture.h"
#include "link/WaitingCall.h"
#include "support/ScriptedDevice.h"
#include "support/SystemCalls.h"

#include <gmock/gmock.h>

namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint16_t objectA = 0x0A01;
constexpr std::uint16_t objectB = 0x0A02;
constexpr std::uint16_t objectC = 0x0A03;
constexpr std::uint16_t groupMember = 2322;
constexpr std::uint16_t groupId = 2106;
constexpr std::uint16_t foreignId = 0x7777;
constexpr std::uint16_t baseOid = 0x80BA;
constexpr std::uint32_t failed = 255;
constexpr char nothing = '-';

/// The test plays the device by hand: it takes each request and answers when and how it likes. An
/// object's value is one letter.
class ExchangeTest : public LinkFixture
{
protected:
    static constexpr std::chrono::milliseconds aMoment{1};
    static constexpr std::chrono::milliseconds aWhile{60};

    static Frame answerOf(std::uint16_t id, char letter)
    {
        return ScriptedDevice::readAnswer(id, attribute::string,
                                          {static_cast<std::uint8_t>(letter)});
    }

    static Frame longAnswerOf(std::uint16_t id, char letter)
    {
        return ScriptedDevice::readAnswer(id, attribute::string,
                                          Frame(100, static_cast<std::uint8_t>(letter)));
    }

    static Frame requestOf(std::uint16_t objId)
    {
        const std::uint16_t id = deviceObject::onLink(objId);
        return {2, 7, static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8), 0, 0,
                0, 0};
    }

    /// Waits so long that no answer is late unless the test makes it so.
    void openPatientLink() { openLink({.answerWait = 10s, .silentAnswerWait = 10s}); }

    /// The agent reads the object, and the device takes the request.
    void asks(std::uint16_t id)
    {
        begins(id);
        EXPECT_EQ(linkQueues::takeRequest(10s), requestOf(id));
    }

    /// The agent reads the object and waits; its request stays in the queue.
    void begins(std::uint16_t id)
    {
        _call = std::make_unique<WaitingCall>([this, id] {
            DeviceValue own;
            return link->getObjValue(id, own) == 0 ? own.data[0] : nothing;
        });
        EXPECT_TRUE(_call->comesToWait());
    }

    /// The outcome of the read: the value's letter.
    char gets() { return static_cast<char>(_call->result()); }

    char getsAtOnce(std::uint16_t id, char letter)
    {
        asks(id);
        linkQueues::putAnswer(answerOf(id, letter));
        return gets();
    }

    /// A read whose receive fails, so that it stays outstanding. The device takes the request.
    void leavesOutstanding(std::uint16_t id)
    {
        {
            // Its drain makes the first call, its wait the second.
            const systemCalls::FailingCalls failing("msgrcv", EACCES, 2);
            EXPECT_EQ(read(id), failed);
        }
        EXPECT_EQ(linkQueues::takeRequest(10s), requestOf(id));
    }

    /// If no request is outstanding, an answer under any id is taken.
    bool isInStep()
    {
        asks(objectC);
        linkQueues::putAnswer(answerOf(foreignId, 'x'));
        linkQueues::putAnswer(answerOf(objectC, 'c'));
        return gets() == 'x';
    }

    std::chrono::steady_clock::duration timeOf(const std::function<void()> &action)
    {
        const auto start = std::chrono::steady_clock::now();
        action();
        return std::chrono::steady_clock::now() - start;
    }

private:
    std::unique_ptr<WaitingCall> _call;
};

// In step

TEST_F(ExchangeTest, TakesAnAnswerUnderAnyIdInStep)
{
    openPatientLink();
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, LeavesALongMessageForTheNextReadInStep)
{
    openPatientLink();
    linkQueues::putAnswer(longAnswerOf(foreignId, 'x'));
    EXPECT_EQ(read(objectA), 0U);
    EXPECT_EQ(value.data[0], 'x');
}

TEST_F(ExchangeTest, IsOutOfStepAfterAReadThatFails)
{
    openPatientLink();
    leavesOutstanding(objectA);
    EXPECT_FALSE(isInStep());
}

TEST_F(ExchangeTest, StaysInStepWithARequestThatWasNeverSent)
{
    openLink({.answerWait = aMoment, .silentAnswerWait = aMoment});
    linkQueues::fillRequestQueue();
    EXPECT_EQ(read(objectA), failed);
    linkQueues::remove();
    openPatientLink();
    EXPECT_TRUE(isInStep());
}

// Late answers

TEST_F(ExchangeTest, DropsALateAnswer)
{
    openPatientLink();
    leavesOutstanding(objectA);
    asks(objectB);
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    linkQueues::putAnswer(answerOf(objectB, 'b'));
    EXPECT_EQ(gets(), 'b');
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, DropsEveryLateAnswerOfABacklog)
{
    openPatientLink();
    leavesOutstanding(objectA);
    leavesOutstanding(objectB);
    leavesOutstanding(objectA);
    asks(objectC);
    for (const std::uint16_t id : {objectA, objectB, objectA}) {
        linkQueues::putAnswer(answerOf(id, 'x'));
    }
    linkQueues::putAnswer(answerOf(objectC, 'c'));
    EXPECT_EQ(gets(), 'c');
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, DropsALateAnswerThatWaitsAlready)
{
    openPatientLink();
    leavesOutstanding(objectA);
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    EXPECT_EQ(getsAtOnce(objectB, 'b'), 'b');
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, DropsALongLateAnswerThatWaitsAlready)
{
    openPatientLink();
    leavesOutstanding(objectA);
    linkQueues::putAnswer(longAnswerOf(objectA, 'x'));
    EXPECT_EQ(getsAtOnce(objectA, 'a'), 'a');
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, DropsTheLateAnswerToAWrite)
{
    openPatientLink();
    {
        const systemCalls::FailingCalls failing("msgrcv", EACCES, 2);
        write(objectA, {.len = 4, .oid = objectA});
    }
    ASSERT_TRUE(linkQueues::takeRequest(10s));
    asks(objectA);
    linkQueues::putAnswer({0x11, 4, 0x01, 0x0A});
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    EXPECT_EQ(gets(), 'a');
}

TEST_F(ExchangeTest, RemembersTheWriteThatEndsWithALateAnswer)
{
    openPatientLink();
    leavesOutstanding(objectA);
    WaitingCall call([this] { return link->setObjValue(objectB, {.len = 7, .oid = objectB}); });
    ASSERT_TRUE(linkQueues::takeRequest(10s));
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    EXPECT_EQ(call.result(), 0);
    asks(objectC);
    linkQueues::putAnswer({0x11, 7, 0x02, 0x0A});
    linkQueues::putAnswer(answerOf(objectC, 'c'));
    EXPECT_EQ(gets(), 'c');
}

TEST_F(ExchangeTest, KnowsAnOversizedAnswerAsTheOneThatItDrops)
{
    openLink({.answerWait = 10s, .silentAnswerWait = 10s, .dropOversizedAnswers = true});
    asks(objectA);
    linkQueues::putAnswer(Frame(1025, 0x12));
    EXPECT_EQ(gets(), nothing);
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, ExpectsTheAnswerAfterAnOversizedOne)
{
    openPatientLink();
    asks(objectA);
    linkQueues::putAnswer(Frame(1025, 0x12));
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    EXPECT_EQ(gets(), nothing);
    linkQueues::takeAnswer();
    asks(objectB);
    linkQueues::putAnswer(answerOf(objectB, 'b'));
    EXPECT_EQ(gets(), 'b');
}

// Time

TEST_F(ExchangeTest, WaitsForALiveDeviceFromTheRequestHoweverManyAnswersItDrops)
{
    // Long enough that a busy machine does not look like a wait that began anew.
    static constexpr auto step = 4 * aWhile;
    openLink({.answerWait = 3 * step, .silentAnswerWait = 3 * step});
    for (int request = 0; request < 100; ++request) {
        leavesOutstanding(objectA);
    }
    const auto elapsed = timeOf([this] {
        asks(objectB);
        for (int answer = 0; answer < 5; ++answer) {
            linkQueues::putAnswer(answerOf(objectA, 'a'));
            std::this_thread::sleep_for(step / 2);
        }
        EXPECT_EQ(gets(), nothing);
    });
    EXPECT_GE(elapsed, 3 * step);
    EXPECT_LT(elapsed, 3 * step + 2 * step);
}

TEST_F(ExchangeTest, WaitsForASilentDeviceThatShowsItselfAsForALiveOne)
{
    openLink({.answerWait = 8 * aWhile, .silentAnswerWait = 2 * aWhile});
    ASSERT_EQ(read(objectA), failed);
    EXPECT_EQ(linkQueues::takeRequest(), requestOf(objectA));
    asks(objectB);
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    std::this_thread::sleep_for(4 * aWhile);
    linkQueues::putAnswer(answerOf(objectB, 'b'));
    EXPECT_EQ(gets(), 'b');
}

TEST_F(ExchangeTest, WaitsTheWholeBoundAgainOnceAnAnswerComes)
{
    openLink({.answerWait = 3 * aWhile, .silentAnswerWait = aWhile});
    ASSERT_EQ(read(objectA), failed);
    linkQueues::emptyRequestQueue();
    ASSERT_EQ(getsAtOnce(objectB, 'b'), 'b');
    EXPECT_GE(timeOf([this] { read(objectA); }), 3 * aWhile);
}

TEST_F(ExchangeTest, WaitsTheWholeBoundAgainOnceAWriteIsAnswered)
{
    openLink({.answerWait = 3 * aWhile, .silentAnswerWait = aWhile});
    ASSERT_EQ(read(objectA), failed);
    linkQueues::emptyRequestQueue();
    WaitingCall call([this] { return link->setObjValue(objectB, {.len = 7, .oid = objectB}); });
    ASSERT_TRUE(linkQueues::takeRequest(10s));
    linkQueues::putAnswer({0x11, 7, 0x02, 0x0A});
    ASSERT_EQ(call.result(), 0);
    EXPECT_GE(timeOf([this] { read(objectA); }), 3 * aWhile);
}

TEST_F(ExchangeTest, KeepsADeviceForAliveThatOnlyAnsweredLate)
{
    openLink({.answerWait = aWhile, .silentAnswerWait = aMoment});
    leavesOutstanding(objectA);
    asks(objectB);
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    EXPECT_EQ(gets(), nothing);
    EXPECT_GE(timeOf([this] { read(objectC); }), aWhile);
}

// Older answers of the same object

TEST_F(ExchangeTest, PrefersTheNewerAnswerOfAnObject)
{
    openPatientLink();
    leavesOutstanding(objectA);
    asks(objectA);
    linkQueues::putAnswer(answerOf(objectA, 'o'));
    linkQueues::putAnswer(answerOf(objectA, 'n'));
    EXPECT_EQ(gets(), 'n');
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, TakesTheOlderAnswerOfAnObjectWhereNoNewerOneComes)
{
    openLink({.answerWait = 10s, .silentAnswerWait = aMoment});
    leavesOutstanding(objectA);
    printed = capture([this] {
        asks(objectA);
        linkQueues::putAnswer(answerOf(objectA, 'o'));
        EXPECT_EQ(gets(), 'o');
    });
    EXPECT_EQ(printed, "");
}

TEST_F(ExchangeTest, WaitsForTheNewerAnswerAsLongAsTheDeviceNeedsForTwo)
{
    openLink({.answerWait = 10s, .silentAnswerWait = aMoment});
    leavesOutstanding(objectA);
    asks(objectA);
    std::this_thread::sleep_for(aWhile);
    linkQueues::putAnswer(answerOf(objectA, 'o'));
    std::this_thread::sleep_for(aWhile);
    linkQueues::putAnswer(answerOf(objectA, 'n'));
    EXPECT_EQ(gets(), 'n');
}

TEST_F(ExchangeTest, WaitsForTheNewerAnswerWithinTheBoundOfTheExchange)
{
    openLink({.answerWait = 2 * aWhile, .silentAnswerWait = 10s});
    leavesOutstanding(objectA);
    const auto elapsed = timeOf([this] {
        asks(objectA);
        linkQueues::putAnswer(answerOf(objectA, 'o'));
        EXPECT_EQ(gets(), 'o');
    });
    EXPECT_GE(elapsed, 2 * aWhile);
    EXPECT_LT(elapsed, 5s);
}

TEST_F(ExchangeTest, WaitsForTheNewerAnswerWithoutABoundOfTheExchangeToo)
{
    openLink({.answerWait = 0s, .silentAnswerWait = aMoment});
    leavesOutstanding(objectA);
    asks(objectA);
    linkQueues::putAnswer(answerOf(objectA, 'o'));
    EXPECT_EQ(gets(), 'o');
}

TEST_F(ExchangeTest, DropsTheNewerAnswerWhereTheOlderOneWasTaken)
{
    openLink({.answerWait = 10s, .silentAnswerWait = aMoment});
    leavesOutstanding(objectA);
    asks(objectA);
    linkQueues::putAnswer(answerOf(objectA, 'o'));
    ASSERT_EQ(gets(), 'o');
    asks(objectB);
    linkQueues::putAnswer(answerOf(objectA, 'n'));
    linkQueues::putAnswer(answerOf(objectB, 'b'));
    EXPECT_EQ(gets(), 'b');
}

TEST_F(ExchangeTest, GoesOnWaitingForTheNewerAnswerWhenAnotherLateOneComes)
{
    openPatientLink();
    leavesOutstanding(objectA);
    leavesOutstanding(objectB);
    asks(objectA);
    linkQueues::putAnswer(answerOf(objectA, 'o'));
    linkQueues::putAnswer(answerOf(objectB, 'b'));
    linkQueues::putAnswer(answerOf(objectA, 'n'));
    EXPECT_EQ(gets(), 'n');
}

// Foreign ids

TEST_F(ExchangeTest, TakesAForeignIdOnceTheOlderAnswersAreIn)
{
    openPatientLink();
    leavesOutstanding(objectA);
    asks(groupMember);
    linkQueues::putAnswer(answerOf(foreignId, 'a'));
    linkQueues::putAnswer(answerOf(foreignId, 'g'));
    EXPECT_EQ(gets(), 'g');
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, KnowsAGroupMemberByTheIdOfItsGroup)
{
    openPatientLink();
    leavesOutstanding(objectA);
    asks(groupMember);
    linkQueues::putAnswer(answerOf(groupId, 'g'));
    EXPECT_EQ(gets(), 'g');
}

TEST_F(ExchangeTest, TakesForeignIdsAgainAfterAWaitThatBroughtNothingElse)
{
    openLink({.answerWait = aWhile, .silentAnswerWait = aWhile});
    leavesOutstanding(objectA);
    asks(objectB);
    linkQueues::putAnswer(answerOf(foreignId, 'x'));
    EXPECT_EQ(gets(), nothing);
    asks(objectB);
    linkQueues::putAnswer(answerOf(foreignId, 'g'));
    EXPECT_EQ(gets(), 'g');
}

TEST_F(ExchangeTest, TakesNoForeignIdAfterAWaitForARequestThatStayedInTheQueue)
{
    openLink({.answerWait = aWhile, .silentAnswerWait = aWhile});
    leavesOutstanding(objectA);
    begins(objectB);
    linkQueues::putAnswer(answerOf(foreignId, 'x'));
    EXPECT_EQ(gets(), nothing);
    linkQueues::emptyRequestQueue();
    asks(objectC);
    linkQueues::putAnswer(answerOf(foreignId, 'g'));
    EXPECT_EQ(gets(), nothing);
}

TEST_F(ExchangeTest, TakesNoForeignIdAfterAWaitForARequestThatWasNotSent)
{
    openLink({.answerWait = aWhile, .silentAnswerWait = aWhile});
    leavesOutstanding(objectA);
    leavesOutstanding(objectC);
    systemCalls::fail("msgsnd", EAGAIN);
    begins(objectB);
    systemCalls::reset();
    linkQueues::putAnswer(answerOf(foreignId, 'x'));
    EXPECT_EQ(gets(), nothing);
    asks(objectB);
    linkQueues::putAnswer(answerOf(foreignId, 'g'));
    EXPECT_EQ(gets(), nothing);
}

// Start-up

TEST_F(ExchangeTest, DropsTheAnswerThatAnEarlierRunWaitedFor)
{
    openLinkInStartUp({});
    asks(baseOid);
    linkQueues::putAnswer(answerOf(objectA, 'x'));
    linkQueues::putAnswer(answerOf(baseOid, '.'));
    EXPECT_EQ(gets(), '.');
}

TEST_F(ExchangeTest, DropsTheAnswersToRequestsThatAnEarlierRunLeft)
{
    linkQueues::putRequest(requestOf(objectA));
    linkQueues::putRequest(requestOf(objectB));
    linkQueues::putAnswer(answerOf(objectC, 'c'));
    openLinkInStartUp({});
    linkQueues::emptyRequestQueue();
    asks(baseOid);
    for (const std::uint16_t id : {foreignId, objectA, objectB}) {
        linkQueues::putAnswer(answerOf(id, 'x'));
    }
    linkQueues::putAnswer(answerOf(baseOid, '.'));
    EXPECT_EQ(gets(), '.');
}

TEST_F(ExchangeTest, SendsARequestAgainThatADeviceTookAndNeverAnswered)
{
    openLinkInStartUp({.startUpAnswerWait = aWhile});
    asks(baseOid);
    EXPECT_EQ(linkQueues::takeRequest(10s), requestOf(baseOid));
    linkQueues::putAnswer(answerOf(baseOid, '.'));
    EXPECT_EQ(gets(), '.');
}

TEST_F(ExchangeTest, SendsNoRequestAgainThatStillWaits)
{
    openLinkInStartUp({.startUpAnswerWait = aMoment});
    begins(baseOid);
    std::this_thread::sleep_for(50 * aMoment);
    EXPECT_EQ(linkQueues::waitingRequests(), 1U);
    EXPECT_EQ(linkQueues::takeRequest(), requestOf(baseOid));
    linkQueues::putAnswer(answerOf(baseOid, '.'));
    EXPECT_EQ(gets(), '.');
}

TEST_F(ExchangeTest, SendsARequestAgainOnlyAfterTheWholeWaitOfADeviceThatShowsItself)
{
    openLinkInStartUp({.startUpAnswerWait = 4 * aWhile});
    asks(baseOid);
    std::this_thread::sleep_for(2 * aWhile);
    linkQueues::putAnswer(answerOf(objectA, 'x'));
    EXPECT_EQ(linkQueues::takeRequest(3 * aWhile), std::nullopt);
    linkQueues::putAnswer(answerOf(baseOid, '.'));
    EXPECT_EQ(gets(), '.');
}

TEST_F(ExchangeTest, DropsTheSecondAnswerToARequestThatWasSentAgain)
{
    openLinkInStartUp({.startUpAnswerWait = aWhile});
    asks(baseOid);
    EXPECT_EQ(linkQueues::takeRequest(10s), requestOf(baseOid));
    linkQueues::putAnswer(answerOf(baseOid, '.'));
    ASSERT_EQ(gets(), '.');
    asks(objectA);
    linkQueues::putAnswer(answerOf(baseOid, '.'));
    linkQueues::putAnswer(answerOf(objectA, 'a'));
    EXPECT_EQ(gets(), 'a');
}

TEST_F(ExchangeTest, TakesAForeignIdInStartUpOnlyFromADeviceThatWasAskedAgain)
{
    openLinkInStartUp({.startUpAnswerWait = aWhile});
    asks(baseOid);
    linkQueues::putAnswer(answerOf(foreignId, '.'));
    EXPECT_EQ(linkQueues::takeRequest(10s), requestOf(baseOid));
    linkQueues::putAnswer(answerOf(foreignId, '.'));
    EXPECT_EQ(gets(), '.');
}

TEST_F(ExchangeTest, EndsAStartUpOfForeignIdsInStep)
{
    openLinkInStartUp({.startUpAnswerWait = aWhile});
    asks(baseOid);
    linkQueues::putAnswer(answerOf(foreignId, '.'));
    EXPECT_EQ(linkQueues::takeRequest(10s), requestOf(baseOid));
    linkQueues::putAnswer(answerOf(foreignId, '.'));
    ASSERT_EQ(gets(), '.');
    asks(objectA);
    linkQueues::putAnswer(answerOf(foreignId, 'a'));
    EXPECT_EQ(gets(), 'a');
    EXPECT_TRUE(isInStep());
}

TEST_F(ExchangeTest, AsksAgainInStartUpWhereTheAnswerQueueIsGoneBetweenLookUpAndCall)
{
    for (const int error : {ENOENT, EINVAL, EIDRM}) {
        linkQueues::remove();
        openLinkInStartUp({});
        ScriptedDevice device;
        device.holdsText(baseOid, ".");
        const systemCalls::FailingCalls failing("msgrcv", error, 2);
        EXPECT_EQ(read(baseOid), 0U) << error;
        EXPECT_THAT(printed, HasSubstr("error code:" + std::to_string(error)));
        EXPECT_THAT(systemCalls::sleeps(), ElementsAre(1));
        systemCalls::reset();
    }
}

TEST_F(ExchangeTest, FailsInStartUpWithoutAnAnswerQueue)
{
    openLinkInStartUp({});
    systemCalls::fail("msgget", EACCES, 2);
    EXPECT_EQ(read(baseOid), failed);
    EXPECT_THAT(systemCalls::sleeps(), IsEmpty());
}

TEST_F(ExchangeTest, FailsInStartUpWithAnOversizedAnswer)
{
    openLinkInStartUp({});
    asks(baseOid);
    linkQueues::putAnswer(Frame(1025));
    EXPECT_EQ(gets(), nothing);
}

TEST_F(ExchangeTest, GivesUpAWriteInStartUpThatIsNotAnswered)
{
    openLinkInStartUp({.startUpAnswerWait = aMoment});
    EXPECT_EQ(write(objectA, {.len = 4, .oid = objectA}), 0U);
    EXPECT_EQ(printed, timedOutLine());
}
} // namespace
