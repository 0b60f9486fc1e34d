#pragma once

#include <functional>

#include <sys/types.h>

/// A child process that serves as a device application for as long as the object lives, and ends
/// with its parent at the latest. Throws std::system_error if it cannot be started.
class ServingProcess
{
public:
    /// The child exits when `serve` returns.
    explicit ServingProcess(const std::function<void()> &serve);
    ~ServingProcess();
    ServingProcess(const ServingProcess &) = delete;
    ServingProcess &operator=(const ServingProcess &) = delete;

private:
    pid_t _process;
};
