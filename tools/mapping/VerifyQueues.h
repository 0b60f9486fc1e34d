#pragma once

#include "ReceiveTimer.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

#include <sys/types.h>

/// The link cannot be used: another program uses it, or this user must not.
class UnusableLink : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Somebody removed the queues meanwhile.
class QueuesRemoved : public std::runtime_error
{
public:
    QueuesRemoved() : std::runtime_error("the queues of the link were removed") {}
};

/// What the kernel says of a queue. Processes of other PID namespaces are 0.
struct QueueState {
    std::size_t waiting = 0;
    pid_t lastSender = 0;
    pid_t lastReceiver = 0;
    std::time_t lastSent = 0;
    std::time_t lastReceived = 0;
};

/// The agent's end of the two queues of the link, for a program that leaves no trace: it never
/// creates a queue, and takes back what it has sent. It keeps to the queues that it has found;
/// every use of a removed one throws QueuesRemoved. Answers of any length are received whole.
class VerifyQueues
{
public:
    using Bytes = std::vector<std::uint8_t>;

    /// Whether there are both queues. Throws UnusableLink if this user must not use them.
    [[nodiscard]] bool find();

    [[nodiscard]] QueueState requests() const { return stateOf(_requests); }

    [[nodiscard]] QueueState answers() const { return stateOf(_answers); }

    /// Never blocks; false if the queue is full.
    [[nodiscard]] bool send(std::span<const std::uint8_t> request) const;
    /// The next answer; nothing if none came until the deadline.
    [[nodiscard]] std::optional<Bytes> receive(const Deadline &deadline);
    /// The next answer if one is waiting.
    [[nodiscard]] std::optional<Bytes> takeWaiting() const;
    /// Takes the requests off the queue that nobody has received, unless another process has sent
    /// there since; returns their number.
    [[nodiscard]] std::size_t takeBack() const;

    /// Call after the last `receive` for now: no signal interrupts what follows.
    void rest() { _timer.disarm(); }

private:
    [[nodiscard]] static QueueState stateOf(int queue);

    int _requests = -1;
    int _answers = -1;
    ReceiveTimer _timer;
};
