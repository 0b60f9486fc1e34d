#include "OwedAnswers.h"

#include <gtest/gtest.h>

namespace
{
class OwedAnswersTest : public testing::Test
{
protected:
    void beginExchange(std::uint32_t drained = 0)
    {
        owed.exchangeBegins();
        owed.messagesTaken(drained);
        owed.requestSent();
    }

    void expireAnExchange()
    {
        beginExchange();
        owed.waitExpired(true, false);
    }

    void answerAnExchange()
    {
        beginExchange();
        owed.messagesTaken(1);
    }

    OwedAnswers owed;
};

TEST_F(OwedAnswersTest, OwesNothingAtFirst)
{
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, CountsNothingWhileEveryWaitIsAnswered)
{
    answerAnExchange();
    beginExchange();
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, OwesTheAnswerOfAnExpiredWait)
{
    expireAnExchange();
    beginExchange();
    EXPECT_TRUE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, OwesOneAnswerMoreForEachExpiredWait)
{
    expireAnExchange();
    expireAnExchange();
    beginExchange();
    owed.messagesTaken(1);
    EXPECT_TRUE(owed.olderAnswersOwed());
    owed.messagesTaken(1);
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, OwesTheAnswersOfRequestsThatAnEarlierRunLeft)
{
    owed.requestsFound(2);
    beginExchange();
    EXPECT_TRUE(owed.olderAnswersOwed());
    owed.messagesTaken(2);
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, OwesTheAnswerToAnEarlierRunsRequestBeforeTheFirstExchange)
{
    owed.requestsFound(1);
    EXPECT_TRUE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, CountsDrainedMessages)
{
    expireAnExchange();
    beginExchange(1);
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, IsInStepAgainOnceTheCountIsZero)
{
    expireAnExchange();
    beginExchange();
    owed.messagesTaken(2);
    answerAnExchange();
    beginExchange();
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, StaysOutOfStepWhileEachExchangeTakesOneMessage)
{
    expireAnExchange();
    answerAnExchange();
    answerAnExchange();
    beginExchange();
    EXPECT_TRUE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, NeverCountsBelowZero)
{
    owed.messagesTaken(5);
    expireAnExchange();
    beginExchange();
    EXPECT_TRUE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, ForgivesTheRestWhenAWaitExpiresAfterDiscards)
{
    owed.requestsFound(3);
    beginExchange();
    owed.messagesTaken(1);
    owed.waitExpired(true, true);
    beginExchange();
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, OwesNothingForARequestThatWasNeverSent)
{
    owed.exchangeBegins();
    owed.waitExpired(false, false);
    beginExchange();
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, KeepsWhatIsOwedWhenARequestWasNeverSent)
{
    expireAnExchange();
    owed.exchangeBegins();
    EXPECT_TRUE(owed.olderAnswersOwed());
    owed.waitExpired(false, false);
    owed.exchangeBegins();
    owed.messagesTaken(1);
    EXPECT_FALSE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, ExpectsNoAnswerOfItsOwnInAnExchangeWhoseRequestWasNeverSent)
{
    expireAnExchange();
    answerAnExchange();
    owed.exchangeBegins();
    EXPECT_TRUE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, OwesTheAnswerThatCouldNotBeTaken)
{
    beginExchange();
    owed.answerMissed(true);
    beginExchange();
    EXPECT_TRUE(owed.olderAnswersOwed());
}

TEST_F(OwedAnswersTest, OwesNothingForARequestThatWasNotSentAndNotAnswered)
{
    beginExchange();
    owed.answerMissed(false);
    beginExchange();
    EXPECT_FALSE(owed.olderAnswersOwed());
}
} // namespace
