#pragma once

#include "Oracle.h"

#include <cstdint>

/// What to explore: all schedules of up to `depth` steps, the short ones first.
struct Exploration {
    unsigned depth = 3;
    /// An approximate limit on the total number.
    std::uint64_t schedules = UINT64_MAX;
    unsigned disturbances = Oracle::noLimit;
    /// Processes that share the work.
    unsigned jobs = 1;
};

/// Runs them and prints a summary, and a counterexample as a story. Returns whether there was none.
bool explore(const Exploration &exploration);
