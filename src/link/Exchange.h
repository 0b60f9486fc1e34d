#pragma once

#include "ComPortAdapter.h"
#include "Configuration.h"
#include "DeviceFrame.h"
#include "OutstandingRequests.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// How long the link waits and what it does with answers that it cannot take.
struct LinkPolicy {
    /// Longest wait for an answer of a device that is alive; zero: unbounded.
    std::chrono::milliseconds answerWait = configuration::answerWait;
    /// The same after an exchange that got no message, until the device shows that it is alive.
    std::chrono::milliseconds silentAnswerWait = configuration::silentAnswerWait;
    /// In start-up: how long a request that the device took may stay unanswered before it is sent
    /// again.
    std::chrono::milliseconds startUpAnswerWait{3000};
    /// Whether an answer over the receive capacity is taken off the queue after the read it failed.
    bool dropOversizedAnswers = configuration::dropOversizedAnswers;
};

/// One request and its answer at a time: sends, waits, drops late answers, and remembers what is
/// outstanding. While every request has its answer, the next message is the answer, whatever it
/// says. Otherwise a message is matched with what is outstanding: a device that answers under the
/// ids of its requests never has an answer taken for another object's. Nothing throws. It holds no
/// lock: its owner makes one call at a time.
class Exchange
{
public:
    using Frame = std::span<const std::uint8_t>;
    /// An answer has at most this many bytes.
    static constexpr std::size_t answerCapacity = 1024;
    using AnswerBuffer = std::span<std::uint8_t, answerCapacity>;

    /// How a read ended.
    struct Answer {
        enum class Outcome { received, expired, failed };

        Outcome outcome = Outcome::failed;
        /// What was received, in the caller's buffer.
        Frame frame;
    };

    /// The port is open, and the exchange becomes its observer. Both outlive the exchange.
    Exchange(ComPortAdapter &port, const LinkPolicy &policy);
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;
    ~Exchange() = default;

    /// From now on no wait exceeds the policy. Before, in start-up, a read waits for its answer as
    /// long as it takes, and sends a request again that could not be sent, or that left the queue
    /// and brought no answer.
    void limitWaits() noexcept { _waitsLimited = true; }

    /// Between one request of a manager and the next: until the next exchange nothing interrupts
    /// the process.
    void disarmTimer() { _port.disarmTimer(); }

    /// Sends a read request and waits for its answer. A wait that fails prints the port's line.
    Answer read(const deviceFrame::RequestName &name, Frame request, AnswerBuffer buffer);

    /// Sends a write request and takes one message off as its answer, which must not be longer than
    /// the request. Prints the port's line, whether or not a message came.
    void write(const deviceFrame::RequestName &name, Frame request);

private:
    using Clock = std::chrono::steady_clock;
    using Match = OutstandingRequests::Match;

    void begin(const deviceFrame::RequestName &name, Frame request);
    void send(Frame request);
    void askAgain(Frame request, int error);
    [[nodiscard]] bool isLost(int error) const;
    [[nodiscard]] Deadline firstDeadline() const;
    [[nodiscard]] Deadline liveDeadline() const;
    void messageTaken() noexcept;
    [[nodiscard]] bool isAnswer(Frame message);
    void hold(Frame message);
    [[nodiscard]] Answer useHeld(AnswerBuffer buffer);
    [[nodiscard]] Answer missed(int error);

    ComPortAdapter &_port;
    const LinkPolicy &_policy;
    OutstandingRequests _outstanding;
    bool _waitsLimited = false;
    bool _deviceSilent = false;

    // The exchange under way.
    Clock::time_point _sentAt;
    Deadline _deadline;
    bool _gotMessage = false;
    bool _gotForeign = false;
    /// An answer of the same object that is used unless a newer one comes.
    std::optional<std::size_t> _heldSize;
    std::array<std::uint8_t, answerCapacity> _heldBytes{};
};
