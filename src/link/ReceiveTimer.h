#pragma once

#include <chrono>
#include <csignal>
#include <ctime>
#include <optional>

#include <sys/types.h>

/// Until when to wait, on the monotonic clock; nothing: as long as it takes.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

/// Takes a message off a System V queue within a bound, which msgrcv(2) itself cannot do.
/// A timer interrupts the call: nothing polls, and an answer that comes in time is not delayed.
/// A call interrupted by anything but the deadline goes on waiting. Where no timer can be had the
/// wait is unbounded. Waits that follow one another share a timer until `disarm`: setting one costs
/// as much as taking the message. Any thread may call, one at a time.
class ReceiveTimer
{
public:
    ReceiveTimer() = default;
    ~ReceiveTimer();
    ReceiveTimer(const ReceiveTimer &) = delete;
    ReceiveTimer &operator=(const ReceiveTimer &) = delete;

    /// As msgrcv(2) for a message of any type: `message` starts with a long and has room for
    /// `capacity` payload bytes behind it. The payload length, or -1 with errno: ETIMEDOUT once the
    /// deadline has passed, otherwise what the call left there.
    ssize_t receive(int queueId, void *message, std::size_t capacity, const Deadline &deadline);

    /// After the last wait for now: from here no signal interrupts anything else.
    void disarm();

private:
    using TimePoint = std::chrono::steady_clock::time_point;

    bool armBy(TimePoint deadline);
    bool arm(TimePoint deadline);
    bool mustGoOn(TimePoint deadline);
    bool aimAtThisThread();
    void release();

    timer_t _timer{};
    /// When the timer fires first; nothing: it is not armed.
    Deadline _firesAt;
    bool _haveTimer = false;
    pid_t _thread = 0;
};
