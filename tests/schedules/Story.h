#pragma once

#include <chrono>

/// The events of a schedule, one line each on standard output, with the virtual time. Printed only
/// when a counterexample is run again; while schedules are explored nothing is formatted.
namespace story
{
inline bool s_isTold = false;

/// Prints a line, formatted as by printf(3).
[[gnu::format(printf, 2, 3)]] void print(std::chrono::nanoseconds time, const char *format, ...);
} // namespace story
