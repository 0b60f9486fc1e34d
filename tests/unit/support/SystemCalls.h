#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <pthread.h>

/// Stands in for system and library calls of the agent's own code, by linker wrapping, and for the
/// memory that C++ code gets. Without instructions each call is the real one; `sleep` and `system`
/// are only ever recorded. Calls go by their names, `operator new` by "new".
namespace systemCalls
{
/// All calls are real again and nothing is recorded. Every fixture that uses them starts with it.
void reset();

/// The call of this name fails with `error`, its errno or its own status, on whatever thread, from
/// now on, after `successes` more real ones.
void fail(const std::string &call, int error, int successes = 0);
/// The clock stands still at this time: seconds since 1970, also beyond a 32-bit `time_t`.
void stopClockAt(std::int64_t now);
/// What `opendir` finds: these paths only. Without this call it looks at the real directories.
void onlyDirectoriesAre(const std::vector<std::string> &paths);
/// What happens during a `sleep`, which itself takes no time.
void duringSleep(const std::function<void()> &action);

/// What happens during a `system`, which runs nothing.
void duringSystem(const std::function<void(const std::string &command)> &action);

/// The commands given to `system`, in order.
const std::vector<std::string> &commands();
/// The seconds of each `sleep`, in order.
const std::vector<unsigned> &sleeps();
/// How many variables each `register_mib` was given, in order.
const std::vector<std::size_t> &registeredVariables();

/// While it lives, the calls of one name that the thread of its maker makes are counted, and the
/// n-th of them, from 1 on, fails with `error`; with n = 0 none does, without n every one. Nothing
/// is looked up or allocated for it. One at a time.
class FailingCalls
{
public:
    FailingCalls(const char *call, int error, std::optional<unsigned> n = std::nullopt);
    ~FailingCalls();
    FailingCalls(const FailingCalls &) = delete;
    FailingCalls &operator=(const FailingCalls &) = delete;

    [[nodiscard]] unsigned seen() const noexcept { return _seen; }

    /// The error of this call, if it is to fail.
    std::optional<int> next(const char *call) noexcept;

private:
    const char *_call;
    int _error;
    std::optional<unsigned> _n;
    unsigned _seen = 0;
};

/// While it lives, what the thread of its maker does with mutexes is written down. One at a time.
class MutexCalls
{
public:
    MutexCalls();
    ~MutexCalls();
    MutexCalls(const MutexCalls &) = delete;
    MutexCalls &operator=(const MutexCalls &) = delete;

    /// "lock", "unlock" and "destroy" of any mutex, in order.
    [[nodiscard]] const std::vector<std::string> &names() const noexcept { return _names; }

    /// The one mutex of all that; null when there were several, or none.
    [[nodiscard]] pthread_mutex_t *mutex() const noexcept;

    void add(const char *name, pthread_mutex_t *mutex);

private:
    std::vector<std::string> _names;
    std::vector<pthread_mutex_t *> _mutexes;
};

/// How many allocations of `new` this thread made and did not give back.
std::ptrdiff_t liveAllocations();
/// How many timers the agent's code made and did not delete.
int liveTimers();
} // namespace systemCalls
