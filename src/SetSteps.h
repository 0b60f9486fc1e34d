#pragma once

#include <array>
#include <cstddef>

/// Remembers the most recent set steps (test, commit, undo, clean up) from the master agent, so
/// that each step is carried out once however often the master repeats it. Steps are identified by
/// session, transaction and command (RFC 2741, 7.2.4). The number is bounded: the oldest is
/// forgotten first. Not locked: used only on the thread that serves requests.
class SetSteps
{
public:
    /// Records the step and returns whether it had been seen before.
    bool isRepeated(const void *session, long transaction, int command);
    /// Whether a step of the transaction has been seen in a session that is still open.
    [[nodiscard]] bool knows(long transaction) const;
    /// The session is closed: forgets everything seen in it.
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
