#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <thread>

#include <pthread.h>
#include <sys/types.h>

/// A call on a thread of its own, observed while it waits for the device. A call that never ends
/// fails the test and is released by an answer, so that the test run continues. Every wait is
/// bounded.
class WaitingCall
{
public:
    explicit WaitingCall(std::function<std::int64_t()> call);
    ~WaitingCall();
    WaitingCall(const WaitingCall &) = delete;
    WaitingCall &operator=(const WaitingCall &) = delete;

    /// Whether the call gets to wait in the kernel.
    [[nodiscard]] bool comesToWait() const;
    /// Sends the waiting call a signal other than the timer's.
    void interrupt() const;
    [[nodiscard]] bool hasEnded() const;
    /// The return value of the call, once it has ended.
    std::int64_t result();

private:
    [[nodiscard]] bool sleeps() const;

    std::promise<pid_t> _started;
    std::promise<std::int64_t> _ended;
    std::future<std::int64_t> _result;
    pid_t _threadId = 0;
    std::thread _thread;
};
