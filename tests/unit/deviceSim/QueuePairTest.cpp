#include "QueuePair.h"

#include "Parsing.h"
#include "support/LinkQueues.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

namespace
{
class QueuePairTest : public testing::Test
{
public:
    QueuePairTest(const QueuePairTest &) = delete;
    QueuePairTest &operator=(const QueuePairTest &) = delete;

protected:
    QueuePairTest() { linkQueues::remove(); }

    ~QueuePairTest() override { linkQueues::remove(); }

    std::string received() { return parsing::hexText(queues.request()); }

    QueuePair queues;
};
} // namespace

TEST_F(QueuePairTest, receivesRequestsInTheirOrder)
{
    ASSERT_TRUE(queues.open());
    linkQueues::putRequest({1, 2});
    linkQueues::putRequest({3});
    EXPECT_EQ(queues.receive(), QueuePair::Received::request);
    EXPECT_EQ(received(), "01 02");
    EXPECT_EQ(queues.receive(), QueuePair::Received::request);
    EXPECT_EQ(received(), "03");
}

TEST_F(QueuePairTest, receivesWhatWaitedBeforeItWasOpened)
{
    linkQueues::putRequest({7});
    ASSERT_TRUE(queues.open());
    EXPECT_EQ(queues.receive(), QueuePair::Received::request);
    EXPECT_EQ(received(), "07");
}

TEST_F(QueuePairTest, sendsAnswersOfAnySize)
{
    ASSERT_TRUE(queues.open());
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, QueuePair::largestMessage}) {
        const Frame answer(size, 0x5A);
        EXPECT_TRUE(queues.send(answer));
        EXPECT_EQ(linkQueues::takeAnswer(), answer);
    }
}

TEST_F(QueuePairTest, refusesAnAnswerThatNoQueueTakes)
{
    ASSERT_TRUE(queues.open());
    EXPECT_FALSE(queues.send(Frame(QueuePair::largestMessage + 1)));
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(QueuePairTest, losesAnAnswerThatAFullQueueDoesNotTake)
{
    ASSERT_TRUE(queues.open());
    const Frame answer(QueuePair::largestMessage);
    EXPECT_TRUE(queues.send(answer));
    EXPECT_TRUE(queues.send(answer));
    EXPECT_FALSE(queues.send(answer));
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(QueuePairTest, findsARemovedAnswerQueueAgain)
{
    ASSERT_TRUE(queues.open());
    linkQueues::remove();
    EXPECT_TRUE(queues.send(Frame{9}));
    EXPECT_EQ(linkQueues::takeAnswer(), Frame{9});
}

TEST_F(QueuePairTest, reportsThatTheRequestQueueIsGone)
{
    ASSERT_TRUE(queues.open());
    linkQueues::remove();
    EXPECT_EQ(queues.receive(), QueuePair::Received::gone);
    ASSERT_TRUE(queues.open());
    linkQueues::putRequest({3});
    EXPECT_EQ(queues.receive(), QueuePair::Received::request);
}

TEST_F(QueuePairTest, removesTheQueuesThatItMade)
{
    ASSERT_TRUE(queues.open());
    ASSERT_TRUE(queues.send(Frame{1}));
    queues.removeOwn();
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
}

TEST_F(QueuePairTest, leavesQueuesThatWereThereBefore)
{
    linkQueues::putAnswer({1});
    linkQueues::putRequest({2});
    ASSERT_TRUE(queues.open());
    queues.removeOwn();
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
    EXPECT_EQ(linkQueues::waitingRequests(), 1U);
}
