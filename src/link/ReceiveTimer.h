#pragma once

#include <chrono>
#include <csignal>
#include <ctime>
#include <optional>

#include <sys/types.h>

/// When to stop waiting, on the monotonic clock; nullopt: never.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

/// Receives a message from a System V queue with a deadline, which msgrcv(2) itself does not
/// support. A timer interrupts the call: nothing polls, and an answer that comes in time is not
/// delayed. A call interrupted by anything but the deadline goes on waiting. If no timer can be
/// created, the wait is unbounded. Successive waits share one timer until `disarm`, since setting
/// it costs as much as receiving the message. Any thread may call, one at a time.
class ReceiveTimer
{
public:
    ReceiveTimer() = default;
    ~ReceiveTimer();
    ReceiveTimer(const ReceiveTimer &) = delete;
    ReceiveTimer &operator=(const ReceiveTimer &) = delete;

    /// As msgrcv(2) for a message of any type: `message` starts with a long, followed by room for
    /// `capacity` payload bytes. Returns the payload length, or -1 with errno: ETIMEDOUT once the
    /// deadline has passed, otherwise the error of msgrcv(2).
    ssize_t receive(int queueId, void *message, std::size_t capacity, const Deadline &deadline);

    /// Call after the last wait for now: no signal interrupts what follows.
    void disarm();

private:
    using TimePoint = std::chrono::steady_clock::time_point;

    bool armBy(TimePoint deadline);
    bool arm(TimePoint deadline);
    bool mustGoOn(TimePoint deadline);
    bool aimAtThisThread();
    void release();

    timer_t _timer{};
    /// When the timer fires first; nullopt: not armed.
    Deadline _firesAt;
    bool _haveTimer = false;
    pid_t _thread = 0;
};
