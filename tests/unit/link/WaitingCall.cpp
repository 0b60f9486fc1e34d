#include "link/WaitingCall.h"

#include "support/LinkQueues.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

namespace
{
using namespace std::chrono_literals;

constexpr std::chrono::milliseconds longEnough = 10s;
constexpr std::chrono::milliseconds pollInterval = 1ms;

std::atomic<int> s_interruptions = 0;

extern "C" void countInterruption(int /*signal*/)
{
    ++s_interruptions;
}

bool becomesTrue(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + longEnough;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(pollInterval);
    }
    return true;
}
} // namespace

WaitingCall::WaitingCall(std::function<std::int64_t()> call) : _result(_ended.get_future())
{
    auto started = _started.get_future();
    _thread = std::thread([this, call = std::move(call)] {
        _started.set_value(gettid());
        _ended.set_value(call());
    });
    _threadId = started.get();
}

WaitingCall::~WaitingCall()
{
    result();
    _thread.join();
}

bool WaitingCall::comesToWait() const
{
    return becomesTrue([this] { return sleeps(); });
}

void WaitingCall::interrupt() const
{
    // Not sigaction, which some tests make fail. msgrcv is interrupted either way.
    ASSERT_NE(std::signal(SIGUSR1, countInterruption), SIG_ERR);
    const int before = s_interruptions;
    tgkill(getpid(), _threadId, SIGUSR1);
    EXPECT_TRUE(becomesTrue([before] { return s_interruptions != before; }));
}

bool WaitingCall::hasEnded() const
{
    return _result.wait_for(0s) == std::future_status::ready;
}

std::int64_t WaitingCall::result()
{
    if (!_result.valid()) {
        return 0;
    }
    if (_result.wait_for(longEnough) != std::future_status::ready) {
        ADD_FAILURE() << "the call never ended";
        linkQueues::putAnswer({});
    }
    return _result.get();
}

/// The state follows the thread's name in parentheses, which may contain anything, even ") ".
bool WaitingCall::sleeps() const
{
    std::ifstream file("/proc/self/task/" + std::to_string(_threadId) + "/stat");
    std::string line;
    std::getline(file, line);
    const auto nameEnd = line.rfind(") ");
    return nameEnd != std::string::npos && line.at(nameEnd + 2) == 'S';
}
