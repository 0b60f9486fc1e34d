#include "OutstandingRequests.h"

#include "support/LinkQueues.h"

#include <gtest/gtest.h>

namespace
{
using deviceFrame::Command;
using deviceFrame::RequestName;
using Match = OutstandingRequests::Match;

constexpr std::uint8_t a = 0x0A;
constexpr std::uint8_t b = 0x0B;
constexpr std::uint8_t c = 0x0C;
constexpr std::uint8_t group = 0x77;

/// Objects have ids of one byte here.
class OutstandingRequestsTest : public testing::Test
{
protected:
    static Frame readOf(std::uint8_t id) { return {0x12, 4, 0, 0, id, 0, 1}; }

    static Frame writeOf(std::uint8_t id) { return {0x11, 4, id, 0}; }

    void sendsRead(std::uint8_t id) { sends({Command::readRequest, id}); }

    void sendsWrite(std::uint8_t id) { sends({Command::writeRequest, id}); }

    void sendsReads(const std::vector<std::uint8_t> &ids)
    {
        for (const std::uint8_t id : ids) {
            sendsRead(id);
        }
    }

    /// An exchange whose request did not reach the queue.
    void failsToSendRead(std::uint8_t id) { requests.begin({Command::readRequest, id}); }

    Match comes(const Frame &message) { return requests.settle(message); }

    OutstandingRequests requests;

private:
    void sends(const RequestName &name)
    {
        requests.begin(name);
        requests.sent();
    }
};

// In step

TEST_F(OutstandingRequestsTest, IsInStepAtFirst)
{
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, IsOutOfStepUntilTheAnswerComes)
{
    sendsRead(a);
    EXPECT_FALSE(requests.inStep());
    EXPECT_EQ(comes(readOf(a)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, TakesAnyMessageForTheOnlyOutstandingRequest)
{
    for (const Frame &message : {readOf(group), writeOf(a), Frame{0x13}, Frame{}}) {
        sendsRead(a);
        EXPECT_EQ(comes(message), Match::own);
        EXPECT_TRUE(requests.inStep());
    }
}

TEST_F(OutstandingRequestsTest, TakesAnyMessageForARequestThatWasNotSentWhileNothingIsOutstanding)
{
    failsToSendRead(a);
    EXPECT_EQ(comes(readOf(group)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

// Late answers

TEST_F(OutstandingRequestsTest, KnowsALateAnswer)
{
    sendsReads({a, b});
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_EQ(comes(readOf(b)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, KnowsLateAnswersInAnyNumber)
{
    sendsReads({a, b, a, b, c});
    for (const std::uint8_t id : {a, b, a, b}) {
        EXPECT_EQ(comes(readOf(id)), Match::late);
    }
    EXPECT_EQ(comes(readOf(c)), Match::own);
}

TEST_F(OutstandingRequestsTest, NeverForgetsALateAnswerByTheNumberOfOtherExchanges)
{
    sendsRead(a);
    for (int exchange = 0; exchange < 1000; ++exchange) {
        sendsRead(b);
    }
    EXPECT_EQ(comes(readOf(a)), Match::late);
}

TEST_F(OutstandingRequestsTest, DistinguishesReadsFromWritesOfAnObject)
{
    sendsWrite(a);
    sendsRead(a);
    EXPECT_EQ(comes(writeOf(a)), Match::late);
    EXPECT_EQ(comes(readOf(a)), Match::own);
}

TEST_F(OutstandingRequestsTest, DistinguishesWritesFromReadsOfAnObject)
{
    sendsRead(a);
    sendsWrite(a);
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_EQ(comes(writeOf(a)), Match::own);
}

TEST_F(OutstandingRequestsTest, KnowsALateErrorByItsId)
{
    sendsReads({a, b});
    EXPECT_EQ(comes({0x13, 3, 0, 0, a, 0}), Match::late);
    EXPECT_EQ(comes({0x13, 3, 0, 0, b, 0}), Match::own);
}

TEST_F(OutstandingRequestsTest, IsInStepOnceAYoungerRequestIsAnswered)
{
    sendsReads({a, b, a, c});
    EXPECT_EQ(comes(readOf(c)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, SettlesAllRequestsBeforeALateAnswersOwn)
{
    sendsReads({a, b, c});
    EXPECT_EQ(comes(readOf(b)), Match::late);
    EXPECT_EQ(comes(readOf(c)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, SettlesWithMessagesBetweenExchanges)
{
    sendsRead(a);
    requests.begin({Command::readRequest, b});
    comes(readOf(a));
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, DropsAWriteAnswerThatNobodyAskedFor)
{
    sendsReads({a, b});
    EXPECT_EQ(comes(writeOf(group)), Match::late);
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_EQ(comes(readOf(b)), Match::own);
}

TEST_F(OutstandingRequestsTest, SettlesNothingForARequestThatWasNotSent)
{
    sendsRead(a);
    failsToSendRead(b);
    EXPECT_EQ(comes(readOf(b)), Match::foreign);
    sendsRead(a);
    failsToSendRead(b);
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_TRUE(requests.inStep());
}

// The same object

TEST_F(OutstandingRequestsTest, KnowsThatAnAnswerMayBeAnOlderOneOfTheSameObject)
{
    sendsReads({a, a});
    EXPECT_EQ(comes(readOf(a)), Match::sameObject);
    EXPECT_EQ(comes(readOf(a)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, KeepsTheRequestWhoseObjectGotAnOlderAnswer)
{
    sendsReads({a, a});
    comes(readOf(a));
    requests.likelyAnswered();
    sendsRead(b);
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_EQ(comes(readOf(b)), Match::own);
}

TEST_F(OutstandingRequestsTest, ExpectsNoNewerAnswerOfTheSameObjectTwice)
{
    sendsReads({a, a});
    comes(readOf(a));
    requests.likelyAnswered();
    sendsRead(a);
    EXPECT_EQ(comes(readOf(a)), Match::own);
    EXPECT_FALSE(requests.inStep());
    sendsRead(a);
    EXPECT_EQ(comes(readOf(a)), Match::own);
}

TEST_F(OutstandingRequestsTest, IsInStepAgainWithAnotherObjectsAnswer)
{
    sendsReads({a, a});
    comes(readOf(a));
    requests.likelyAnswered();
    sendsRead(b);
    EXPECT_EQ(comes(readOf(b)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, TakesTheAnswerToEitherOfARequestThatWasSentAgain)
{
    sendsRead(b);
    sendsRead(a);
    requests.sent();
    EXPECT_EQ(comes(readOf(a)), Match::own);
    EXPECT_FALSE(requests.inStep());
    sendsRead(c);
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_EQ(comes(readOf(c)), Match::own);
}

// Foreign ids

TEST_F(OutstandingRequestsTest, CountsAnswersUnderForeignIds)
{
    sendsReads({a, b});
    EXPECT_EQ(comes(readOf(group)), Match::foreign);
    EXPECT_EQ(comes(readOf(group)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, CountsAnswersUnderForeignIdsByDirection)
{
    sendsWrite(a);
    sendsRead(b);
    EXPECT_EQ(comes(readOf(group)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, TakesAForeignIdForAnOlderAnswerOfTheSameObject)
{
    sendsReads({a, a});
    EXPECT_EQ(comes(readOf(group)), Match::sameObject);
}

TEST_F(OutstandingRequestsTest, TakesAForeignIdWhereTheOlderRequestLikelyHasItsAnswer)
{
    sendsReads({a, a});
    comes(readOf(a));
    requests.likelyAnswered();
    sendsRead(b);
    EXPECT_EQ(comes(readOf(group)), Match::own);
    sendsRead(c);
    EXPECT_EQ(comes(readOf(b)), Match::late);
}

TEST_F(OutstandingRequestsTest, TakesAForeignIdOnceAllRequestsLikelyHaveTheirAnswers)
{
    sendsReads({a, b});
    requests.likelyAllAnswered();
    sendsRead(c);
    EXPECT_EQ(comes(readOf(group)), Match::own);
}

TEST_F(OutstandingRequestsTest, KnowsLateAnswersAlsoWhereAllRequestsLikelyHaveTheirs)
{
    sendsReads({a, b});
    requests.likelyAllAnswered();
    sendsRead(c);
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_EQ(comes(readOf(b)), Match::late);
    EXPECT_EQ(comes(readOf(c)), Match::own);
}

// An earlier run

TEST_F(OutstandingRequestsTest, DropsTheAnswersToRequestsOfAnEarlierRun)
{
    requests.foundUnnamed(2);
    EXPECT_FALSE(requests.inStep());
    sendsRead(a);
    EXPECT_EQ(comes(readOf(b)), Match::late);
    EXPECT_EQ(comes(readOf(group)), Match::late);
    EXPECT_EQ(comes(readOf(a)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, TakesTheObjectsOwnAnswerWhateverAnEarlierRunLeft)
{
    requests.foundUnnamed(2);
    sendsRead(a);
    EXPECT_EQ(comes(readOf(a)), Match::own);
}

TEST_F(OutstandingRequestsTest, ExpectsTheAnswerAgainWhereAnEarlierRunMayHaveAskedForTheSame)
{
    requests.foundUnnamed(1);
    sendsRead(a);
    comes(readOf(a));
    sendsRead(b);
    EXPECT_EQ(comes(readOf(a)), Match::late);
    EXPECT_EQ(comes(readOf(b)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, IsInStepWithTheSecondAnswerAfterACleanStart)
{
    requests.foundUnnamed(1);
    sendsRead(a);
    comes(readOf(a));
    sendsRead(b);
    comes(readOf(b));
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, TakesAForeignIdRightAfterACleanStart)
{
    requests.foundUnnamed(1);
    sendsRead(a);
    comes(readOf(a));
    sendsRead(b);
    EXPECT_EQ(comes(readOf(group)), Match::own);
}

TEST_F(OutstandingRequestsTest, TakesAForeignIdAfterAsManyAsAnEarlierRunLeft)
{
    requests.foundUnnamed(2);
    sendsRead(a);
    EXPECT_EQ(comes(readOf(group)), Match::late);
    EXPECT_EQ(comes(readOf(group)), Match::late);
    EXPECT_EQ(comes(readOf(group)), Match::own);
}

// The bound

TEST_F(OutstandingRequestsTest, StillCountsRequestsBeyondItsCapacity)
{
    sendsRead(a);
    for (std::size_t request = 0; request < OutstandingRequests::capacity; ++request) {
        sendsRead(b);
    }
    EXPECT_EQ(comes(readOf(a)), Match::late);
    for (std::size_t request = 1; request < OutstandingRequests::capacity; ++request) {
        EXPECT_EQ(comes(readOf(b)), Match::sameObject);
    }
    EXPECT_EQ(comes(readOf(b)), Match::own);
    EXPECT_TRUE(requests.inStep());
}

TEST_F(OutstandingRequestsTest, DropsTheAnswersToRequestsThatLostTheirNames)
{
    for (std::size_t request = 0; request < OutstandingRequests::capacity + 5; ++request) {
        sendsRead(a);
    }
    sendsRead(b);
    for (std::size_t request = 0; request < OutstandingRequests::capacity + 5; ++request) {
        EXPECT_EQ(comes(readOf(a)), Match::late);
    }
    EXPECT_EQ(comes(readOf(b)), Match::own);
    EXPECT_TRUE(requests.inStep());
}
} // namespace
