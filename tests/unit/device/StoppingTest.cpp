#include "DeviceFixture.h"

#include "support/SystemCalls.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include <pthread.h>

namespace
{
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class StoppingTest : public DeviceFixture
{
protected:
    StoppingTest() { declaresNumber(TARNO_UNSIGNED, 1, &variable); }

    int stepFor(int time) { return tarno_device_step(device.get(), time); }

    std::uint8_t variable = 1;
};

class SignalsTest : public StoppingTest, public testing::WithParamInterface<int>
{
};
} // namespace

TEST_F(StoppingTest, AStepEndsAfterItsTime)
{
    const auto start = Clock::now();
    EXPECT_EQ(stepFor(30), 0);
    EXPECT_GE(Clock::now() - start, milliseconds(30));
}

TEST_F(StoppingTest, AStepTakesARequestThatComesInTime)
{
    std::thread agent([] {
        std::this_thread::sleep_for(milliseconds(20));
        linkQueues::putRequest(readOf(id));
    });
    EXPECT_EQ(stepFor(60'000), 1);
    agent.join();
}

TEST_F(StoppingTest, AStopEndsAStepThatWaitsForever)
{
    std::thread stopper([this] {
        std::this_thread::sleep_for(milliseconds(20));
        tarno_device_stop(device.get());
    });
    EXPECT_EQ(stepFor(-1), 0);
    stopper.join();
}

TEST_F(StoppingTest, AStopBeforehandEndsTheNextStepOnly)
{
    tarno_device_stop(device.get());
    EXPECT_EQ(stepFor(-1), 0);
    linkQueues::putRequest(readOf(id));
    EXPECT_EQ(stepFor(-1), 1);
}

TEST_F(StoppingTest, AStopAtAnyMomentEndsServing)
{
    for (int round = 0; round < 200; ++round) {
        std::thread stopper([this, round] {
            std::this_thread::sleep_for(std::chrono::microseconds(round * 7));
            tarno_device_stop(device.get());
        });
        EXPECT_EQ(tarno_device_serve(device.get()), 0);
        stopper.join();
    }
}

TEST_F(StoppingTest, ServingGoesOnAfterQueuesThatCannotBeMade)
{
    systemCalls::fail("msgget", ENOSPC);
    EXPECT_EQ(tarno_device_start(device.get()), 0);
    std::this_thread::sleep_for(milliseconds(10));
    systemCalls::reset();
    linkQueues::putRequest(readOf(id));
    for (int left = 500; left > 0 && linkQueues::waitingAnswers() == 0; --left) {
        std::this_thread::sleep_for(milliseconds(10));
    }
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
    EXPECT_EQ(tarno_device_join(device.get()), 0);
}

TEST_P(SignalsTest, OfTheProgramDoNotEndAStep)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR2, &action, nullptr);
    const pthread_t serving = pthread_self();
    std::thread program([serving] {
        std::this_thread::sleep_for(milliseconds(20));
        pthread_kill(serving, SIGUSR2);
        std::this_thread::sleep_for(milliseconds(20));
        linkQueues::putRequest(readOf(id));
    });
    EXPECT_EQ(stepFor(GetParam()), 1);
    program.join();
    EXPECT_EQ(statistics().interrupted, 1U);
}

INSTANTIATE_TEST_SUITE_P(TimedOrNot, SignalsTest, testing::Values(60'000, -1));

TEST_F(StoppingTest, TheWakeSignalIsOneThatAnEmulatorHas)
{
    const int signal = SIGRTMAX - 8;
    std::signal(signal, SIG_DFL);
    EXPECT_EQ(stepFor(5), 0);
    struct sigaction after = {};
    sigaction(signal, nullptr, &after);
    EXPECT_NE(after.sa_handler, SIG_DFL);
}

TEST_F(StoppingTest, AHandlerOfTheProgramStays)
{
    const int signal = SIGRTMAX - 5;
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(signal, &action, nullptr);
    isMadeWith({.mode = 0, .check_owner = 0, .discard_old_requests = 0, .wake_signal = signal});
    EXPECT_EQ(stepFor(5), 0);
    struct sigaction after = {};
    sigaction(signal, nullptr, &after);
    EXPECT_EQ(after.sa_handler, action.sa_handler);
}

TEST_F(StoppingTest, ABlockedWakeSignalIsUnblocked)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    EXPECT_EQ(stepFor(5), 0);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(StoppingTest, WithoutATimerAStepFails)
{
    systemCalls::fail("timer_create", EAGAIN);
    EXPECT_EQ(stepFor(-1), -EAGAIN);
}

TEST_F(StoppingTest, WithoutASignalHandlerAStepFails)
{
    // One that has no handler yet.
    isMadeWith(
        {.mode = 0, .check_owner = 0, .discard_old_requests = 0, .wake_signal = SIGRTMAX - 7});
    systemCalls::fail("sigaction", EINVAL, 1);
    EXPECT_EQ(stepFor(0), -EINVAL);
    systemCalls::fail("sigaction", EINVAL);
    EXPECT_EQ(stepFor(0), -EINVAL);
}

TEST_F(StoppingTest, AnIgnoredWakeSignalGetsAHandler)
{
    const int signal = SIGRTMAX - 6;
    std::signal(signal, SIG_IGN);
    isMadeWith({.mode = 0, .check_owner = 0, .discard_old_requests = 0, .wake_signal = signal});
    EXPECT_EQ(stepFor(5), 0);
}

TEST_F(StoppingTest, AStopDuringARequestEndsTheNextStep)
{
    isMadeWith({});
    const auto stopMeanwhile = [](void *user, std::uint16_t, tarno_value *) {
        tarno_device_stop(static_cast<tarno_device *>(user));
        return TARNO_DONE;
    };
    declares({.id = id,
              .kind = TARNO_UNSIGNED,
              .width = 1,
              .writable = 0,
              .get = stopMeanwhile,
              .set = nullptr,
              .user = device.get()});
    linkQueues::putRequest(readOf(id));
    EXPECT_EQ(stepFor(-1), 1);
    EXPECT_EQ(stepFor(-1), 0);
}

TEST_F(StoppingTest, ATimerIsDeletedWithItsDevice)
{
    const int before = systemCalls::liveTimers();
    EXPECT_EQ(stepFor(0), 0);
    EXPECT_EQ(systemCalls::liveTimers(), before + 1);
    device.reset();
    EXPECT_EQ(systemCalls::liveTimers(), before);
}

TEST_F(StoppingTest, ATimerIsDeletedWithTheThreadThatServed)
{
    const int before = systemCalls::liveTimers();
    EXPECT_EQ(tarno_device_start(device.get()), 0);
    EXPECT_EQ(tarno_device_join(device.get()), 0);
    EXPECT_EQ(systemCalls::liveTimers(), before);
}

TEST_F(StoppingTest, ADeviceMayMoveToAnotherThread)
{
    EXPECT_EQ(stepFor(1), 0);
    std::thread other([this] { EXPECT_EQ(stepFor(5), 0); });
    other.join();
}

TEST_F(StoppingTest, AThreadServesUntilItIsJoined)
{
    EXPECT_EQ(tarno_device_join(device.get()), -ESRCH);
    EXPECT_EQ(tarno_device_start(device.get()), 0);
    EXPECT_EQ(tarno_device_start(device.get()), -EBUSY);
    EXPECT_EQ(tarno_device_join(device.get()), 0);
    EXPECT_EQ(tarno_device_join(device.get()), -ESRCH);
    EXPECT_EQ(tarno_device_start(device.get()), 0);
    EXPECT_EQ(tarno_device_join(device.get()), 0);
}
