#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>

/// The channel to a service manager that named a socket in NOTIFY_SOCKET (systemd and others).
/// Takes the variables out of the environment, because programs that this process starts are not
/// the service. Sending never waits and never ends the process. Without NOTIFY_SOCKET it leaves the
/// environment alone, opens nothing, and every call returns at once.
class ServiceNotifier
{
public:
    ServiceNotifier();
    ~ServiceNotifier();
    ServiceNotifier(const ServiceNotifier &) = delete;
    ServiceNotifier &operator=(const ServiceNotifier &) = delete;

    [[nodiscard]] bool isSupervised() const noexcept { return _socket != -1; }

    /// How often to call `keepAlive`; nullopt if the manager has no watchdog on this process.
    [[nodiscard]] std::optional<std::chrono::microseconds> keepAlivePeriod() const;

    /// Lines of the form NAME=VALUE, separated by newlines. Whether the message was sent.
    bool send(std::string_view message) const;

    /// Tells the watchdog that the process is alive, unless it was told within the last period.
    void keepAlive();

private:
    using Clock = std::chrono::steady_clock;

    bool open(std::string_view name);

    sockaddr_un _address{};
    socklen_t _addressLength = 0;
    int _socket = -1;
    /// Zero: no watchdog.
    std::chrono::microseconds _watchdogInterval{0};
    Clock::time_point _lastKeptAlive;
};
