#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <pthread.h>

/// Replaces system and library calls of the agent's own code, by linker wrapping, and C++
/// allocation. Unless instructed otherwise each call is the real one; `sleep` and `system` are only
/// ever recorded. Calls are identified by name, `operator new` by "new".
namespace systemCalls
{
/// Makes all calls real again and clears the records. Every fixture that uses them starts with it.
void reset();

/// From now on the call of this name fails with `error`, its errno or its own status, on any
/// thread, after `successes` more real ones.
void fail(const std::string &call, int error, int successes = 0);
/// Stops the clock at this time: seconds since 1970, possibly beyond a 32-bit `time_t`.
void stopClockAt(std::int64_t now);
/// `opendir` finds these paths only. Without this call it looks at the real directories.
void onlyDirectoriesAre(const std::vector<std::string> &paths);
/// Runs during every `sleep`, which itself takes no time.
void duringSleep(const std::function<void()> &action);

/// Runs during every `system`, which executes nothing.
void duringSystem(const std::function<void(const std::string &command)> &action);

/// The commands given to `system`, in order.
const std::vector<std::string> &commands();
/// The seconds of each `sleep`, in order.
const std::vector<unsigned> &sleeps();
/// How many variables each `register_mib` was given, in order.
const std::vector<std::size_t> &registeredVariables();

/// While it exists, counts the calls of one name on the creating thread and makes the n-th of them,
/// from 1 on, fail with `error`; with n = 0 none fails, without n every one. Neither looks up nor
/// allocates anything in the call. One at a time.
class FailingCalls
{
public:
    FailingCalls(const char *call, int error, std::optional<unsigned> n = std::nullopt);
    ~FailingCalls();
    FailingCalls(const FailingCalls &) = delete;
    FailingCalls &operator=(const FailingCalls &) = delete;

    [[nodiscard]] unsigned seen() const noexcept { return _seen; }

    /// The error of this call, if it has to fail.
    std::optional<int> next(const char *call) noexcept;

private:
    const char *_call;
    int _error;
    std::optional<unsigned> _n;
    unsigned _seen = 0;
};

/// While it exists, records the mutex calls of the creating thread. One at a time.
class MutexCalls
{
public:
    MutexCalls();
    ~MutexCalls();
    MutexCalls(const MutexCalls &) = delete;
    MutexCalls &operator=(const MutexCalls &) = delete;

    /// "lock", "unlock" and "destroy" of any mutex, in order.
    [[nodiscard]] const std::vector<std::string> &names() const noexcept { return _names; }

    /// The mutex of all those calls; null if there were several, or none.
    [[nodiscard]] pthread_mutex_t *mutex() const noexcept;

    void add(const char *name, pthread_mutex_t *mutex);

private:
    std::vector<std::string> _names;
    std::vector<pthread_mutex_t *> _mutexes;
};

/// How many allocations of `new` this thread has made and not freed.
std::ptrdiff_t liveAllocations();
/// How many timers the agent's code has created and not deleted.
int liveTimers();
} // namespace systemCalls
