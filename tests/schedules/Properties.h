#pragma once

#include <chrono>
#include <cstdint>

/// What must hold in every schedule, by number:
///  1  a value, kind, width or write permission of one object is never used for another
///  2  once the device answers at once again, each object fails at most once more, and from its
///     second good read on its value is the current one
///  3  in service an exchange ends within its wait: 3 s, 40 ms after one that waited in vain
///  4  a start ends within 10 s once the device answers, has its answers then, and doubles no
///     request that still waits
///  5  a device that answers under other ids is served at once while no request lacks its answer,
///     and within 10 s of polling after a disturbance
///  6  in step each read is one frame and takes as long as the device
/// Where a device spoils its frames, 3, 4 and the second half of 5 must hold.
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
/// A single operation that is not done by then never will be.
inline constexpr std::chrono::milliseconds operationBound = 60s;

/// The properties to look at, a bit for each number.
inline std::uint32_t s_checked = all;
} // namespace properties

/// Ends a schedule in which an operation would never end.
struct NeverEnds {
};
