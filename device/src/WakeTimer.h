#pragma once

#include <atomic>
#include <ctime>

#include <sys/types.h>

namespace tarno
{
/// Interrupts a blocking system call of one thread at a given time or at once, with a signal whose
/// handler does nothing. A signal that arrives before the call blocks is lost, so it repeats every
/// 2 ms until `disarm`.
class WakeTimer
{
public:
    /// 0: SIGRTMAX - 8.
    explicit WakeTimer(int signal);
    WakeTimer(const WakeTimer &) = delete;
    WakeTimer &operator=(const WakeTimer &) = delete;
    ~WakeTimer();

    /// From now on the calling thread is woken. Returns 0 or an errno value.
    [[nodiscard]] int aimAtThisThread();

    /// CLOCK_MONOTONIC.
    void wakeAt(const timespec &time);
    /// From any thread or signal handler.
    void wakeNow();
    void disarm();

    /// Forgets the thread.
    void release();

private:
    int _signal;
    pid_t _thread = 0;
    timer_t _timer{};
    std::atomic<bool> _hasTimer{false};
};
} // namespace tarno
