#include "DeviceFixture.h"

#include "support/SystemCalls.h"

#include <cerrno>

#include <sys/msg.h>
#include <unistd.h>

namespace
{
constexpr key_t answerKey = 0x4009;

class ServingTest : public DeviceFixture
{
protected:
    ServingTest() { declaresNumber(TARNO_UNSIGNED, 1, &variable, true); }

    std::uint8_t variable = 42;
    const Frame readAnswer{0x12, 4, 0x10, 0, 0x23, 0x01, 42};
};
} // namespace

TEST_F(ServingTest, AnswersOneRequestPerStepInTheOrderOfTheRequests)
{
    linkQueues::putRequest(readOf(id));
    linkQueues::putRequest(readOf(7));
    EXPECT_EQ(step(), 1);
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
    EXPECT_EQ(step(), 1);
    EXPECT_EQ(step(), 0);
    EXPECT_EQ(linkQueues::takeAnswer(), readAnswer);
    EXPECT_EQ(linkQueues::takeAnswer(), (Frame{0x13, 3, 0, 0, 7, 0}));
}

TEST_F(ServingTest, RefusesUnknownObjectsAndCountsThem)
{
    EXPECT_EQ(answerTo(readOf(7)), (Frame{0x13, 3, 0, 0, 7, 0}));
    EXPECT_EQ(answerTo(writeOf(7, {1})), (Frame{0x14, 4, 7, 0}));
    EXPECT_EQ(statistics().unknown, 2U);
    EXPECT_EQ(statistics().errors, 2U);
}

TEST_F(ServingTest, RefusesAWriteOfAnotherWidth)
{
    EXPECT_EQ(answerTo(writeOf(id, {1, 0})), (Frame{0x14, 5, 0x23, 0x01}));
    EXPECT_EQ(answerTo(writeOf(id, {})), (Frame{0x14, 3, 0x23, 0x01}));
    EXPECT_EQ(variable, 42);
}

TEST_F(ServingTest, RefusesAWriteWhoseLengthByteLies)
{
    Frame frame = writeOf(id, {1});
    frame[1] = 255;
    EXPECT_EQ(answerTo(frame), (Frame{0x14, 255, 0x23, 0x01}));
    EXPECT_EQ(variable, 42);
}

TEST_F(ServingTest, RefusesAWriteOfAReadOnlyObject)
{
    isMadeWith({});
    declaresNumber(TARNO_UNSIGNED, 1, &variable);
    EXPECT_EQ(answerTo(writeOf(id, {1})), (Frame{0x14, 4, 0x23, 0x01}));
    EXPECT_EQ(variable, 42);
}

TEST_F(ServingTest, CountsWhatIsNoRequestAndAnswersNothing)
{
    Frame longRead = readOf(id);
    longRead.push_back(0);
    Frame otherLength = readOf(id);
    otherLength[1] = 6;
    for (const Frame &frame :
         {Frame{}, Frame{2}, Frame{1, 3, 0x23}, Frame(8, 0xFF), longRead, otherLength}) {
        EXPECT_EQ(answerTo(frame), Frame());
    }
    EXPECT_EQ(statistics().malformed, 6U);
    EXPECT_EQ(answerTo(readOf(id)), readAnswer);
}

TEST_F(ServingTest, CountsWhatIsLongerThanAnyRequestAndAnswersNothing)
{
    EXPECT_EQ(answerTo(Frame(257, 1)), Frame());
    EXPECT_EQ(answerTo(Frame(8000, 1)), Frame());
    EXPECT_EQ(statistics().oversized, 2U);
    EXPECT_EQ(statistics().malformed, 0U);
}

TEST_F(ServingTest, CountsRequestsAndAnswers)
{
    static_cast<void>(answerTo(readOf(id)));
    static_cast<void>(answerTo(readOf(7)));
    static_cast<void>(answerTo(writeOf(id, {1})));
    const tarno_statistics counted = statistics();
    EXPECT_EQ(counted.reads, 2U);
    EXPECT_EQ(counted.writes, 1U);
    EXPECT_EQ(counted.answers, 3U);
}

TEST_F(ServingTest, LosesAnAnswerThatAFullQueueDoesNotTakeAndGoesOn)
{
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    const Frame large(8000, 0);
    linkQueues::putAnswer(large);
    linkQueues::putAnswer(large);
    linkQueues::putAnswer(Frame(384, 0));
    linkQueues::putRequest(readOf(id));
    EXPECT_EQ(step(), 1);
    EXPECT_EQ(statistics().lost_answers, 1U);
}

TEST_F(ServingTest, AnswersRequestsThatWaitedBeforeTheStart)
{
    linkQueues::putRequest(readOf(id));
    EXPECT_EQ(step(), 1);
    EXPECT_EQ(linkQueues::takeAnswer(), readAnswer);
}

TEST_F(ServingTest, DiscardsThemIfAsked)
{
    isMadeWith({.mode = 0, .check_owner = 0, .discard_old_requests = 1, .wake_signal = 0});
    declaresNumber(TARNO_UNSIGNED, 1, &variable);
    linkQueues::putRequest(readOf(id));
    linkQueues::putRequest(readOf(id));
    EXPECT_EQ(step(), 0);
    EXPECT_EQ(statistics().discarded_requests, 2U);
    EXPECT_EQ(answerTo(readOf(id))[0], 0x12);
}

TEST_F(ServingTest, AllocatesNothing)
{
    const systemCalls::FailingCalls counted("malloc", 0, 0);
    linkQueues::putRequest(readOf(id));
    linkQueues::putRequest(writeOf(id, {1}));
    linkQueues::putRequest(Frame(300, 1));
    const unsigned before = counted.seen();
    for (int steps = 4; steps > 0; --steps) {
        static_cast<void>(step());
    }
    EXPECT_EQ(counted.seen(), before);
    EXPECT_EQ(statistics().answers, 2U);
}

TEST_F(ServingTest, SurvivesTheRemovalOfItsQueues)
{
    EXPECT_EQ(answerTo(readOf(id)), readAnswer);
    linkQueues::remove();
    EXPECT_EQ(step(), 0);
    EXPECT_EQ(answerTo(readOf(id)), readAnswer);
    EXPECT_EQ(statistics().reopened, 1U);
}

TEST_F(ServingTest, GoesOnWithQueuesThatWereMadeAnewInTheSameStep)
{
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    linkQueues::remove();
    linkQueues::putRequest(readOf(id));
    EXPECT_EQ(tarno_device_step(device.get(), 60'000), 1);
    EXPECT_EQ(linkQueues::takeAnswer(), readAnswer);
}

TEST_F(ServingTest, FindsAnAnswerQueueThatWasMadeAnew)
{
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    msgctl(msgget(answerKey, 0), IPC_RMID, nullptr);
    EXPECT_EQ(answerTo(readOf(id)), readAnswer);
}

TEST_F(ServingTest, SurvivesARemovalWhileItWaits)
{
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    EXPECT_EQ(tarno_device_start(device.get()), 0);
    linkQueues::remove();
    linkQueues::putRequest(readOf(id));
    for (int left = 500; left > 0 && linkQueues::waitingAnswers() == 0; --left) {
        usleep(10'000);
    }
    EXPECT_EQ(linkQueues::takeAnswer(), readAnswer);
    EXPECT_EQ(tarno_device_join(device.get()), 0);
}
