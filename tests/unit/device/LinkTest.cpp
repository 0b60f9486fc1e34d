#include "support/LinkQueues.h"
#include "support/SystemCalls.h"
#include "tarnodevice.h"

#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

namespace
{
constexpr int untilStopped = -1;

class LinkTest : public testing::Test
{
public:
    LinkTest(const LinkTest &) = delete;
    LinkTest &operator=(const LinkTest &) = delete;

protected:
    LinkTest() { linkQueues::remove(); }

    ~LinkTest() override
    {
        systemCalls::reset();
        linkQueues::remove();
    }

    /// Nothing if no request comes.
    std::optional<Frame> received(int milliseconds = 0)
    {
        const void *request = nullptr;
        std::size_t size = 0;
        if (tarno_link_receive(link.get(), milliseconds, &request, &size) != 1) {
            return {};
        }
        const auto *const bytes = static_cast<const std::uint8_t *>(request);
        return Frame(bytes, bytes + size);
    }

    int receive(int milliseconds = 0)
    {
        const void *request = nullptr;
        std::size_t size = 0;
        return tarno_link_receive(link.get(), milliseconds, &request, &size);
    }

    int send(const Frame &answer)
    {
        return tarno_link_send(link.get(), answer.data(), answer.size());
    }

    struct Free {
        void operator()(tarno_link *made) const { tarno_link_free(made); }
    };

    std::unique_ptr<tarno_link, Free> link{tarno_link_new(nullptr)};
};
} // namespace

TEST_F(LinkTest, ReceivesRequestsInTheirOrder)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    linkQueues::putRequest({1, 2});
    linkQueues::putRequest({3});
    EXPECT_EQ(received(), (Frame{1, 2}));
    EXPECT_EQ(received(), Frame{3});
    EXPECT_EQ(received(), std::nullopt);
}

TEST_F(LinkTest, ReceivesWhatWaitedBeforeItWasOpened)
{
    linkQueues::putRequest({7});
    EXPECT_EQ(received(), Frame{7});
}

TEST_F(LinkTest, ReceivesTheLongestMessage)
{
    const Frame longest(TARNO_LONGEST_MESSAGE, 0x33);
    linkQueues::putRequest(longest);
    EXPECT_EQ(received(), longest);
}

TEST_F(LinkTest, SendsAnswersOfAnySize)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, std::size_t{TARNO_LONGEST_MESSAGE}}) {
        const Frame answer(size, 0x5A);
        EXPECT_EQ(send(answer), 0);
        EXPECT_EQ(linkQueues::takeAnswer(), answer);
    }
}

TEST_F(LinkTest, RefusesAnAnswerThatNoQueueTakes)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    EXPECT_EQ(send(Frame(TARNO_LONGEST_MESSAGE + 1)), -EMSGSIZE);
}

TEST_F(LinkTest, DoesNotWaitForRoomInAFullQueue)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    const Frame answer(TARNO_LONGEST_MESSAGE);
    EXPECT_EQ(send(answer), 0);
    EXPECT_EQ(send(answer), 0);
    EXPECT_EQ(send(answer), -EAGAIN);
}

TEST_F(LinkTest, FindsARemovedAnswerQueueAgain)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    linkQueues::remove();
    EXPECT_EQ(send(Frame{9}), 0);
    EXPECT_EQ(linkQueues::takeAnswer(), Frame{9});
}

TEST_F(LinkTest, ReportsThatTheRequestQueueWasRemovedAndFindsItAgain)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    linkQueues::remove();
    EXPECT_EQ(receive(), -EIDRM);
    linkQueues::putRequest({3});
    EXPECT_EQ(received(), Frame{3});
}

TEST_F(LinkTest, AStopEndsTheNextWait)
{
    tarno_link_stop(link.get());
    EXPECT_EQ(receive(untilStopped), 0);
    EXPECT_EQ(receive(1), 0);
}

TEST_F(LinkTest, AStopEndsAWaitInAnotherThread)
{
    int result = -1;
    std::thread receiver([&] { result = receive(untilStopped); });
    tarno_link_stop(link.get());
    receiver.join();
    EXPECT_EQ(result, 0);
}

TEST_F(LinkTest, RemovesTheQueuesThatItCreated)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    ASSERT_EQ(send(Frame{1}), 0);
    EXPECT_EQ(tarno_link_remove_own(link.get()), 0);
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
}

TEST_F(LinkTest, LeavesQueuesThatWereThereBefore)
{
    linkQueues::putAnswer({1});
    linkQueues::putRequest({2});
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    EXPECT_EQ(tarno_link_remove_own(link.get()), 0);
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
    EXPECT_EQ(linkQueues::waitingRequests(), 1U);
}

TEST_F(LinkTest, HasNothingToRemoveIfSomebodyElseDidAlready)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    linkQueues::remove();
    EXPECT_EQ(tarno_link_remove_own(link.get()), 0);
}

TEST_F(LinkTest, SaysWhyItCannotRemoveAQueue)
{
    ASSERT_EQ(tarno_link_open(link.get()), 0);
    systemCalls::fail("msgctl", EPERM);
    EXPECT_EQ(tarno_link_remove_own(link.get()), -EPERM);
}

TEST_F(LinkTest, IsNotMadeWithoutMemory)
{
    tarno_link_free(nullptr);
    EXPECT_NE(link, nullptr);
}
