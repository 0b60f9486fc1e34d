#include "Interposition.h"

#include "agent/interposed/CallbackLibrary.h"

#include <gtest/gtest.h>

namespace
{
constexpr int calledInProgram = 1;
} // namespace

extern "C" {
int plainCallback()
{
    return calledInProgram;
}

int functionsBoundCallback()
{
    return calledInProgram;
}

int allBoundCallback()
{
    return calledInProgram;
}
}

namespace
{
Interposition interpositionOf(const char *name, Callback ours)
{
    return {name, reinterpret_cast<const void *>(ours)};
}

TEST(InterpositionTest, IsInEffectOnALibraryThatTakesTheProgramsFunction)
{
    EXPECT_EQ(plainHandedOnCallback()(), calledInProgram);
    EXPECT_TRUE(interpositionOf("plainCallback", plainCallback).isInEffect());
}

TEST(InterpositionTest, IsNotInEffectOnALibraryThatKeepsItsFunctions)
{
    EXPECT_EQ(functionsBoundHandedOnCallback()(), calledInLibrary);
    EXPECT_FALSE(interpositionOf("functionsBoundCallback", functionsBoundCallback).isInEffect());
}

TEST(InterpositionTest, IsNotInEffectOnALibraryThatKeepsAllItsSymbols)
{
    EXPECT_EQ(allBoundHandedOnCallback()(), calledInLibrary);
    EXPECT_FALSE(interpositionOf("allBoundCallback", allBoundCallback).isInEffect());
}

TEST(InterpositionTest, FindsTheFunctionThatTheLibraryWouldCallByItself)
{
    for (const Interposition &interposition :
         {interpositionOf("plainCallback", plainCallback),
          interpositionOf("functionsBoundCallback", functionsBoundCallback),
          interpositionOf("allBoundCallback", allBoundCallback)}) {
        ASSERT_NE(interposition.original(), nullptr);
        EXPECT_EQ(reinterpret_cast<Callback>(interposition.original())(), calledInLibrary);
    }
}

TEST(InterpositionTest, FindsNothingInALibraryThatIsLinkedIntoTheProgram)
{
    EXPECT_EQ(linkedInHandedOnCallback()(), calledInLibrary);
    const Interposition linkedIn = interpositionOf("linkedInCallback", linkedInCallback);
    EXPECT_EQ(linkedIn.original(), nullptr);
    EXPECT_FALSE(linkedIn.isInEffect());
}
} // namespace
