#pragma once

#include "Allocations.h"

#include <benchmark/benchmark.h>

/// Times an action and counts the allocations of one run. A wrong outcome, before or after the
/// timing, fails the benchmark, so that nothing broken is measured.
namespace measuring
{
/// Marks this benchmark, and with it the run of the program, as failed.
void fail(benchmark::State &state);
/// Whether any benchmark failed.
[[nodiscard]] bool anyFailed() noexcept;

template <class Action, class Check>
void measure(benchmark::State &state, const Action &action, const Check &isRight)
{
    // Allocations of the first use only are not part of the action.
    action();
    constexpr int counted = 16;
    const auto before = allocations::ofThisThread();
    for (int run = 0; run < counted; ++run) {
        action();
    }
    const auto made = allocations::ofThisThread() - before;
    if (!isRight()) {
        fail(state);
        return;
    }
    for ([[maybe_unused]] const auto iteration : state) {
        action();
    }
    if (!isRight()) {
        fail(state);
    }
    state.counters["allocations"] = static_cast<double>(made) / counted;
}
} // namespace measuring
