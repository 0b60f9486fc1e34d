#pragma once

#include <cstdint>

/// Counts the answers that the device still owes to requests nobody waits for any more, so that a
/// late answer is never taken for the answer to another object. Nothing is counted until a wait
/// expires, an answer cannot be taken or requests of an earlier run are found; from then every
/// request sent adds one and every message taken off the answer queue subtracts one, until the
/// count is zero and the link is in step again. Belongs to `DataManage`, under its lock.
class OwedAnswers
{
public:
    /// Requests of an earlier run are answered or still wait to be.
    void requestsFound(std::uint32_t count) noexcept;
    /// A new exchange begins; what is owed now is owed to older requests.
    void exchangeBegins() noexcept;
    void requestSent() noexcept;
    void messagesTaken(std::uint32_t count) noexcept;
    /// The answer of this exchange could not be taken and may come yet. A request that was never
    /// sent owes nothing.
    void answerMissed(bool requestWasSent) noexcept;
    /// The same after a wait that expired. When messages were discarded in it, the rest is
    /// forgiven: a device that was restarted in between never pays.
    void waitExpired(bool requestWasSent, bool discardedSome) noexcept;

    /// Whether the next message may be the answer to an older request.
    [[nodiscard]] bool olderAnswersOwed() const noexcept { return _owed > _own; }

private:
    std::uint32_t _owed = 0;
    std::uint32_t _own = 0;
};
