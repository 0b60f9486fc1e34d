#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// One exchange with a device application that serves through the device library, against one with
/// a process that does nothing but take a message and send another. Both answer one read of the
/// same object; they take turns.
namespace deviceExchanges
{
struct Round {
    /// Nanoseconds of an exchange.
    double raw;
    double library;
};

/// Throws std::runtime_error if an answer is wrong.
[[nodiscard]] std::vector<Round> measure(unsigned rounds, std::uint32_t exchangesEach);
} // namespace deviceExchanges
