#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

using Frame = std::vector<std::uint8_t>;

/// The system calls of the device link, answered within this process: two message queues as the
/// kernel keeps them, a device application behind them, and a clock that only moves while a call
/// waits. A script may make any call fail and any answer wrong, or only do what a device in order
/// may do; without one, and when it is used up, everything succeeds and the device answers every
/// request rightly and at once, so no wait is endless. Linked in, it takes the place of the calls
/// (linker option --wrap).
namespace simulatedLink
{
/// Empties the queues and lets the device answer rightly again.
void reset();
/// From now on this decides what fails and what the device answers. It must outlive its use.
void follow(FuzzedDataProvider &script);
/// The same, but the device keeps its order: it takes one request after the other, these first, and
/// answers each at most once, rightly, after any time. It may die with a request, and what waits in
/// the queues may be lost. Sends, receives and timers may fail.
void followInOrder(FuzzedDataProvider &script, const std::vector<Frame> &earlierRequests);
/// Ends the script, and lets the device finish what it has been asked.
void calmDown();
/// Time in which the agent does nothing.
void pass(std::chrono::milliseconds time);
/// What every object of the device holds: this, or a value of any kind and up to 80 bytes.
void everyObjectHolds(std::uint16_t attribute, const Frame &value);
void everyObjectHolds(FuzzedDataProvider &input);
/// Value, kind, width and write permission of every object follow from its id on the link.
void everyObjectNamesItself();

/// Every request that reached the queue since `forgetTraffic`; and whether all had the right type.
[[nodiscard]] const std::vector<Frame> &requests();
[[nodiscard]] bool allRequestsHadTheType();
/// Every message that the agent waited for and got since `forgetTraffic`.
[[nodiscard]] const std::vector<Frame> &answers();
void forgetTraffic();
/// Whether a timer call failed since `reset`.
[[nodiscard]] bool timersFailed();
[[nodiscard]] std::chrono::steady_clock::time_point now();
/// The right answer of the device to a read of this object.
[[nodiscard]] Frame rightAnswer(std::uint16_t objId);
} // namespace simulatedLink
