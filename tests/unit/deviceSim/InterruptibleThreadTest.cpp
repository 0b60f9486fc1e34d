#include "InterruptibleThread.h"

#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>

namespace
{
/// A call that only a signal ends.
void waitForever(const std::atomic<bool> &stopping)
{
    while (!stopping) {
        poll(nullptr, 0, -1);
    }
}

bool endsByItself(const InterruptibleThread &thread)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!thread.hasEnded() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return thread.hasEnded();
}
} // namespace

TEST(InterruptibleThread, isInterruptedAndJoinedAtItsEnd)
{
    std::atomic<bool> isDone{false};
    {
        const InterruptibleThread thread([&](const std::atomic<bool> &stopping) {
            waitForever(stopping);
            isDone = true;
        });
        EXPECT_FALSE(thread.hasEnded());
    }
    EXPECT_TRUE(isDone);
}

TEST(InterruptibleThread, hasEndedWhenItsWorkIsDone)
{
    const InterruptibleThread thread([](const std::atomic<bool> &) {});
    EXPECT_TRUE(endsByItself(thread));
}
