#include "support/LinkQueues.h"
#include "support/SystemCalls.h"
#include "tarnodevice.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/msg.h>

namespace
{
struct Failure {
    const char *call;
    int error;
    const char *name;
};

/// Every call of the library that can fail, and how. Left out: calls that cannot fail as they are
/// used (clock_gettime, timer_settime, pthread_sigmask, pthread_join of a thread that exists).
constexpr std::array failures{
    Failure{"malloc", ENOMEM, "malloc_ENOMEM"},
    Failure{"msgget", ENOSPC, "msgget_ENOSPC"},
    Failure{"msgctl", EACCES, "msgctl_EACCES"},
    Failure{"msgrcv", EIDRM, "msgrcv_EIDRM"},
    Failure{"msgrcv", EINTR, "msgrcv_EINTR"},
    Failure{"msgrcv", EACCES, "msgrcv_EACCES"},
    Failure{"msgsnd", EAGAIN, "msgsnd_EAGAIN"},
    Failure{"msgsnd", EIDRM, "msgsnd_EIDRM"},
    Failure{"msgsnd", EACCES, "msgsnd_EACCES"},
    Failure{"timer_create", EAGAIN, "timer_create_EAGAIN"},
    Failure{"sigaction", EINVAL, "sigaction_EINVAL"},
    Failure{"pthread_create", EAGAIN, "pthread_create_EAGAIN"},
};

void PrintTo(const Failure &failure, std::ostream *out)
{
    *out << failure.name;
}

constexpr std::uint16_t id = 0x0123;
constexpr int waitForRequest = 100;

Frame readOfObject()
{
    return {2, 7, 0x23, 0x01, 0, 0, 0, 0};
}

Frame rightAnswer()
{
    return {0x12, 4, 0, 0, 0x23, 0x01, 42};
}

struct Free {
    void operator()(tarno_device *device) const { tarno_device_free(device); }
};

using Device = std::unique_ptr<tarno_device, Free>;

class EveryDeviceCallFailsOnce : public testing::TestWithParam<Failure>
{
public:
    EveryDeviceCallFailsOnce(const EveryDeviceCallFailsOnce &) = delete;
    EveryDeviceCallFailsOnce &operator=(const EveryDeviceCallFailsOnce &) = delete;

protected:
    EveryDeviceCallFailsOnce()
    {
        systemCalls::reset();
        linkQueues::remove();
    }

    ~EveryDeviceCallFailsOnce() override { linkQueues::remove(); }

    /// The queues are there before the device, with wider permissions than it wants.
    static void hasOldRequest()
    {
        linkQueues::remove();
        linkQueues::putRequest(readOfObject());
    }

    /// From another thread, whose calls do not fail.
    static void agentAsks()
    {
        std::thread([] { linkQueues::putRequest(readOfObject()); }).join();
    }

    /// All results of a device's life, from its declaration to the end of its thread.
    std::vector<int> lives()
    {
        const tarno_options options{
            .mode = 0600, .check_owner = 1, .discard_old_requests = 1, .wake_signal = 0};
        device.reset(tarno_device_new(&options));
        if (!device) {
            return {-ENOMEM};
        }
        const tarno_object object{.id = id,
                                  .kind = TARNO_UNSIGNED,
                                  .width = sizeof variable,
                                  .writable = 0,
                                  .get = nullptr,
                                  .set = nullptr,
                                  .user = &variable};
        std::vector<int> results{tarno_device_add(device.get(), &object, 1),
                                 tarno_device_open(device.get())};
        agentAsks();
        results.push_back(tarno_device_step(device.get(), waitForRequest));
        results.push_back(tarno_device_start(device.get()));
        if (results.back() == 0) {
            results.push_back(tarno_device_join(device.get()));
        }
        return results;
    }

    /// Nothing if there are fewer than n such calls.
    std::optional<std::vector<int>> livesWithoutCall(unsigned n)
    {
        hasOldRequest();
        const systemCalls::FailingCalls failing(GetParam().call, GetParam().error, n);
        std::vector<int> results = lives();
        return failing.seen() < n ? std::nullopt : std::optional(results);
    }

    /// The device that failed answers the next request, once it has its objects.
    bool goesOn()
    {
        linkQueues::remove();
        linkQueues::putRequest(readOfObject());
        for (int tries = 4; tries > 0 && linkQueues::waitingAnswers() == 0; --tries) {
            tarno_device_step(device.get(), waitForRequest);
            if (linkQueues::waitingRequests() == 0 && linkQueues::waitingAnswers() == 0) {
                linkQueues::putRequest(readOfObject());
            }
        }
        return linkQueues::takeAnswer() == rightAnswer();
    }

    /// Each result is good or names the error.
    static bool areHonest(const std::vector<int> &results)
    {
        return std::all_of(results.begin(), results.end(),
                           [](int result) { return result >= 0 || result == -GetParam().error; });
    }

    /// Whether it has its objects.
    static bool isDeclared(const std::vector<int> &results) { return results.front() == 0; }

    /// False if there are fewer than n such calls.
    bool survivesWithoutCall(unsigned n)
    {
        const int timers = systemCalls::liveTimers();
        const auto results = livesWithoutCall(n);
        if (!results) {
            return false;
        }
        EXPECT_TRUE(areHonest(*results)) << "call " << n;
        EXPECT_TRUE(!isDeclared(*results) || goesOn()) << "after call " << n;
        device.reset();
        EXPECT_EQ(systemCalls::liveTimers(), timers) << "after call " << n;
        return true;
    }

    std::uint8_t variable = 42;
    Device device;
};
} // namespace

TEST_P(EveryDeviceCallFailsOnce, WhichIsReportedOrSurvived)
{
    constexpr unsigned limit = 100;
    unsigned n = 1;
    while (n < limit && survivesWithoutCall(n)) {
        ++n;
    }
    EXPECT_GT(n, 1U) << "the library does not make this call";
    EXPECT_LT(n, limit);
}

INSTANTIATE_TEST_SUITE_P(Device, EveryDeviceCallFailsOnce, testing::ValuesIn(failures),
                         testing::PrintToStringParamName());
