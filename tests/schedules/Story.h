#pragma once

#include <chrono>

/// What happens in a schedule, a line for each event on standard output, with the virtual time.
/// Only told when a counterexample is run again; while schedules are explored nothing is formatted.
namespace story
{
inline bool s_isTold = false;

/// The line as printf(3) would format it.
[[gnu::format(printf, 2, 3)]] void print(std::chrono::nanoseconds time, const char *format, ...);
} // namespace story
