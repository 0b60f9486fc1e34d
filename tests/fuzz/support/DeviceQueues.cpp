#include "support/DeviceQueues.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>

#include <sys/msg.h>

namespace
{
constexpr key_t requestKey = 0x4008;
constexpr int requestQueue = 1;
constexpr int answerQueue = 2;
/// One call in this many fails.
constexpr unsigned failsOneIn = 8;

struct State {
    FuzzedDataProvider *script = nullptr;
    Frame request;
    bool isWaiting = false;
    Frame sent;
    unsigned sends = 0;
    bool failed = false;
};

State s_state;

/// Sets errno to one of the errors if the script lets the call fail.
template <std::size_t count>
bool fails(const std::array<int, count> &errors)
{
    if (s_state.script == nullptr || s_state.script->remaining_bytes() == 0 ||
        s_state.script->ConsumeIntegralInRange(1U, failsOneIn) != failsOneIn) {
        return false;
    }
    errno = s_state.script->PickValueInArray(errors);
    s_state.failed = true;
    return true;
}
} // namespace

void deviceQueues::reset()
{
    s_state = State{};
}

void deviceQueues::follow(FuzzedDataProvider &script)
{
    s_state.script = &script;
}

void deviceQueues::calmDown()
{
    s_state.script = nullptr;
}

void deviceQueues::put(const Frame &request)
{
    s_state.request = request;
    s_state.isWaiting = true;
    s_state.sent.clear();
    s_state.sends = 0;
    s_state.failed = false;
}

const Frame &deviceQueues::request()
{
    return s_state.request;
}

bool deviceQueues::wasTaken()
{
    return !s_state.isWaiting;
}

const Frame &deviceQueues::sent()
{
    return s_state.sent;
}

unsigned deviceQueues::sends()
{
    return s_state.sends;
}

bool deviceQueues::failed()
{
    return s_state.failed;
}

// The linker's names for wrapped and real calls are fixed.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
int __wrap_msgget(key_t key, int flags)
{
    // Existing queues are found in a second call.
    if ((flags & IPC_EXCL) != 0 && fails(std::array{EEXIST})) {
        return -1;
    }
    if (fails(std::array{ENOSPC, EACCES, ENOENT, ENOMEM})) {
        return -1;
    }
    return key == requestKey ? requestQueue : answerQueue;
}

int __wrap_msgctl(int /*queue*/, int command, msqid_ds *state)
{
    if (fails(std::array{EIDRM, EPERM, EACCES})) {
        return -1;
    }
    if (command == IPC_STAT) {
        *state = {};
        // Nothing is old: what waits must be answered.
        state->msg_perm.mode = 0666;
    }
    return 0;
}

ssize_t __wrap_msgrcv(int queue, void *message, size_t size, long /*type*/, int /*flags*/)
{
    if (queue != requestQueue) {
        errno = EINVAL;
        return -1;
    }
    if (fails(std::array{EIDRM, EINTR, EINVAL, EACCES, ENOMSG, ENOMEM})) {
        return -1;
    }
    if (!s_state.isWaiting) {
        errno = ENOMSG;
        return -1;
    }
    s_state.isWaiting = false;
    const std::size_t taken = std::min(size, s_state.request.size());
    const long anyType = 1;
    std::memcpy(message, &anyType, sizeof anyType);
    if (taken != 0) {
        std::memcpy(static_cast<char *>(message) + sizeof anyType, s_state.request.data(), taken);
    }
    return static_cast<ssize_t>(taken);
}

int __wrap_msgsnd(int queue, const void *message, size_t size, int /*flags*/)
{
    if (queue != answerQueue) {
        errno = EINVAL;
        return -1;
    }
    if (fails(std::array{EAGAIN, EIDRM, EINVAL, EACCES, EINTR})) {
        return -1;
    }
    const auto *const bytes = static_cast<const std::uint8_t *>(message) + sizeof(long);
    s_state.sent.assign(bytes, bytes + size);
    ++s_state.sends;
    return 0;
}

int __wrap_timer_create(clockid_t /*clock*/, sigevent * /*event*/, timer_t *timer)
{
    *timer = {};
    return fails(std::array{EAGAIN}) ? -1 : 0;
}

int __wrap_timer_settime(timer_t /*timer*/, int /*flags*/, const itimerspec * /*setting*/,
                         itimerspec * /*old*/)
{
    return 0;
}

int __wrap_timer_delete(timer_t /*timer*/)
{
    return 0;
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
