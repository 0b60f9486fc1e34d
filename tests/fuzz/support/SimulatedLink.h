#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

using Frame = std::vector<std::uint8_t>;

/// The system calls of the device link, answered within this process: two message queues with the
/// kernel's semantics, a device application behind them, and a clock that advances only while a
/// call waits. A script may make any call fail and any answer wrong, or be restricted to what a
/// device in order may do. Without a script, or when it is used up, every call succeeds and the
/// device answers every request correctly and at once, so every wait ends. Linked in through the
/// linker option --wrap.
namespace simulatedLink
{
/// Empties the queues and makes the device answer correctly again.
void reset();
/// From now on the script decides what fails and what the device answers. It must outlive its use.
void follow(FuzzedDataProvider &script);
/// As `follow`, but the device keeps its order: it takes one request after another, these first,
/// and answers each at most once, correctly, after any time. It may die with a request, and queued
/// messages may be lost. Sends, receives and timers may fail.
void followInOrder(FuzzedDataProvider &script, const std::vector<Frame> &earlierRequests);
/// Ends the script and lets the device finish its outstanding requests.
void calmDown();
/// Lets time pass in which the agent does nothing.
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
/// Whether a timer call has failed since `reset`.
[[nodiscard]] bool timersFailed();
[[nodiscard]] std::chrono::steady_clock::time_point now();
/// The device's correct answer to a read of this object.
[[nodiscard]] Frame rightAnswer(std::uint16_t objId);
} // namespace simulatedLink
