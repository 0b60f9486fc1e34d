#pragma once

#include "support/LinkQueues.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The kernel's cost of an exchange with the device and nothing else: one message each way on
/// queues that were looked up once. The baseline for everything that the agent adds.
class RawQueues
{
public:
    RawQueues();

    /// Sends the request and takes one answer; returns its length, or -1.
    std::ptrdiff_t exchange(const Frame &request);

    /// As `exchange`, with the other calls of the link: looks up both queues again and drains the
    /// answer queue before sending the request.
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
