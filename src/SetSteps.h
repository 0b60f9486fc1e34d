#pragma once

#include <array>
#include <cstddef>

/// Remembers the latest steps of sets (test, commit, undo, clean up) that came from the master
/// agent, so that a step is carried out once however often the master repeats it. Steps are told
/// apart by session, transaction and command (RFC 2741, 7.2.4). Holds a bounded number, the oldest
/// goes first; not locked: it belongs to the one thread that serves requests.
class SetSteps
{
public:
    /// Whether this step came before; from now on it has.
    bool isRepeated(const void *session, long transaction, int command);
    /// Whether any step of the transaction came in a session that is still open.
    [[nodiscard]] bool knows(long transaction) const;
    /// The session is closed, and all that came in it is of the past.
    void forgetAll();

private:
    struct Step {
        const void *session = nullptr;
        long transaction = 0;
        int command = 0;

        bool operator==(const Step &) const = default;
    };

    std::array<Step, 256> _steps{};
    std::size_t _oldest = 0;
};
