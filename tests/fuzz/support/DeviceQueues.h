#pragma once

#include <cstdint>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

using Frame = std::vector<std::uint8_t>;

/// The system calls of the device library, answered within this process: a request queue with at
/// most one message, an answer queue, and timers that never expire. A script may make any call
/// fail. Linked in through the linker option --wrap.
namespace deviceQueues
{
/// Empties the queues; every call succeeds.
void reset();
/// From now on the script decides what fails. It must outlive its use.
void follow(FuzzedDataProvider &script);
/// Ends the script.
void calmDown();

/// The only message on the request queue. Forgets what was sent before.
void put(const Frame &request);
/// That message.
[[nodiscard]] const Frame &request();
/// Whether it was received.
[[nodiscard]] bool wasTaken();
/// The answer that the queue took since `put`; empty if it took none.
[[nodiscard]] const Frame &sent();
/// How many it took.
[[nodiscard]] unsigned sends();
/// Whether any call has failed since `put`.
[[nodiscard]] bool failed();
} // namespace deviceQueues
