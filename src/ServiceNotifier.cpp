#include "ServiceNotifier.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include <unistd.h>

namespace
{
constexpr const char *socketVariable = "NOTIFY_SOCKET";
constexpr const char *intervalVariable = "WATCHDOG_USEC";
constexpr const char *processVariable = "WATCHDOG_PID";

/// A message may be due shortly after one was sent, and is then left out: the next one still comes
/// within half an interval.
constexpr int periodsPerInterval = 4;

std::optional<std::int64_t> positiveNumber(const char *text)
{
    std::int64_t number = 0;
    const char *const end = text + std::strlen(text);
    const auto parsed = std::from_chars(text, end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end || number <= 0) {
        return std::nullopt;
    }
    return number;
}

/// Zero if no watchdog waits for this process.
std::chrono::microseconds watchdogInterval()
{
    const char *const interval = std::getenv(intervalVariable);
    const char *const process = std::getenv(processVariable);
    const bool isForAnother = process != nullptr && positiveNumber(process) != getpid();
    if (interval == nullptr || isForAnother) {
        return {};
    }
    return std::chrono::microseconds(positiveNumber(interval).value_or(0));
}
} // namespace

ServiceNotifier::ServiceNotifier()
{
    const char *const name = std::getenv(socketVariable);
    if (name == nullptr) {
        return;
    }
    if (open(name)) {
        _watchdogInterval = watchdogInterval();
    } else {
        std::fputs("tarnoSnmp: NOTIFY_SOCKET names no usable socket: the service manager is not "
                   "notified\n",
                   stderr);
    }
    unsetenv(socketVariable);
    unsetenv(intervalVariable);
    unsetenv(processVariable);
}

ServiceNotifier::~ServiceNotifier()
{
    if (isSupervised()) {
        close(_socket);
    }
}

std::optional<std::chrono::microseconds> ServiceNotifier::keepAlivePeriod() const
{
    const auto period = _watchdogInterval / periodsPerInterval;
    return period.count() == 0 ? std::nullopt : std::optional(period);
}

bool ServiceNotifier::send(std::string_view message) const
{
    return sendto(_socket, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr *>(&_address), _addressLength) != -1;
}

void ServiceNotifier::keepAlive()
{
    const auto period = keepAlivePeriod();
    if (!period) {
        return;
    }
    const auto now = Clock::now();
    if (now - _lastKeptAlive >= *period && send("WATCHDOG=1")) {
        _lastKeptAlive = now;
    }
}

/// A name that begins with @ is in the abstract namespace: its first byte is then 0, and its length
/// counts.
bool ServiceNotifier::open(std::string_view name)
{
    const bool isAbstract = name.starts_with('@');
    const std::size_t longest = sizeof(_address.sun_path) - 1;
    if (name.size() < 2 || name.size() > longest || (!isAbstract && !name.starts_with('/'))) {
        return false;
    }
    _address.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), std::begin(_address.sun_path));
    if (isAbstract) {
        _address.sun_path[0] = '\0';
    }
    _addressLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    _socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return isSupervised();
}
