#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <thread>

#include <pthread.h>
#include <sys/types.h>

/// A call on a thread of its own, watched while it waits for the device. A call that never ends
/// fails the test and is released by an answer, so that the test run goes on. Every wait is
/// bounded.
class WaitingCall
{
public:
    explicit WaitingCall(std::function<std::int64_t()> call);
    ~WaitingCall();
    WaitingCall(const WaitingCall &) = delete;
    WaitingCall &operator=(const WaitingCall &) = delete;

    /// Whether the call comes to wait in the kernel.
    [[nodiscard]] bool comesToWait() const;
    /// Lets another signal than the timer's reach the waiting call.
    void interrupt() const;
    [[nodiscard]] bool hasEnded() const;
    /// What the call returned, once it has ended.
    std::int64_t result();

private:
    [[nodiscard]] bool sleeps() const;

    std::promise<pid_t> _started;
    std::promise<std::int64_t> _ended;
    std::future<std::int64_t> _result;
    pid_t _threadId = 0;
    std::thread _thread;
};
