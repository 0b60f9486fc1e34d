#include "ReceiveTimer.h"

#include <cerrno>

#include <sys/msg.h>
#include <unistd.h>

#ifndef sigev_notify_thread_id
#define sigev_notify_thread_id _sigev_un._tid
#endif

namespace
{
// A signal that arrives before msgrcv blocks does not interrupt it, so the timer repeats until it
// is disarmed.
constexpr timespec repeatInterval{.tv_sec = 0, .tv_nsec = 2'000'000};

int wakeSignal()
{
    return SIGRTMIN;
}

extern "C" void wake(int /*signal*/) {}

/// Cached: one system call per thread instead of one per wait.
pid_t thisThread()
{
    thread_local const pid_t thread = gettid();
    return thread;
}

timespec toTimespec(std::chrono::steady_clock::time_point time)
{
    using namespace std::chrono;
    const auto sinceStart = time.time_since_epoch();
    const auto whole = duration_cast<seconds>(sinceStart);
    const auto rest = duration_cast<nanoseconds>(sinceStart - whole);
    return {.tv_sec = static_cast<time_t>(whole.count()),
            .tv_nsec = static_cast<long>(rest.count())};
}
} // namespace

ReceiveTimer::~ReceiveTimer()
{
    release();
}

ssize_t ReceiveTimer::receive(int queueId, void *message, std::size_t capacity,
                              const Deadline &deadline)
{
    const bool bounded = deadline.has_value() && armBy(*deadline);
    if (!bounded) {
        disarm();
    }
    ssize_t received = 0;
    int error = 0;
    do {
        received = msgrcv(queueId, message, capacity, 0, 0);
        error = received == -1 ? errno : 0;
    } while (error == EINTR && (!bounded || mustGoOn(*deadline)));
    errno = error == EINTR ? ETIMEDOUT : error;
    return received;
}

void ReceiveTimer::disarm()
{
    if (_firesAt) {
        const itimerspec never{};
        timer_settime(_timer, 0, &never, nullptr);
        _firesAt.reset();
    }
}

/// Whether a signal will arrive at the deadline; one may arrive earlier, too.
bool ReceiveTimer::armBy(TimePoint deadline)
{
    if (!aimAtThisThread()) {
        return false;
    }
    return (_firesAt && *_firesAt <= deadline) || arm(deadline);
}

bool ReceiveTimer::arm(TimePoint deadline)
{
    const itimerspec setting{.it_interval = repeatInterval, .it_value = toTimespec(deadline)};
    if (timer_settime(_timer, TIMER_ABSTIME, &setting, nullptr) != 0) {
        return false;
    }
    _firesAt = deadline;
    return true;
}

/// After an interruption: whether there is time left.
bool ReceiveTimer::mustGoOn(TimePoint deadline)
{
    const TimePoint now = std::chrono::steady_clock::now();
    if (now >= deadline) {
        disarm();
        return false;
    }
    // It was set for an earlier wait. If it cannot be set again, its repetitions have to do.
    if (now >= *_firesAt) {
        arm(deadline);
    }
    return true;
}

bool ReceiveTimer::aimAtThisThread()
{
    const pid_t thread = thisThread();
    if (_haveTimer && _thread == thread) {
        return true;
    }
    release();
    // Without a handler the signal would end the process.
    struct sigaction action = {};
    action.sa_handler = wake;
    if (sigaction(wakeSignal(), &action, nullptr) != 0) {
        return false;
    }
    // The parent process may have left the signal blocked; then the wait would never end.
    sigset_t wakeSignals;
    sigemptyset(&wakeSignals);
    sigaddset(&wakeSignals, wakeSignal());
    pthread_sigmask(SIG_UNBLOCK, &wakeSignals, nullptr);

    struct sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = wakeSignal();
    event.sigev_notify_thread_id = thread;
    _haveTimer = timer_create(CLOCK_MONOTONIC, &event, &_timer) == 0;
    _thread = thread;
    return _haveTimer;
}

void ReceiveTimer::release()
{
    if (_haveTimer) {
        timer_delete(_timer);
        _haveTimer = false;
        _firesAt.reset();
    }
}
