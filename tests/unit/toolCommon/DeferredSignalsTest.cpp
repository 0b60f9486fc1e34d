#include "DeferredSignals.h"

#include <cstdio>

#include <gtest/gtest.h>

namespace
{
void interruptWithin()
{
    const DeferredSignals untilTheEnd;
    std::raise(SIGINT);
    std::fputs("still here", stderr);
}

void interruptAfter()
{
    {
        const DeferredSignals untilTheEnd;
    }
    std::raise(SIGINT);
    std::fputs("still here", stderr);
}
} // namespace

TEST(DeferredSignalsDeathTest, EndTheProgramOnlyAfterwards)
{
    EXPECT_EXIT(interruptWithin(), testing::KilledBySignal(SIGINT), "still here");
}

TEST(DeferredSignalsDeathTest, EndTheProgramAtOnceAgain)
{
    EXPECT_EXIT(interruptAfter(), testing::KilledBySignal(SIGINT), "^$");
}
