#include "WakeTimer.h"

#include <cerrno>
#include <csignal>

#include <pthread.h>
#include <unistd.h>

// glibc has the member, but not its documented name.
#ifndef sigev_notify_thread_id
#define sigev_notify_thread_id _sigev_un._tid
#endif

namespace
{
constexpr timespec repeatInterval{.tv_sec = 0, .tv_nsec = 2'000'000};
/// User-mode emulation keeps some of the largest for itself: QEMU 10 those above SIGRTMAX - 4.
constexpr int belowLargest = 8;

/// A handler of the program stays: any handler interrupts msgrcv(2), SA_RESTART or not.
int installHandler(int signal)
{
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0) {
        return errno;
    }
    if (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN) {
        return 0;
    }
    action = {};
    action.sa_handler = [](int) {};
    return sigaction(signal, &action, nullptr) == 0 ? 0 : errno;
}
} // namespace

namespace tarno
{
WakeTimer::WakeTimer(int signal) : _signal(signal != 0 ? signal : SIGRTMAX - belowLargest) {}

WakeTimer::~WakeTimer()
{
    release();
}

int WakeTimer::aimAtThisThread()
{
    const pid_t thread = gettid();
    if (_hasTimer && _thread == thread) {
        return 0;
    }
    release();
    if (const int error = installHandler(_signal); error != 0) {
        return error;
    }
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, _signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);

    struct sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = _signal;
    event.sigev_notify_thread_id = thread;
    if (timer_create(CLOCK_MONOTONIC, &event, &_timer) != 0) {
        return errno;
    }
    _thread = thread;
    _hasTimer = true;
    return 0;
}

void WakeTimer::wakeAt(const timespec &time)
{
    const itimerspec setting{.it_interval = repeatInterval, .it_value = time};
    timer_settime(_timer, TIMER_ABSTIME, &setting, nullptr);
}

void WakeTimer::wakeNow()
{
    if (_hasTimer) {
        const itimerspec setting{.it_interval = repeatInterval,
                                 .it_value = {.tv_sec = 0, .tv_nsec = 1}};
        timer_settime(_timer, 0, &setting, nullptr);
    }
}

void WakeTimer::disarm()
{
    const itimerspec never{};
    timer_settime(_timer, 0, &never, nullptr);
}

void WakeTimer::release()
{
    if (_hasTimer.exchange(false)) {
        timer_delete(_timer);
    }
}
} // namespace tarno
