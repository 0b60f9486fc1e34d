#include "support/SystemCalls.h"

#include <cstdlib>

// Linked with the agent's main function: its n-th allocation fails; n comes from the environment.
namespace
{
unsigned allocationToFail()
{
    const char *const number = std::getenv("FAILING_ALLOCATION");
    return number == nullptr ? 0 : static_cast<unsigned>(std::strtoul(number, nullptr, 10));
}

const systemCalls::FailingCalls s_failing("new", 0, allocationToFail());
} // namespace
