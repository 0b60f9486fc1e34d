#pragma once

#include "support/LinkQueues.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// What the kernel charges for an exchange with the device, and nothing else: one message each way
/// on queues that were looked up once. The measure of everything that the agent adds.
class RawQueues
{
public:
    RawQueues();

    /// Sends the request and takes one answer; how many bytes it had, or -1.
    std::ptrdiff_t exchange(const Frame &request);

    /// The same with the calls around it that make the link what it is: both queues are looked up
    /// anew, and what waits on the answer queue is taken off before the request goes out.
    std::ptrdiff_t drainedExchange(const Frame &request);

private:
    struct Message {
        long type;
        std::array<std::uint8_t, 4096> payload;
    };

    Message _message{};
    int _requestQueue;
    int _answerQueue;
};
