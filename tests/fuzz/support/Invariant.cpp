#include "support/Invariant.h"

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

namespace
{
/// Discards the agent's output, which nobody needs here and which would cost more than the agent
/// itself. A failed assertion in support code shared with the unit tests counts as an error.
[[gnu::constructor]] void prepare()
{
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::abort();
    }
    testing::FLAGS_gtest_break_on_failure = true;
}
} // namespace

void mustHold(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}
