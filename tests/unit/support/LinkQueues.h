#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

using Frame = std::vector<std::uint8_t>;

/// The device's side of the two queues, for tests that put and take messages by hand.
namespace linkQueues
{
/// Removes both queues with their messages.
void remove();
/// Puts an answer with any message type on the answer queue; fails the test if it cannot.
void putAnswer(const Frame &payload, long type = 1);
/// Puts a request on the request queue as an earlier run of the agent would have left it.
void putRequest(const Frame &payload);
/// The next request; nullopt if none comes in time.
std::optional<Frame> takeRequest(std::chrono::milliseconds within = std::chrono::milliseconds(0));
/// The message type of the last request taken.
long typeOfLastRequest();
/// The next answer, as the agent would get it; nullopt if there is none.
std::optional<Frame> takeAnswer();
std::size_t waitingAnswers();
std::size_t waitingRequests();
/// Fills the request queue until the kernel accepts no more.
void fillRequestQueue();
void emptyRequestQueue();
} // namespace linkQueues
