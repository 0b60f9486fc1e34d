#pragma once

#include "Oracle.h"

#include <cstdint>

/// What to explore: all schedules of up to `depth` steps, the short ones first.
struct Exploration {
    unsigned depth = 3;
    /// No more than about so many in all.
    std::uint64_t schedules = UINT64_MAX;
    unsigned disturbances = Oracle::noLimit;
    /// Processes that share the work.
    unsigned jobs = 1;
};

/// Runs them, prints a counterexample as a story and a summary. Whether there was none.
bool explore(const Exploration &exploration);
