#pragma once

#include <chrono>
#include <cstdint>

/// What must hold in every schedule, by number:
///  1  a value, kind, width or write permission of one object is never used for another
///  2  once the device answers at once again, each object fails at most once more, and from its
///     second good read on its value is the current one
///  3  in service an exchange ends within its deadline: 3 s, or 40 ms after one that got nothing
///  4  a start ends within 10 s once the device answers, has its answers then, and never resends a
///     request that is still queued
///  5  a device that answers under other ids is served at once while no request is outstanding,
///     and within 10 s of polling after a disturbance
///  6  in step each read is one frame and takes as long as the device
/// If a device spoils its frames, 3, 4 and the second half of 5 must hold.
namespace properties
{
using namespace std::chrono_literals;

enum Number : std::uint8_t {
    ownValue = 1,
    servedAgain,
    boundedWait,
    startEnds,
    foreignIds,
    inStep
};

inline constexpr std::uint32_t all = 0x7E;
inline constexpr std::chrono::milliseconds answerWait = 3s;
inline constexpr std::chrono::milliseconds silentAnswerWait = 40ms;
inline constexpr std::chrono::milliseconds startBound = 10s;
inline constexpr std::chrono::milliseconds recoveryBound = 10s;
/// A single operation that takes longer than this will never end.
inline constexpr std::chrono::milliseconds operationBound = 60s;

/// The properties to check, one bit for each number.
inline std::uint32_t s_checked = all;
} // namespace properties

/// Ends a schedule in which an operation would never end.
struct NeverEnds {
};
