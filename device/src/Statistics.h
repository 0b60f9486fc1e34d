#pragma once

#include "tarnodevice.h"

#include <atomic>
#include <cstdint>

namespace tarno
{
/// A number that one thread increments and any thread reads.
class Counter
{
public:
    void increment() noexcept { _number.store(read() + 1, std::memory_order_relaxed); }

    [[nodiscard]] std::uint64_t read() const noexcept
    {
        return _number.load(std::memory_order_relaxed);
    }

private:
    std::atomic<std::uint64_t> _number{0};
};

/// As tarno_statistics.
struct Statistics {
    Counter reads;
    Counter writes;
    Counter answers;
    Counter errors;
    Counter unknown;
    Counter unanswered;
    Counter malformed;
    Counter oversized;
    Counter lostAnswers;
    Counter discardedRequests;
    Counter reopened;
    Counter interrupted;

    [[nodiscard]] tarno_statistics copy() const noexcept
    {
        return {.reads = reads.read(),
                .writes = writes.read(),
                .answers = answers.read(),
                .errors = errors.read(),
                .unknown = unknown.read(),
                .unanswered = unanswered.read(),
                .malformed = malformed.read(),
                .oversized = oversized.read(),
                .lost_answers = lostAnswers.read(),
                .discarded_requests = discardedRequests.read(),
                .reopened = reopened.read(),
                .interrupted = interrupted.read()};
    }
};
} // namespace tarno
