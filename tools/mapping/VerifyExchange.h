#pragma once

#include "DeviceFrame.h"
#include "VerifyQueues.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <utility>
#include <vector>

/// The user has ended the verification.
class Interrupted : public std::exception
{
};

/// Requests and their answers, with a strict eye: who was answered, under which id, how late, how
/// often and in which order. Waits 3 s for an answer and, as the agent, 40 ms once the device has
/// been silent. When an answer takes long, it asks for an object that the device has answered: if
/// that answer comes first, the other one does not come. Requests that nobody has taken are taken
/// back. Throws Interrupted, UnusableLink and QueuesRemoved.
class VerifyExchange
{
public:
    using Bytes = VerifyQueues::Bytes;
    using Clock = std::chrono::steady_clock;
    using Time = std::chrono::microseconds;
    using RequestName = deviceFrame::RequestName;

    /// unknown: the device is silent, for whatever reason.
    enum class Outcome { answered, silent, unknown };

    struct Answer {
        Outcome outcome = Outcome::unknown;
        Bytes frame;
        Time time{};
    };

    /// An answer to a request that was given up.
    struct LateAnswer {
        RequestName name;
        Bytes frame;
        Time time{};
        /// A later request was answered before.
        bool isOutOfOrder = false;
    };

    /// Requests that were sent without waiting for the answers in between.
    struct Row {
        unsigned sent = 0;
        unsigned unanswered = 0;
        /// The first object that was answered after a later one.
        std::optional<std::uint16_t> outOfOrder;
    };

    explicit VerifyExchange(VerifyQueues &queues) : _queues(queues) {}

    /// Finishes unless that was done.
    ~VerifyExchange();
    VerifyExchange(const VerifyExchange &) = delete;
    VerifyExchange &operator=(const VerifyExchange &) = delete;

    [[nodiscard]] Answer read(std::uint16_t linkId);
    [[nodiscard]] Answer ask(const RequestName &name, std::span<const std::uint8_t> request);
    /// Reads objects in turn, some at a time, for at most ten seconds.
    [[nodiscard]] Row readInRow(std::span<const std::uint16_t> linkIds, unsigned count);

    /// Waits for the answers to requests that were given up, but not longer than for one answer.
    void settle();
    /// Leaves no request and no answer behind, as far as the device answers at all.
    void finish();

    /// Late answers since the last call.
    [[nodiscard]] std::vector<LateAnswer> takeLate() { return std::exchange(_late, {}); }

    /// The requests that were answered again, once for each further answer.
    [[nodiscard]] const std::vector<RequestName> &answeredAgain() const { return _again; }

private:
    struct Outstanding {
        RequestName name;
        Clock::time_point sentAt;
        /// A later request was answered.
        bool isPassed = false;
    };

    struct Current {
        RequestName name;
        Clock::time_point sentAt;
        std::optional<Bytes> frame;
        Clock::time_point arrivedAt;
        /// The answer carries the id of the request.
        bool isOwn = false;
        Clock::time_point waitForOwn;
        bool isHurried = false;
        bool isMarked = false;
        bool isMarkAnswered = false;
        bool isHeard = false;
    };

    [[nodiscard]] std::optional<Bytes> wait(Clock::time_point deadline);
    [[nodiscard]] Clock::time_point deadline() const;
    [[nodiscard]] bool isDone() const;
    [[nodiscard]] bool canMark() const;
    [[nodiscard]] bool mark();
    void take(Bytes message);
    void takeOwn(Bytes message);
    void takeForeign(Bytes message);
    [[nodiscard]] bool takeLate(const Bytes &message);
    [[nodiscard]] static std::vector<Outstanding>::iterator
    requestOf(const Bytes &message, std::vector<Outstanding> &requests);
    void takeInRow(const Bytes &message, Row &row);
    void takeUnasked(const Bytes &message);
    [[nodiscard]] bool isExpected(const Bytes &message) const;
    void passAll();
    void surrender();
    void giveUp();
    void drain();
    [[nodiscard]] bool isAlone() const;
    void requireAlone() const;
    [[nodiscard]] Answer concluded();

    VerifyQueues &_queues;
    /// Of the exchange in progress.
    std::vector<Outstanding> _inFlight;
    /// Given up, but the device has taken them.
    std::vector<Outstanding> _outstanding;
    std::vector<LateAnswer> _late;
    std::vector<RequestName> _again;
    std::optional<RequestName> _marker;
    std::optional<RequestName> _previous;
    Current _current;
    bool _isSilent = false;
    bool _isFinished = false;
};
