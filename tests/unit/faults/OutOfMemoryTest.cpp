#include "agent/AgentFixture.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>

namespace
{
/// The agent as a process of its own, in which one allocation fails during start-up.
class OutOfMemoryDeathTest : public AgentFixture
{
protected:
    OutOfMemoryDeathTest()
    {
        _mapping.addScalar("101", "2", "3", 1, 2, 1);
        _mapping.addCell("502", ".3.1", 2, 1, ASN_INTEGER, 3);
        _pDevice->holdsInteger(0x0A41, 0, 1);
    }

    /// Replaces this process.
    [[noreturn]] void startsWithout(unsigned allocation) const
    {
        setenv("FAILING_ALLOCATION", std::to_string(allocation).c_str(), 1);
        becomes(TEST_START_UP_WITHOUT_MEMORY);
    }
};

TEST_F(OutOfMemoryDeathTest, AStartUpThatRunsOutOfMemoryEndsTheProcessWithALine)
{
    constexpr unsigned unlimited = 4096;
    int status = EXIT_FAILURE;
    const auto endsByItself = [&status](int waitStatus) {
        status = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
        return status == EXIT_SUCCESS || status == EXIT_FAILURE;
    };
    unsigned allocation = 1;
    for (; status == EXIT_FAILURE && allocation < unlimited; allocation += allocation) {
        EXPECT_EXIT(startsWithout(allocation), endsByItself,
                    "^tarnoSnmp: out of memory\n$|serving\n$");
    }
    EXPECT_EQ(status, EXIT_SUCCESS) << "start-up is never complete";
    EXPECT_GT(allocation, 8U) << "start-up never ran out of memory";
}
} // namespace
