#pragma once

#include "VerifyQueues.h"

#include <optional>
#include <string>

/// A running process, by its id and the name of its program.
struct LinkUser {
    pid_t process = 0;
    std::string program;

    /// "tarnoDeviceSim (process 4711)"
    [[nodiscard]] std::string text() const;
};

/// The running programs at either end of the link, as far as the last use of the queues shows: the
/// agent sends requests and receives answers, the device application does the opposite.
struct LinkUsers {
    std::optional<LinkUser> agent;
    std::optional<LinkUser> device;
};

[[nodiscard]] LinkUsers linkUsers(const QueueState &requests, const QueueState &answers);
