#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

using Frame = std::vector<std::uint8_t>;

/// The system calls of the device link, answered within this process: two message queues as the
/// kernel keeps them, a device application behind them, and a clock that only moves while a call
/// waits. A script may make any call fail and any answer wrong; without one, and when it is used
/// up, everything succeeds and the device answers every request rightly and at once, so no wait is
/// endless. Linked in, it takes the place of the calls (linker option --wrap).
namespace simulatedLink
{
/// Empties the queues and lets the device answer rightly again.
void reset();
/// From now on this decides what fails and what the device answers. It must outlive its use.
void follow(FuzzedDataProvider &script);
/// What every object of the device holds: this, or a value of any kind and up to 80 bytes.
void everyObjectHolds(std::uint16_t attribute, const Frame &value);
void everyObjectHolds(FuzzedDataProvider &input);

/// Every request that reached the queue since `forgetRequests`; and whether all had the right type.
[[nodiscard]] const std::vector<Frame> &requests();
[[nodiscard]] bool allRequestsHadTheType();
void forgetRequests();
/// The message that the agent took last.
[[nodiscard]] const Frame &lastTaken();
/// Whether a timer call failed since `reset`.
[[nodiscard]] bool timersFailed();
[[nodiscard]] std::chrono::steady_clock::time_point now();
/// The right answer of the device to a read of this object.
[[nodiscard]] Frame rightAnswer(std::uint16_t objId);
} // namespace simulatedLink
