#include "support/SystemCalls.h"

#include <cstdio>
#include <cstdlib>

// Linked with the agent's main function: its n-th allocation fails, where n stands in the
// environment. A process that comes as far as serving requests says so and ends.
namespace
{
unsigned allocationToFail()
{
    const char *const number = std::getenv("FAILING_ALLOCATION");
    return number == nullptr ? 0 : static_cast<unsigned>(std::strtoul(number, nullptr, 10));
}

const systemCalls::FailingCalls s_failing("new", 0, allocationToFail());
} // namespace

// The linker's name for a wrapped call is fixed.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" int __wrap_agent_check_and_process(int /*block*/)
{
    std::fputs("serving\n", stderr);
    std::exit(EXIT_SUCCESS);
}
