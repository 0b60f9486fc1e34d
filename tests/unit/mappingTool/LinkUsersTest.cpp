#include "LinkUsers.h"

#include <csignal>
#include <ctime>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/// A child that lives as long as the test.
class RunningChild
{
public:
    RunningChild() : _process(fork())
    {
        if (_process == 0) {
            pause();
            _exit(0);
        }
    }

    ~RunningChild()
    {
        kill(_process, SIGKILL);
        waitpid(_process, nullptr, 0);
    }

    RunningChild(const RunningChild &) = delete;
    RunningChild &operator=(const RunningChild &) = delete;

    [[nodiscard]] pid_t id() const { return _process; }

private:
    pid_t _process;
};

QueueState usedBy(pid_t sender, pid_t receiver, std::time_t when = std::time(nullptr))
{
    return {.waiting = 0,
            .lastSender = sender,
            .lastReceiver = receiver,
            .lastSent = when,
            .lastReceived = when};
}
} // namespace

TEST(LinkUsers, AreAnAgentThatSendsRequestsAndADeviceThatSendsAnswers)
{
    const RunningChild agent;
    const RunningChild device;
    const LinkUsers users = linkUsers(usedBy(agent.id(), device.id()), usedBy(device.id(), 0));
    ASSERT_TRUE(users.agent && users.device);
    EXPECT_EQ(users.agent->process, agent.id());
    EXPECT_EQ(users.device->process, device.id());
    EXPECT_EQ(users.agent->program, users.device->program);
}

TEST(LinkUsers, KnowTheAgentByTheAnswersThatItTakes)
{
    const RunningChild agent;
    const LinkUsers users = linkUsers(usedBy(0, 0), usedBy(0, agent.id()));
    ASSERT_TRUE(users.agent);
    EXPECT_EQ(users.agent->process, agent.id());
}

TEST(LinkUsers, TakeADeviceThatEmptiesItsQueuesForNoAgent)
{
    const RunningChild device;
    const LinkUsers users = linkUsers(usedBy(0, device.id()), usedBy(device.id(), device.id()));
    EXPECT_FALSE(users.agent);
    EXPECT_TRUE(users.device);
}

TEST(LinkUsers, AreNotThoseThatHaveEnded)
{
    pid_t ended = 0;
    {
        const RunningChild agent;
        ended = agent.id();
    }
    EXPECT_FALSE(linkUsers(usedBy(ended, 0), usedBy(0, ended)).agent);
}

TEST(LinkUsers, AreNotThisProcess)
{
    EXPECT_FALSE(linkUsers(usedBy(getpid(), 0), usedBy(0, getpid())).agent);
}

TEST(LinkUsers, AreNotAProcessThatGotTheIdLater)
{
    const RunningChild other;
    const std::time_t before = std::time(nullptr) - 60;
    EXPECT_FALSE(linkUsers(usedBy(other.id(), 0, before), usedBy(0, 0)).agent);
}
