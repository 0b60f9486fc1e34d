#include "InterruptibleThread.h"

#include <csignal>
#include <utility>

#include <pthread.h>

namespace
{
constexpr int wakeSignal = SIGUSR1;
constexpr std::chrono::milliseconds betweenSignals{5};

void interruptCalls()
{
    struct sigaction action{};

    // Without SA_RESTART, so that blocking calls fail with EINTR; the handler itself does nothing.
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
        _done.set_value();
    });
}

InterruptibleThread::~InterruptibleThread()
{
    _stopping = true;
    // A signal that arrives after the thread has checked the flag and before its call is lost, so
    // it is repeated.
    do {
        pthread_kill(_thread.native_handle(), wakeSignal);
    } while (!endsWithin(betweenSignals));
    _thread.join();
}

bool InterruptibleThread::endsWithin(std::chrono::milliseconds time) const
{
    return _ended.wait_for(time) == std::future_status::ready;
}
