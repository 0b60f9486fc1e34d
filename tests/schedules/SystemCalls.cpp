#include "SystemCalls.h"

#include "ComPortAdapter.h"
#include "World.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>

#include <sys/msg.h>

namespace
{
World *s_world = nullptr;

int noSuchQueue()
{
    errno = EINVAL;
    return -1;
}
} // namespace

void systemCalls::leadTo(World &world)
{
    s_world = &world;
}

// The linker's names for wrapped calls are fixed.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
std::chrono::steady_clock::time_point
wrappedNow() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

std::chrono::steady_clock::time_point wrappedNow()
{
    return std::chrono::steady_clock::time_point(s_world->now);
}

extern "C" {
unsigned __wrap_sleep(unsigned seconds)
{
    s_world->pass(std::chrono::seconds(seconds));
    return 0;
}

int __wrap_msgget(key_t key, int flags)
{
    return s_world->find(key == linkPort::requestKey, (flags & IPC_CREAT) != 0);
}

int __wrap_msgctl(int id, int command, struct msqid_ds *state)
{
    const bool isRequests = s_world->requests.hasId(id);
    if (!isRequests && !s_world->answers.hasId(id)) {
        return noSuchQueue();
    }
    if (command == IPC_RMID) {
        s_world->remove(id);
    } else {
        state->msg_qnum = (isRequests ? s_world->requests : s_world->answers).size();
    }
    return 0;
}

int __wrap_msgsnd(int id, const void *message, size_t size, int /*flags*/)
{
    return s_world->send(id, static_cast<const std::uint8_t *>(message) + sizeof(long), size);
}

ssize_t __wrap_msgrcv(int id, void *message, size_t size, long /*type*/, int flags)
{
    const Message *const taken =
        s_world->receive(id, size, (flags & IPC_NOWAIT) == 0, (flags & MSG_NOERROR) != 0);
    if (taken == nullptr) {
        return -1;
    }
    const long type = 1;
    const std::size_t received = std::min<std::size_t>(size, taken->size);
    const std::size_t held = std::min(received, taken->bytes.size());
    auto *const bytes = static_cast<std::uint8_t *>(message) + sizeof type;
    std::memcpy(message, &type, sizeof type);
    std::memcpy(bytes, taken->bytes.data(), held);
    std::memset(bytes + held, 0, received - held);
    return static_cast<ssize_t>(received);
}

// No signal is ever sent.
int __wrap_sigaction(int /*signal*/, const struct sigaction * /*action*/,
                     struct sigaction * /*old*/)
{
    return 0;
}

int __wrap_pthread_sigmask(int /*how*/, const sigset_t * /*signals*/, sigset_t * /*old*/)
{
    return 0;
}

int __wrap_timer_create(clockid_t /*clock*/, struct sigevent * /*event*/, timer_t *timer)
{
    *timer = nullptr;
    return 0;
}

int __wrap_timer_settime(timer_t /*timer*/, int /*flags*/, const struct itimerspec *setting,
                         struct itimerspec * /*old*/)
{
    using namespace std::chrono;
    const nanoseconds at =
        seconds(setting->it_value.tv_sec) + nanoseconds(setting->it_value.tv_nsec);
    s_world->alarm.reset();
    if (at != nanoseconds::zero()) {
        s_world->alarm = at;
    }
    s_world->alarmInterval =
        seconds(setting->it_interval.tv_sec) + nanoseconds(setting->it_interval.tv_nsec);
    return 0;
}

int __wrap_timer_delete(timer_t /*timer*/)
{
    s_world->alarm.reset();
    return 0;
}

// Discards the agent's output, which nobody needs here and which would take longer than the agent.
int __wrap_puts(const char * /*text*/)
{
    return 0;
}

int __wrap_putchar(int character)
{
    return character;
}

int __wrap_printf(const char * /*format*/, ...)
{
    return 0;
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
