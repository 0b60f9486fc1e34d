#include "ReceiveTimer.h"

#include "ComPortAdapter.h"
#include "link/WaitingCall.h"
#include "support/LinkQueues.h"
#include "support/SystemCalls.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/msg.h>

namespace
{
using namespace std::chrono_literals;

/// For FailingCalls: no call fails.
constexpr unsigned countOnly = 0;

struct Outcome {
    ssize_t received = 0;
    int error = 0;
};

class ReceiveTimerTest : public testing::Test
{
public:
    ReceiveTimerTest(const ReceiveTimerTest &) = delete;
    ReceiveTimerTest &operator=(const ReceiveTimerTest &) = delete;

protected:
    ReceiveTimerTest()
    {
        systemCalls::reset();
        linkQueues::remove();
        queueId = msgget(linkPort::answerKey, linkPort::queueFlags);
    }

    ~ReceiveTimerTest() override
    {
        systemCalls::reset();
        linkQueues::remove();
    }

    Outcome receive(const Deadline &deadline)
    {
        const ssize_t received = timer.receive(queueId, &message, message.payload.size(), deadline);
        return {.received = received, .error = errno};
    }

    static Deadline in(std::chrono::milliseconds time)
    {
        return std::chrono::steady_clock::now() + time;
    }

    void expectTimeOut(const Deadline &deadline)
    {
        const Outcome outcome = receive(deadline);
        EXPECT_EQ(outcome.received, -1);
        EXPECT_EQ(outcome.error, ETIMEDOUT);
        EXPECT_GE(std::chrono::steady_clock::now(), *deadline);
    }

    /// The call waits well past the deadline, even if interrupted then, and ends with a message.
    void expectEndlessWait()
    {
        const Deadline deadline = in(5ms);
        WaitingCall call([&] { return receive(deadline).received; });
        while (std::chrono::steady_clock::now() < *deadline + 20ms) {
            std::this_thread::sleep_for(1ms);
        }
        EXPECT_TRUE(call.comesToWait());
        call.interrupt();
        EXPECT_TRUE(call.comesToWait());
        linkQueues::putAnswer({1, 2, 3});
        EXPECT_EQ(call.result(), 3);
    }

    static void expectNoSignalWithin(std::chrono::milliseconds time)
    {
        sigset_t wakeSignals;
        sigemptyset(&wakeSignals);
        sigaddset(&wakeSignals, SIGRTMIN);
        pthread_sigmask(SIG_BLOCK, &wakeSignals, nullptr);
        const auto nanoseconds = static_cast<long>(std::chrono::nanoseconds(time).count());
        const timespec longest{.tv_sec = 0, .tv_nsec = nanoseconds};
        EXPECT_EQ(sigtimedwait(&wakeSignals, nullptr, &longest), -1);
        EXPECT_EQ(errno, EAGAIN);
        pthread_sigmask(SIG_UNBLOCK, &wakeSignals, nullptr);
    }

    void expectWaitToSurviveInterruptions(const Deadline &deadline)
    {
        WaitingCall call([&] { return receive(deadline).received; });
        for (int time = 0; time < 3; ++time) {
            ASSERT_TRUE(call.comesToWait());
            call.interrupt();
        }
        ASSERT_TRUE(call.comesToWait());
        EXPECT_FALSE(call.hasEnded());
        linkQueues::putAnswer({1, 2, 3});
        EXPECT_EQ(call.result(), 3);
    }

    struct {
        long type;
        std::array<std::uint8_t, 16> payload;
    } message{};

    int queueId = -1;
    ReceiveTimer timer;
};

TEST_F(ReceiveTimerTest, TakesAMessageThatWaits)
{
    linkQueues::putAnswer({7, 8, 9}, 42);
    EXPECT_EQ(receive(in(10s)).received, 3);
    EXPECT_EQ(message.type, 42);
    EXPECT_EQ(message.payload[0], 7);
    EXPECT_EQ(message.payload[2], 9);
    EXPECT_EQ(message.payload[3], 0);
}

TEST_F(ReceiveTimerTest, TakesAMessageThatComesInTime)
{
    WaitingCall call([this] { return receive(in(10s)).received; });
    ASSERT_TRUE(call.comesToWait());
    linkQueues::putAnswer({1, 2, 3});
    EXPECT_EQ(call.result(), 3);
}

TEST_F(ReceiveTimerTest, WaitsWithoutBoundWithoutADeadline)
{
    WaitingCall call([this] { return receive({}).received; });
    ASSERT_TRUE(call.comesToWait());
    linkQueues::putAnswer({1, 2, 3});
    EXPECT_EQ(call.result(), 3);
}

TEST_F(ReceiveTimerTest, EndsAtTheDeadline)
{
    expectTimeOut(in(20ms));
}

TEST_F(ReceiveTimerTest, EndsWhenTheDeadlineHasPassedBeforeItWaits)
{
    expectTimeOut(in(-1s));
}

TEST_F(ReceiveTimerTest, EndsWheneverTheTimerFiresBeforeItWaits)
{
    for (int round = 0; round < 40; ++round) {
        expectTimeOut(in(0ms));
    }
}

TEST_F(ReceiveTimerTest, TakesAMessageThatWaitsAlsoAfterTheDeadline)
{
    linkQueues::putAnswer({7});
    EXPECT_EQ(receive(in(-1s)).received, 1);
}

TEST_F(ReceiveTimerTest, GoesOnWaitingWhenAnotherSignalInterrupts)
{
    expectWaitToSurviveInterruptions(in(10s));
}

TEST_F(ReceiveTimerTest, GoesOnWaitingWithoutADeadlineWhenASignalInterrupts)
{
    expectWaitToSurviveInterruptions({});
}

TEST_F(ReceiveTimerTest, WaitsWithoutBoundWhenNoTimerCanBeCreated)
{
    systemCalls::fail("timer_create", EAGAIN);
    expectEndlessWait();
}

TEST_F(ReceiveTimerTest, WaitsWithoutBoundWhenTheTimerCannotBeSet)
{
    systemCalls::fail("timer_settime", EINVAL);
    expectEndlessWait();
}

TEST_F(ReceiveTimerTest, WaitsWithoutBoundWhenTheSignalCannotBeHandled)
{
    std::signal(SIGRTMIN, SIG_DFL);
    systemCalls::fail("sigaction", EINVAL);
    expectEndlessWait();
}

TEST_F(ReceiveTimerTest, AsksForATimerAgainAfterItHadNone)
{
    systemCalls::fail("timer_create", EAGAIN);
    linkQueues::putAnswer({1});
    receive(in(1ms));
    systemCalls::reset();
    expectTimeOut(in(1ms));
}

TEST_F(ReceiveTimerTest, ServesOneThreadAfterAnother)
{
    expectTimeOut(in(1ms));
    std::thread([this] { expectTimeOut(in(1ms)); }).join();
    expectTimeOut(in(1ms));
}

// The C library reuses the identity of an ended thread for a new one; a timer aimed at the old
// thread would never wake the new one.
TEST_F(ReceiveTimerTest, ServesAThreadInThePlaceOfOneThatEnded)
{
    std::thread([this] { expectTimeOut(in(1ms)); }).join();
    WaitingCall call([this] { return receive(in(1ms)).error; });
    EXPECT_EQ(call.result(), ETIMEDOUT);
}

TEST_F(ReceiveTimerTest, EndsAtTheDeadlineAlsoWhereTheWakeSignalWasBlocked)
{
    std::thread([this] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        WaitingCall call([this] { return receive(in(1ms)).error; });
        EXPECT_EQ(call.result(), ETIMEDOUT);
    }).join();
}

TEST_F(ReceiveTimerTest, UnblocksNoOtherSignal)
{
    std::thread([this] {
        sigset_t blocked;
        sigfillset(&blocked);
        pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
        expectTimeOut(in(1ms));
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        for (int number = 1; number < SIGRTMIN - 2; ++number) {
            const bool canBeBlocked = number != SIGKILL && number != SIGSTOP;
            EXPECT_EQ(sigismember(&blocked, number) == 1, canBeBlocked) << number;
        }
    }).join();
}

TEST_F(ReceiveTimerTest, LeavesNoTimerBehind)
{
    const int before = systemCalls::liveTimers();
    {
        ReceiveTimer another;
        linkQueues::putAnswer({1});
        another.receive(queueId, &message, message.payload.size(), in(10s));
        EXPECT_EQ(systemCalls::liveTimers(), before + 1);
    }
    EXPECT_EQ(systemCalls::liveTimers(), before);
}

TEST_F(ReceiveTimerTest, SendsNoSignalAtRest)
{
    linkQueues::putAnswer({1});
    receive(in(5ms));
    timer.disarm();
    expectNoSignalWithin(30ms);
}

TEST_F(ReceiveTimerTest, SendsNoSignalAfterAWaitThatExpired)
{
    expectTimeOut(in(1ms));
    expectNoSignalWithin(30ms);
}

TEST_F(ReceiveTimerTest, RestsAlsoBeforeTheFirstWait)
{
    timer.disarm();
    expectTimeOut(in(1ms));
}

TEST_F(ReceiveTimerTest, AWaitWithoutADeadlineIsNotInterruptedForAnEarlierOne)
{
    linkQueues::putAnswer({1});
    linkQueues::putAnswer({2});
    receive(in(5ms));
    receive({});
    expectNoSignalWithin(30ms);
}

TEST_F(ReceiveTimerTest, WaitsThatFollowOneAnotherShareATimer)
{
    const Deadline deadline = in(10s);
    for (std::uint8_t answer = 1; answer <= 3; ++answer) {
        linkQueues::putAnswer({answer});
    }
    receive(deadline);
    const systemCalls::FailingCalls settings("timer_settime", 0, countOnly);
    EXPECT_EQ(receive(deadline).received, 1);
    EXPECT_EQ(receive(in(11s)).received, 1);
    EXPECT_EQ(settings.seen(), 0U);
}

TEST_F(ReceiveTimerTest, EndsAtADeadlineBeforeThatOfTheLastWait)
{
    linkQueues::putAnswer({1});
    receive(in(10s));
    expectTimeOut(in(5ms));
}

TEST_F(ReceiveTimerTest, GoesOnWaitingWhenTheTimerWasSetForAnEarlierWait)
{
    linkQueues::putAnswer({1});
    receive(in(2ms));
    const systemCalls::FailingCalls receptions("msgrcv", 0, countOnly);
    expectTimeOut(in(100ms));
    EXPECT_LT(receptions.seen(), 10U)
        << "it is set anew, or its repetitions would interrupt 50 times";
}

TEST_F(ReceiveTimerTest, EndsAtTheDeadlineAlsoWhenTheTimerCannotBeSetAnew)
{
    linkQueues::putAnswer({1});
    receive(in(2ms));
    systemCalls::fail("timer_settime", EINVAL);
    expectTimeOut(in(20ms));
}

TEST_F(ReceiveTimerTest, ReportsEveryOtherFailureUnchanged)
{
    linkQueues::putAnswer(Frame(17));
    EXPECT_EQ(receive(in(10s)).error, E2BIG);
    queueId = -1;
    EXPECT_EQ(receive(in(10s)).error, EINVAL);
}

TEST_F(ReceiveTimerTest, EndsWhenTheQueueIsRemoved)
{
    WaitingCall call([this] { return receive(in(10s)).error; });
    ASSERT_TRUE(call.comesToWait());
    linkQueues::remove();
    EXPECT_EQ(call.result(), EIDRM);
}
} // namespace
