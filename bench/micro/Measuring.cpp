#include "Measuring.h"

namespace
{
bool s_anyFailed = false;
} // namespace

void measuring::fail(benchmark::State &state)
{
    s_anyFailed = true;
    state.SkipWithError("what was measured did not work");
}

bool measuring::anyFailed() noexcept
{
    return s_anyFailed;
}
