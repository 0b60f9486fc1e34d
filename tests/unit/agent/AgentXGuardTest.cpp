#include "agent/AgentFixture.h"

#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace
{
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::Not;

/// The guard in processes of their own, each with a different agent library.
class AgentXGuardDeathTest : public AgentFixture
{
protected:
    AgentXGuardDeathTest() { _mapping.addScalar("101", "2", "3", 1, 2, 1); }

    static constexpr const char *warning =
        "tarnoSnmp: slow sets are not guarded: this build of the SNMP library bypasses the agent's "
        "guard, so a set that takes longer than 1 s can crash the agent\n";
};

TEST_F(AgentXGuardDeathTest, AStartUpWithTheLibraryAsItIsWarnsOfNothing)
{
    EXPECT_EXIT(becomes(TEST_START_UP_GUARDED), ExitedWithCode(EXIT_SUCCESS),
                AllOf(HasSubstr("serving\n"), Not(HasSubstr("guarded"))));
}

TEST_F(AgentXGuardDeathTest, AStartUpWithALibraryThatKeepsItsFunctionsWarnsAndGoesOn)
{
    EXPECT_EXIT(becomes(TEST_START_UP_UNGUARDED), ExitedWithCode(EXIT_SUCCESS),
                AllOf(HasSubstr(warning), HasSubstr("serving\n")));
}

TEST_F(AgentXGuardDeathTest, WithoutASharedLibraryNothingIsPassedOn)
{
    EXPECT_EXIT(execl(TEST_GUARD_ALONE, "guardAlone", nullptr), ExitedWithCode(EXIT_SUCCESS),
                "^in place: 0, handled: 1 1\n$");
}
} // namespace
