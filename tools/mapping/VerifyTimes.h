#pragma once

#include <chrono>

/// The times that matter to an answer of the device.
namespace verifyTimes
{
/// The agent's wait once the device has been silent.
inline constexpr std::chrono::milliseconds silentWait{40};
/// The master repeats a request.
inline constexpr std::chrono::milliseconds repetition{1000};
/// The agent gives up.
inline constexpr std::chrono::milliseconds answerWait{3000};
} // namespace verifyTimes
