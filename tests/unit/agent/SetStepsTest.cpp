#include "SetSteps.h"

#include <gtest/gtest.h>

namespace
{
constexpr int test = 8;
constexpr int commit = 9;
constexpr long transaction = 71;

class SetStepsTest : public testing::Test
{
protected:
    bool isRepeated(long number, int command)
    {
        return _steps.isRepeated(&_session, number, command);
    }

    int _session = 0;
    int _otherSession = 0;
    SetSteps _steps;
};

TEST_F(SetStepsTest, TheSameStepAgainIsRepeated)
{
    EXPECT_FALSE(isRepeated(transaction, test));
    EXPECT_TRUE(isRepeated(transaction, test));
    EXPECT_TRUE(isRepeated(transaction, test));
}

TEST_F(SetStepsTest, TheNextStepOfATransactionIsNot)
{
    isRepeated(transaction, test);
    EXPECT_FALSE(isRepeated(transaction, commit));
    EXPECT_TRUE(isRepeated(transaction, test));
}

TEST_F(SetStepsTest, AnotherTransactionIsNot)
{
    isRepeated(transaction, test);
    EXPECT_FALSE(isRepeated(transaction + 1, test));
}

TEST_F(SetStepsTest, AnotherSessionIsNot)
{
    isRepeated(transaction, test);
    EXPECT_FALSE(_steps.isRepeated(&_otherSession, transaction, test));
}

TEST_F(SetStepsTest, KnowsTheTransactionsOfStepsThatCame)
{
    EXPECT_FALSE(_steps.knows(transaction));
    isRepeated(transaction, test);
    EXPECT_TRUE(_steps.knows(transaction));
    EXPECT_FALSE(_steps.knows(transaction + 1));
}

TEST_F(SetStepsTest, KnowsNoTransactionBeforeTheFirstStep)
{
    EXPECT_FALSE(_steps.knows(0));
}

TEST_F(SetStepsTest, WhatIsForgottenIsNeitherKnownNorRepeated)
{
    isRepeated(transaction, test);
    _steps.forgetAll();
    EXPECT_FALSE(_steps.knows(transaction));
    EXPECT_FALSE(isRepeated(transaction, test));
}

TEST_F(SetStepsTest, TheLatest256StepsAreRemembered)
{
    isRepeated(transaction, test);
    for (long number = 1000; number < 1255; ++number) {
        isRepeated(number, test);
    }
    EXPECT_TRUE(isRepeated(transaction, test));
    isRepeated(1255, test);
    EXPECT_FALSE(_steps.knows(transaction));
    EXPECT_TRUE(_steps.knows(1000));
}
} // namespace
