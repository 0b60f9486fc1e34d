#include "InterruptibleThread.h"

#include <chrono>
#include <csignal>
#include <utility>

#include <pthread.h>

namespace
{
constexpr int wakeSignal = SIGUSR1;
constexpr std::chrono::milliseconds betweenSignals{5};

void interruptCalls()
{
    struct sigaction action {
    };

    // Without SA_RESTART, so that calls come back; the handler itself has nothing to do.
    action.sa_handler = [](int) {};
    sigemptyset(&action.sa_mask);
    sigaction(wakeSignal, &action, nullptr);
}
} // namespace

InterruptibleThread::InterruptibleThread(
    std::function<void(const std::atomic<bool> &stopping)> work)
{
    interruptCalls();
    _thread = std::thread([this, work = std::move(work)] {
        work(_stopping);
        _ended.set_value();
    });
}

InterruptibleThread::~InterruptibleThread()
{
    _stopping = true;
    const std::future<void> ended = _ended.get_future();
    // One signal may fall between the thread's look at the flag and its call; the next one does
    // not.
    do {
        pthread_kill(_thread.native_handle(), wakeSignal);
    } while (ended.wait_for(betweenSignals) != std::future_status::ready);
    _thread.join();
}
