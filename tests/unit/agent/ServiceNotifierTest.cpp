#include "ServiceNotifier.h"

#include "support/TestDirectory.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
using namespace std::chrono_literals;

constexpr std::size_t longestName = sizeof(sockaddr_un::sun_path) - 1;

/// The service manager's end.
class Manager
{
public:
    /// A path, or an abstract name that begins with @.
    explicit Manager(std::string name) : _name(std::move(name))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        _name.copy(address.sun_path, longestName);
        if (_name.front() == '@') {
            address.sun_path[0] = '\0';
        }
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + _name.size());
        EXPECT_EQ(bind(_socket, reinterpret_cast<const sockaddr *>(&address), length), 0);
    }

    ~Manager() { close(_socket); }

    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;

    void supervises() const { setenv("NOTIFY_SOCKET", _name.c_str(), 1); }

    /// The next message; empty if none is waiting.
    [[nodiscard]] std::string received() const
    {
        std::array<char, 256> message{};
        const ssize_t length = recv(_socket, message.data(), message.size(), MSG_DONTWAIT);
        return {message.data(), length < 0 ? 0 : static_cast<std::size_t>(length)};
    }

private:
    std::string _name;
    int _socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

class ServiceNotifierTest : public testing::Test
{
protected:
    ServiceNotifierTest() { forgetVariables(); }

    ~ServiceNotifierTest() override { forgetVariables(); }

    static void watchdogWaits(const std::string &microseconds)
    {
        setenv("WATCHDOG_USEC", microseconds.c_str(), 1);
    }

    static void watchdogIsFor(const std::string &process)
    {
        setenv("WATCHDOG_PID", process.c_str(), 1);
    }

    [[nodiscard]] std::optional<std::chrono::microseconds> period() const
    {
        _manager.supervises();
        return ServiceNotifier().keepAlivePeriod();
    }

    static bool isSupervisedUnder(const std::string &name)
    {
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        testing::internal::CaptureStderr();
        const bool isSupervised = ServiceNotifier().isSupervised();
        const std::string printed = testing::internal::GetCapturedStderr();
        EXPECT_EQ(printed, isSupervised ? ""
                                        : "tarnoSnmp: NOTIFY_SOCKET names no usable socket: the "
                                          "service manager is not notified\n");
        return isSupervised;
    }

    TestDirectory _directory;
    Manager _manager{_directory.file("notify")};

private:
    static void forgetVariables()
    {
        for (const char *const name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
            unsetenv(name);
        }
    }
};

TEST_F(ServiceNotifierTest, SendsToThePathThatTheManagerNames)
{
    _manager.supervises();
    EXPECT_TRUE(ServiceNotifier().send("READY=1"));
    EXPECT_EQ(_manager.received(), "READY=1");
}

TEST_F(ServiceNotifierTest, SendsToAnAbstractName)
{
    const Manager manager("@tarno/" + std::to_string(getpid()));
    manager.supervises();
    EXPECT_TRUE(ServiceNotifier().send("READY=1"));
    EXPECT_EQ(manager.received(), "READY=1");
}

TEST_F(ServiceNotifierTest, WithoutAManagerItIsNotSupervisedAndTouchesNoVariable)
{
    watchdogWaits("60000000");
    const ServiceNotifier notifier;
    EXPECT_FALSE(notifier.isSupervised());
    EXPECT_EQ(notifier.keepAlivePeriod(), std::nullopt);
    EXPECT_STREQ(std::getenv("WATCHDOG_USEC"), "60000000");
}

TEST_F(ServiceNotifierTest, ProgramsThatItStartsAreNotTheService)
{
    _manager.supervises();
    watchdogWaits("60000000");
    watchdogIsFor(std::to_string(getpid()));
    const ServiceNotifier notifier;
    for (const char *const name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
        EXPECT_EQ(std::getenv(name), nullptr) << name;
    }
}

TEST_F(ServiceNotifierTest, TheLongestNameIsUsable)
{
    EXPECT_TRUE(isSupervisedUnder("@" + std::string(longestName - 1, 'x')));
}

TEST_F(ServiceNotifierTest, ALongerNameIsNotUsable)
{
    EXPECT_FALSE(isSupervisedUnder("/" + std::string(longestName, 'x')));
}

TEST_F(ServiceNotifierTest, ANameWithoutContentIsNotUsable)
{
    EXPECT_FALSE(isSupervisedUnder(""));
    EXPECT_FALSE(isSupervisedUnder("@"));
}

TEST_F(ServiceNotifierTest, AnAddressOfAnotherKindIsNotUsable)
{
    EXPECT_FALSE(isSupervisedUnder("vsock:2:1234"));
}

TEST_F(ServiceNotifierTest, WithoutADescriptorItIsNotSupervised)
{
    rlimit allowed{};
    getrlimit(RLIMIT_NOFILE, &allowed);
    const int lowestFree = dup(STDIN_FILENO);
    // The captured standard error takes this one.
    const rlimit noMore{.rlim_cur = static_cast<rlim_t>(lowestFree) + 1,
                        .rlim_max = allowed.rlim_max};
    close(lowestFree);
    setenv("NOTIFY_SOCKET", "@x", 1);
    testing::internal::CaptureStderr();
    setrlimit(RLIMIT_NOFILE, &noMore);
    const bool isSupervised = ServiceNotifier().isSupervised();
    setrlimit(RLIMIT_NOFILE, &allowed);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(isSupervised);
}

TEST_F(ServiceNotifierTest, AManagerThatHasGoneDoesNotMatter)
{
    {
        const Manager manager(_directory.file("gone"));
        manager.supervises();
    }
    EXPECT_FALSE(ServiceNotifier().send("READY=1"));
}

TEST_F(ServiceNotifierTest, AManagerThatDoesNotReadDoesNotHoldItUp)
{
    constexpr int moreThanFit = 10000;
    _manager.supervises();
    const ServiceNotifier notifier;
    int sent = 0;
    while (sent < moreThanFit && notifier.send("STATUS=serving")) {
        ++sent;
    }
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, moreThanFit);
}

TEST_F(ServiceNotifierTest, TheWatchdogIsToldFourTimesInItsInterval)
{
    watchdogWaits("60000000");
    EXPECT_EQ(period(), 15s);
}

TEST_F(ServiceNotifierTest, TheWatchdogMayBeForThisProcess)
{
    watchdogWaits("60000000");
    watchdogIsFor(std::to_string(getpid()));
    EXPECT_EQ(period(), 15s);
}

TEST_F(ServiceNotifierTest, AWatchdogForAnotherProcessIsIgnored)
{
    for (const char *const process : {"1", "", "x"}) {
        watchdogWaits("60000000");
        watchdogIsFor(process);
        EXPECT_EQ(period(), std::nullopt) << process;
    }
}

TEST_F(ServiceNotifierTest, WithoutAnIntervalThereIsNoWatchdog)
{
    EXPECT_EQ(period(), std::nullopt);
}

TEST_F(ServiceNotifierTest, AnIntervalThatIsNoPositiveNumberIsIgnored)
{
    for (const char *const interval : {"", "0", "-1", "x", "5s", "18446744073709551615"}) {
        watchdogWaits(interval);
        EXPECT_EQ(period(), std::nullopt) << interval;
    }
}

TEST_F(ServiceNotifierTest, KeepAliveTellsTheWatchdogOnceInAPeriod)
{
    watchdogWaits("200000");
    _manager.supervises();
    ServiceNotifier notifier;
    notifier.keepAlive();
    notifier.keepAlive();
    EXPECT_EQ(_manager.received(), "WATCHDOG=1");
    EXPECT_EQ(_manager.received(), "");
    std::this_thread::sleep_for(*notifier.keepAlivePeriod());
    notifier.keepAlive();
    EXPECT_EQ(_manager.received(), "WATCHDOG=1");
}

TEST_F(ServiceNotifierTest, AKeepAliveThatCouldNotBeSentIsSentNextTime)
{
    watchdogWaits("60000000");
    _manager.supervises();
    ServiceNotifier notifier;
    while (notifier.send("STATUS=serving")) {
    }
    notifier.keepAlive();
    while (!_manager.received().empty()) {
    }
    notifier.keepAlive();
    EXPECT_EQ(_manager.received(), "WATCHDOG=1");
}

TEST_F(ServiceNotifierTest, WithoutAWatchdogKeepAliveSendsNothing)
{
    _manager.supervises();
    ServiceNotifier().keepAlive();
    EXPECT_EQ(_manager.received(), "");
}
} // namespace
