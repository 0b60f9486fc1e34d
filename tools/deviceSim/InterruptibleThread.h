#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

/// A thread that may block in a system call that only a signal interrupts. The destructor asks it
/// to stop, interrupts its calls (they fail with EINTR) until it has stopped, and joins it. Uses
/// SIGUSR1.
class InterruptibleThread
{
public:
    /// `work` must return soon after its argument becomes true and its calls are interrupted.
    explicit InterruptibleThread(std::function<void(const std::atomic<bool> &stopping)> work);
    ~InterruptibleThread();
    InterruptibleThread(const InterruptibleThread &) = delete;
    InterruptibleThread &operator=(const InterruptibleThread &) = delete;

    /// Whether the work is done, so that the destructor does not block.
    [[nodiscard]] bool hasEnded() const { return endsWithin(std::chrono::milliseconds(0)); }

private:
    [[nodiscard]] bool endsWithin(std::chrono::milliseconds time) const;

    std::atomic<bool> _stopping{false};
    std::promise<void> _done;
    std::future<void> _ended = _done.get_future();
    std::thread _thread;
};
