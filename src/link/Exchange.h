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

/// How long the link waits, and what it does with oversized answers.
struct LinkPolicy {
    /// Longest wait for an answer from a device that is alive; zero: unbounded.
    std::chrono::milliseconds answerWait = configuration::answerWait;
    /// The same after an exchange that received no message, until the device shows that it is
    /// alive.
    std::chrono::milliseconds silentAnswerWait = configuration::silentAnswerWait;
    /// At start-up: how long a request that the device took may stay unanswered before it is sent
    /// again.
    std::chrono::milliseconds startUpAnswerWait{3000};
    /// Whether an answer over the receive capacity is taken off the queue after the read that
    /// failed on it.
    bool dropOversizedAnswers = configuration::dropOversizedAnswers;
};

/// One request and its answer at a time: sends, waits, drops late answers, and tracks outstanding
/// requests. If none is outstanding, the next message is the answer, whatever it says. Otherwise
/// messages are matched with the outstanding requests: if a device answers under the ids of its
/// requests, its answer is never taken for another object's. Nothing throws. Not locked: the owner
/// makes one call at a time.
class Exchange
{
public:
    using Frame = std::span<const std::uint8_t>;
    /// An answer has at most this many bytes.
    static constexpr std::size_t answerCapacity = 1024;
    using AnswerBuffer = std::span<std::uint8_t, answerCapacity>;

    /// The outcome of a read.
    struct Answer {
        enum class Outcome { received, expired, failed };

        Outcome outcome = Outcome::failed;
        /// The received bytes, in the caller's buffer.
        Frame frame;
    };

    /// The port must be open; the exchange becomes its observer. Port and policy must outlive the
    /// exchange.
    Exchange(ComPortAdapter &port, const LinkPolicy &policy);
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;
    ~Exchange() = default;

    /// From now on the policy limits every wait. Before that, at start-up, a read waits
    /// indefinitely for its answer, and resends a request that could not be sent, or that left the
    /// queue and got no answer.
    void limitWaits() noexcept { _waitsLimited = true; }

    /// Call between two requests of a manager: no signal interrupts the process until the next
    /// exchange.
    void disarmTimer() { _port.disarmTimer(); }

    /// Sends a read request and waits for its answer. A wait that fails is logged by the port.
    Answer read(const deviceFrame::RequestName &name, Frame request, AnswerBuffer buffer);

    /// Sends a write request and takes one message as its answer, which must not be longer than the
    /// request. Logs the port's error line, whether or not a message came.
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

    // The exchange in progress.
    Clock::time_point _sentAt;
    Deadline _deadline;
    bool _gotMessage = false;
    bool _gotForeign = false;
    /// An answer for the same object, used unless a newer one comes.
    std::optional<std::size_t> _heldSize;
    std::array<std::uint8_t, answerCapacity> _heldBytes{};
};
