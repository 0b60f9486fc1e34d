#pragma once

#include "ReceiveTimer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include <sys/ipc.h>

/// The two System V message queues between the agent and the device application (sysvipc(7)).
/// The device application uses the same keys with the roles swapped.
namespace linkPort
{
/// The agent sends requests here.
inline constexpr key_t requestKey = 0x4008;
/// The agent takes answers from here.
inline constexpr key_t answerKey = 0x4009;
/// Type of every message that the agent sends; answers may have any. On the queue it is the
/// platform's long: 4 bytes on the target, 8 on a 64-bit host.
inline constexpr long messageType = 0x9999;
inline constexpr int queueFlags = IPC_CREAT | 0666;
/// Payload limits in bytes.
inline constexpr std::size_t largestSend = 2048;
inline constexpr std::size_t largestReceive = 4096;
inline constexpr std::size_t largestDrained = 100;
} // namespace linkPort

/// The agent's only channel to the device application: moves byte blocks over a pair of queues.
/// It knows nothing of what the blocks mean. Every exchange looks its queues up anew, so a queue
/// that was removed and made again is found. Queues outlive the port; no operation throws. It holds
/// no lock: its owner makes one call at a time.
class ComPortAdapter
{
public:
    using Payload = std::span<const std::uint8_t>;
    using Observer = std::function<void(Payload)>;

    ComPortAdapter() = default;
    virtual ~ComPortAdapter() = default;
    ComPortAdapter(const ComPortAdapter &) = delete;
    ComPortAdapter &operator=(const ComPortAdapter &) = delete;

    /// Makes or finds both queues. A second call removes them first, with all they hold.
    /// Always 0.
    std::int32_t open();

    /// From now on sees every message that is taken off the answer queue and not handed out. It
    /// must not throw or call the port.
    void observeDiscarded(Observer observer);

    /// Discards the messages waiting on the answer queue, up to the first of more than 100 payload
    /// bytes, which stays with all behind it.
    void drain();
    /// The same with another limit, at most that of a receive.
    void drainUpTo(std::size_t longest);

    /// Takes the first answer, of any type: at most min(size, 4096) payload bytes into `buffer`,
    /// without the message type. Blocks until one arrives or the deadline passes. The payload
    /// length, or -1 with its errno line printed and errno set: ETIMEDOUT; E2BIG (the answer is
    /// longer and stays queued); EFAULT (no buffer was given and one answer was consumed); or
    /// another of msgrcv(2).
    std::int32_t read(void *buffer, std::uint32_t size, const Deadline &deadline = {});

    /// As `read`, but prints nothing: the caller may do so with `printFailure`.
    std::int32_t receive(void *buffer, std::uint32_t size, const Deadline &deadline);

    /// The line of a failed `read`.
    static void printFailure(int error);

    /// Sends the first min(length, 2048) bytes without ever blocking, and returns that number also
    /// when the queue did not take them, which prints a line: `sent` tells.
    std::int32_t write(const void *data, std::uint32_t length);

    /// As `write`, but prints nothing. Whether the queue took the bytes.
    bool send(const void *data, std::uint32_t length);

    /// Whether the last `write` or `send` reached the queue.
    [[nodiscard]] bool sent() const noexcept { return _sent; }

    /// How many messages wait on the queues last looked up; 0 when that cannot be known.
    [[nodiscard]] std::uint32_t waitingRequests() const;
    [[nodiscard]] std::uint32_t waitingAnswers() const;

    /// Whether the last `read` or `receive` found or made its queue.
    [[nodiscard]] bool hasAnswerQueue() const noexcept { return readQueueId != -1; }

    /// Discards the first answer, whatever its size.
    void dropAnswer();

    /// After the last `read` for now: no signal of its deadline interrupts what follows.
    void disarmTimer();

    /// Removes both queues with all they hold. Always 0.
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
