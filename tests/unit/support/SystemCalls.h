#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <vector>

/// Stands in for system and library calls of the agent's own code, by linker wrapping. Without
/// instructions each call is the real one; `sleep` and `system` are only ever recorded.
namespace systemCalls
{
/// All calls are real again and nothing is recorded. Every fixture that uses them starts with it.
void reset();

/// The call of this name fails with errno `error` from now on, after `successes` more real ones.
void fail(const std::string &call, int error, int successes = 0);
/// The clock stands still at this time.
void stopClockAt(std::time_t now);
/// What `opendir` finds: these paths only. Without this call it looks at the real directories.
void onlyDirectoriesAre(const std::vector<std::string> &paths);
/// What happens during a `sleep`, which itself takes no time.
void duringSleep(const std::function<void()> &action);

/// The commands given to `system`, in order.
const std::vector<std::string> &commands();
/// The seconds of each `sleep`, in order.
const std::vector<unsigned> &sleeps();
} // namespace systemCalls
