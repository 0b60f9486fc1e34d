#include "support/SystemCalls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <new>

#include <csignal>
#include <dirent.h>
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <sqlite3.h>
#include <sys/msg.h>
#include <sys/types.h>

// The linker's name for the real call is fixed.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" void *__real_malloc(std::size_t size);

namespace
{
struct Failure {
    int error = 0;
    int successesLeft = 0;
};

struct State {
    std::map<std::string, Failure> failures;
    std::optional<std::int64_t> now;
    std::optional<std::vector<std::string>> directories;
    std::function<void()> duringSleep;
    std::function<void(const std::string &)> duringSystem;
    std::vector<std::string> commands;
    std::vector<unsigned> sleeps;
    std::vector<std::size_t> registeredVariables;
};

State &state()
{
    static State s_state;
    return s_state;
}

bool s_armed = false;

thread_local systemCalls::FailingCalls *s_pFailingCalls = nullptr;
thread_local systemCalls::MutexCalls *s_pMutexCalls = nullptr;
thread_local std::ptrdiff_t s_liveAllocations = 0;
std::atomic<int> s_liveTimers = 0;

/// The error of a call that has to fail. Allocation is one of the calls, so this must not allocate.
std::optional<int> failureOf(const char *call)
{
    if (s_pFailingCalls != nullptr) {
        if (const auto error = s_pFailingCalls->next(call)) {
            return error;
        }
    }
    if (!s_armed) {
        return std::nullopt;
    }
    for (auto &[name, failure] : state().failures) {
        if (name == call && failure.successesLeft-- <= 0) {
            return failure.error;
        }
    }
    return std::nullopt;
}

bool mustFail(const char *call)
{
    const auto error = failureOf(call);
    if (error) {
        errno = *error;
    }
    return error.has_value();
}

void noteMutexCall(const char *name, pthread_mutex_t *mutex)
{
    if (s_pMutexCalls != nullptr) {
        s_pMutexCalls->add(name, mutex);
    }
}

void *allocate(std::size_t size) noexcept
{
    void *const memory = mustFail("new") ? nullptr : __real_malloc(size);
    if (memory != nullptr) {
        ++s_liveAllocations;
    }
    return memory;
}

void giveBack(void *memory) noexcept
{
    if (memory != nullptr) {
        --s_liveAllocations;
    }
    std::free(memory);
}
} // namespace

systemCalls::FailingCalls::FailingCalls(const char *call, int error, std::optional<unsigned> n)
    : _call(call), _error(error), _n(n)
{
    s_pFailingCalls = this;
}

systemCalls::FailingCalls::~FailingCalls()
{
    s_pFailingCalls = nullptr;
}

std::optional<int> systemCalls::FailingCalls::next(const char *call) noexcept
{
    if (std::strcmp(call, _call) != 0) {
        return std::nullopt;
    }
    ++_seen;
    return !_n || *_n == _seen ? std::optional(_error) : std::nullopt;
}

systemCalls::MutexCalls::MutexCalls()
{
    s_pMutexCalls = this;
}

systemCalls::MutexCalls::~MutexCalls()
{
    s_pMutexCalls = nullptr;
}

pthread_mutex_t *systemCalls::MutexCalls::mutex() const noexcept
{
    const bool isOne = !_mutexes.empty() && std::all_of(_mutexes.begin(), _mutexes.end(),
                                                        [this](const pthread_mutex_t *mutex) {
                                                            return mutex == _mutexes.front();
                                                        });
    return isOne ? _mutexes.front() : nullptr;
}

void systemCalls::MutexCalls::add(const char *name, pthread_mutex_t *mutex)
{
    _names.emplace_back(name);
    _mutexes.push_back(mutex);
}

std::ptrdiff_t systemCalls::liveAllocations()
{
    return s_liveAllocations;
}

int systemCalls::liveTimers()
{
    return s_liveTimers;
}

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

void systemCalls::stopClockAt(std::int64_t now)
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

void systemCalls::duringSystem(const std::function<void(const std::string &)> &action)
{
    state().duringSystem = action;
}

const std::vector<std::string> &systemCalls::commands()
{
    return state().commands;
}

const std::vector<unsigned> &systemCalls::sleeps()
{
    return state().sleeps;
}

const std::vector<std::size_t> &systemCalls::registeredVariables()
{
    return state().registeredVariables;
}

void *operator new(std::size_t size)
{
    void *const memory = allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void *operator new(std::size_t size, const std::nothrow_t & /*tag*/) noexcept
{
    return allocate(size);
}

void operator delete(void *memory) noexcept
{
    giveBack(memory);
}

void operator delete(void *memory, std::size_t /*size*/) noexcept
{
    giveBack(memory);
}

void operator delete(void *memory, const std::nothrow_t & /*tag*/) noexcept
{
    giveBack(memory);
}

// The linker's names for wrapped and real calls are fixed.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
void *__real_calloc(size_t count, size_t size);
int __real_msgctl(int queue, int command, struct msqid_ds *state);
int __real_msgget(key_t key, int flags);
ssize_t __real_msgrcv(int queue, void *message, size_t size, long type, int flags);
int __real_msgsnd(int queue, const void *message, size_t size, int flags);
DIR *__real_opendir(const char *path);
int __real_pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                          void *(*routine)(void *), void *argument);
int __real_pthread_mutex_destroy(pthread_mutex_t *mutex);
int __real_pthread_mutex_lock(pthread_mutex_t *mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t *mutex);
int __real_register_mib(const char *name, const struct variable *variables, size_t size,
                        size_t count, const oid *base, size_t baseLength);
int __real_sigaction(int signal, const struct sigaction *action, struct sigaction *old);
int __real_sqlite3_close(sqlite3 *connection);
int __real_sqlite3_exec(sqlite3 *connection, const char *statement,
                        int (*callback)(void *, int, char **, char **), void *argument,
                        char **error);
int __real_sqlite3_get_table(sqlite3 *connection, const char *statement, char ***result, int *rows,
                             int *columns, char **error);
int __real_sqlite3_open(const char *path, sqlite3 **connection);
time_t __real_time(time_t *out);
int __real_timer_create(clockid_t clock, struct sigevent *event, timer_t *timer);
int __real_timer_delete(timer_t timer);
int __real_timer_settime(timer_t timer, int flags, const struct itimerspec *setting,
                         struct itimerspec *old);

void *__wrap_calloc(size_t count, size_t size)
{
    return mustFail("calloc") ? nullptr : __real_calloc(count, size);
}

void *__wrap_malloc(size_t size)
{
    return mustFail("malloc") ? nullptr : __real_malloc(size);
}

int __wrap_msgctl(int queue, int command, struct msqid_ds *state)
{
    return mustFail("msgctl") ? -1 : __real_msgctl(queue, command, state);
}

int __wrap_msgget(key_t key, int flags)
{
    return mustFail("msgget") ? -1 : __real_msgget(key, flags);
}

ssize_t __wrap_msgrcv(int queue, void *message, size_t size, long type, int flags)
{
    return mustFail("msgrcv") ? -1 : __real_msgrcv(queue, message, size, type, flags);
}

int __wrap_msgsnd(int queue, const void *message, size_t size, int flags)
{
    return mustFail("msgsnd") ? -1 : __real_msgsnd(queue, message, size, flags);
}

DIR *__wrap_opendir(const char *path)
{
    if (mustFail("opendir")) {
        return nullptr;
    }
    const auto &directories = state().directories;
    if (!directories) {
        return __real_opendir(path);
    }
    const bool exists =
        std::find(directories->begin(), directories->end(), path) != directories->end();
    return exists ? __real_opendir("/") : nullptr;
}

int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                          void *(*routine)(void *), void *argument)
{
    const auto error = failureOf("pthread_create");
    return error ? *error : __real_pthread_create(thread, attributes, routine, argument);
}

int __wrap_pthread_mutex_destroy(pthread_mutex_t *mutex)
{
    noteMutexCall("destroy", mutex);
    return __real_pthread_mutex_destroy(mutex);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t *mutex)
{
    noteMutexCall("lock", mutex);
    return __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t *mutex)
{
    noteMutexCall("unlock", mutex);
    return __real_pthread_mutex_unlock(mutex);
}

int __wrap_register_mib(const char *name, const struct variable *variables, size_t size,
                        size_t count, const oid *base, size_t baseLength)
{
    state().registeredVariables.push_back(count);
    return __real_register_mib(name, variables, size, count, base, baseLength);
}

int __wrap_sigaction(int signal, const struct sigaction *action, struct sigaction *old)
{
    return mustFail("sigaction") ? -1 : __real_sigaction(signal, action, old);
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
    const auto status = failureOf("sqlite3_close");
    return status ? *status : __real_sqlite3_close(connection);
}

int __wrap_sqlite3_exec(sqlite3 *connection, const char *statement,
                        int (*callback)(void *, int, char **, char **), void *argument,
                        char **error)
{
    const auto status = failureOf("sqlite3_exec");
    return status ? *status : __real_sqlite3_exec(connection, statement, callback, argument, error);
}

int __wrap_sqlite3_get_table(sqlite3 *connection, const char *statement, char ***result, int *rows,
                             int *columns, char **error)
{
    const auto status = failureOf("sqlite3_get_table");
    return status ? *status
                  : __real_sqlite3_get_table(connection, statement, result, rows, columns, error);
}

int __wrap_sqlite3_open(const char *path, sqlite3 **connection)
{
    // A real failure: sqlite3_open returns a connection all the same, which then rejects
    // everything.
    return __real_sqlite3_open(failureOf("sqlite3_open") ? "/nonexistent/file" : path, connection);
}

int __wrap_system(const char *command)
{
    state().commands.emplace_back(command);
    if (state().duringSystem) {
        state().duringSystem(command);
    }
    return mustFail("system") ? -1 : 0;
}

time_t __wrap_time(time_t *out)
{
    if (mustFail("time")) {
        return -1;
    }
    return state().now ? static_cast<time_t>(*state().now) : __real_time(out);
}

int __wrap_timer_create(clockid_t clock, struct sigevent *event, timer_t *timer)
{
    const int status = mustFail("timer_create") ? -1 : __real_timer_create(clock, event, timer);
    s_liveTimers += status == 0 ? 1 : 0;
    return status;
}

int __wrap_timer_delete(timer_t timer)
{
    --s_liveTimers;
    const int status = __real_timer_delete(timer);
    return mustFail("timer_delete") ? -1 : status;
}

int __wrap_timer_settime(timer_t timer, int flags, const struct itimerspec *setting,
                         struct itimerspec *old)
{
    return mustFail("timer_settime") ? -1 : __real_timer_settime(timer, flags, setting, old);
}

#if __TIMESIZE == 32
// Code with 64-bit times calls these on a processor whose times have 32 bits.
int __real___msgctl64(int queue, int command, void *state);
std::int64_t __real___time64(std::int64_t *out);
int __real___timer_settime64(timer_t timer, int flags, const void *setting, void *old);

int __wrap___msgctl64(int queue, int command, void *state)
{
    return mustFail("msgctl") ? -1 : __real___msgctl64(queue, command, state);
}

std::int64_t __wrap___time64(std::int64_t *out)
{
    if (mustFail("time")) {
        return -1;
    }
    return state().now ? *state().now : __real___time64(out);
}

int __wrap___timer_settime64(timer_t timer, int flags, const void *setting, void *old)
{
    return mustFail("timer_settime") ? -1 : __real___timer_settime64(timer, flags, setting, old);
}
#endif
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
