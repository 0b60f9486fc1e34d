#pragma once

#include "ReceiveTimer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include <sys/ipc.h>

/// The two System V message queues between the agent and the device application (sysvipc(7)), which
/// uses the same keys with the roles swapped.
namespace linkPort
{
/// The agent sends requests to this queue.
inline constexpr key_t requestKey = 0x4008;
/// The agent receives answers from this queue.
inline constexpr key_t answerKey = 0x4009;
/// Type of every message that the agent sends; answers may have any type. On the queue it is the
/// platform's long: 4 bytes on the target, 8 on a 64-bit host.
inline constexpr long messageType = 0x9999;
inline constexpr int queueFlags = IPC_CREAT | 0666;
/// Payload limits in bytes.
inline constexpr std::size_t largestSend = 2048;
inline constexpr std::size_t largestReceive = 4096;
inline constexpr std::size_t largestDrained = 100;
} // namespace linkPort

/// The agent's only channel to the device application: moves blocks of bytes over a pair of queues
/// without interpreting them. Every exchange looks up its queues again, so a queue that was removed
/// and recreated is found. Queues outlive the port. Nothing throws. Not locked: the owner makes one
/// call at a time.
class ComPortAdapter
{
public:
    using Payload = std::span<const std::uint8_t>;
    using Observer = std::function<void(Payload)>;

    ComPortAdapter() = default;
    virtual ~ComPortAdapter() = default;
    ComPortAdapter(const ComPortAdapter &) = delete;
    ComPortAdapter &operator=(const ComPortAdapter &) = delete;

    /// Creates or finds both queues. A second call first removes them and their messages. Always 0.
    std::int32_t open();

    /// From now on `observer` sees every message that is taken off the answer queue and not
    /// returned to the caller. It must not throw or call the port.
    void observeDiscarded(Observer observer);

    /// Discards the messages waiting on the answer queue, up to the first with more than 100
    /// payload bytes, which stays there along with everything behind it.
    void drain();
    /// As `drain`, but with another limit, at most that of a receive.
    void drainUpTo(std::size_t longest);

    /// Takes the first answer of any type: at most min(size, 4096) payload bytes into `buffer`,
    /// without the message type. Blocks until one arrives or the deadline passes. Returns the
    /// payload length, or -1 with the error logged and errno set: ETIMEDOUT; E2BIG (the answer is
    /// longer and stays queued); EFAULT (no buffer was given and one answer was consumed); or
    /// another error of msgrcv(2).
    std::int32_t read(void *buffer, std::uint32_t size, const Deadline &deadline = {});

    /// As `read`, but logs nothing: the caller may do so with `printFailure`.
    std::int32_t receive(void *buffer, std::uint32_t size, const Deadline &deadline);

    /// Logs a failed `read`.
    static void printFailure(int error);

    /// Sends the first min(length, 2048) bytes without ever blocking. Returns that number even if
    /// the queue did not take them, which is logged; `sent` tells the difference.
    std::int32_t write(const void *data, std::uint32_t length);

    /// As `write`, but logs nothing. Returns whether the queue took the bytes.
    bool send(const void *data, std::uint32_t length);

    /// Whether the last `write` or `send` reached the queue.
    [[nodiscard]] bool sent() const noexcept { return _sent; }

    /// The number of messages waiting on the queue that was last looked up; 0 if unknown.
    [[nodiscard]] std::uint32_t waitingRequests() const;
    [[nodiscard]] std::uint32_t waitingAnswers() const;

    /// Whether the last `read` or `receive` found or created its queue.
    [[nodiscard]] bool hasAnswerQueue() const noexcept { return readQueueId != -1; }

    /// Discards the first answer, whatever its size.
    void dropAnswer();

    /// Call after the last `read` for now: no signal of its deadline interrupts what follows.
    void disarmTimer();

    /// Removes both queues and their messages. Always 0.
    std::int32_t removeQueues();

private:
    void findQueues();
    void discarded(Payload payload) const;

    key_t readKey = linkPort::answerKey;
    key_t writeKey = linkPort::requestKey;
    int readQueueId = -1;
    int writeQueueId = -1;
    bool opened = false;
    bool _sent = false;
    Observer _observer;
    ReceiveTimer _receiveTimer;
};
