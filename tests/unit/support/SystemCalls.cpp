#include "support/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>

#include <csignal>
#include <dirent.h>
#include <sqlite3.h>
#include <sys/types.h>

namespace
{
struct Failure {
    int error = 0;
    int successesLeft = 0;
};

struct State {
    std::map<std::string, Failure> failures;
    std::optional<std::time_t> now;
    std::optional<std::vector<std::string>> directories;
    std::function<void()> duringSleep;
    std::vector<std::string> commands;
    std::vector<unsigned> sleeps;
};

State &state()
{
    static State s_state;
    return s_state;
}

bool s_armed = false;

/// Allocation itself is wrapped, so nothing may be allocated while looking.
bool mustFail(const char *call)
{
    if (!s_armed) {
        return false;
    }
    for (auto &[name, failure] : state().failures) {
        if (name == call && failure.successesLeft-- <= 0) {
            errno = failure.error;
            return true;
        }
    }
    return false;
}
} // namespace

void systemCalls::reset()
{
    s_armed = false;
    state() = State{};
}

void systemCalls::fail(const std::string &call, int error, int successes)
{
    state().failures[call] = {.error = error, .successesLeft = successes};
    s_armed = true;
}

void systemCalls::stopClockAt(std::time_t now)
{
    state().now = now;
}

void systemCalls::onlyDirectoriesAre(const std::vector<std::string> &paths)
{
    state().directories = paths;
}

void systemCalls::duringSleep(const std::function<void()> &action)
{
    state().duringSleep = action;
}

const std::vector<std::string> &systemCalls::commands()
{
    return state().commands;
}

const std::vector<unsigned> &systemCalls::sleeps()
{
    return state().sleeps;
}

// The linker's names for a wrapped call and for the real one are fixed.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {
void *__real_calloc(size_t count, size_t size);
DIR *__real_opendir(const char *path);
int __real_msgget(key_t key, int flags);
int __real_sqlite3_close(sqlite3 *connection);
time_t __real_time(time_t *out);
int __real_timer_create(clockid_t clock, struct sigevent *event, timer_t *timer);
int __real_timer_settime(timer_t timer, int flags, const struct itimerspec *setting,
                         struct itimerspec *old);

void *__wrap_calloc(size_t count, size_t size)
{
    return mustFail("calloc") ? nullptr : __real_calloc(count, size);
}

DIR *__wrap_opendir(const char *path)
{
    const auto &directories = state().directories;
    if (!directories) {
        return __real_opendir(path);
    }
    const bool exists =
        std::find(directories->begin(), directories->end(), path) != directories->end();
    return exists ? __real_opendir("/") : nullptr;
}

int __wrap_msgget(key_t key, int flags)
{
    return mustFail("msgget") ? -1 : __real_msgget(key, flags);
}

unsigned __wrap_sleep(unsigned seconds)
{
    state().sleeps.push_back(seconds);
    if (state().duringSleep) {
        state().duringSleep();
    }
    return 0;
}

int __wrap_sqlite3_close(sqlite3 *connection)
{
    return mustFail("sqlite3_close") ? SQLITE_BUSY : __real_sqlite3_close(connection);
}

int __wrap_system(const char *command)
{
    state().commands.emplace_back(command);
    return mustFail("system") ? -1 : 0;
}

time_t __wrap_time(time_t *out)
{
    return state().now ? *state().now : __real_time(out);
}

int __wrap_timer_create(clockid_t clock, struct sigevent *event, timer_t *timer)
{
    return mustFail("timer_create") ? -1 : __real_timer_create(clock, event, timer);
}

int __wrap_timer_settime(timer_t timer, int flags, const struct itimerspec *setting,
                         struct itimerspec *old)
{
    return mustFail("timer_settime") ? -1 : __real_timer_settime(timer, flags, setting, old);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
