#pragma once

#include "DeviceFrame.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The requests without an answer, in the order in which they were sent, so that a late answer is
/// never taken for another object's. It relies on the device answering in that order, each request
/// at most once: an answer settles its request and every request before it. Nothing is forgotten by
/// time. Names `capacity` requests; beyond that the oldest lose their names but still count.
/// Allocates nothing, throws nothing, holds no lock: it belongs to `Exchange`.
class OutstandingRequests
{
public:
    /// More than a queue of the stock size (16384 bytes) holds of the shortest requests (8 bytes).
    static constexpr std::size_t capacity = 2049;

    /// What a message from the device is to the exchange under way.
    enum class Match {
        /// Its answer, or as far as anybody can tell.
        own,
        /// The answer to an earlier request for the same object; its own may follow.
        sameObject,
        /// It names no outstanding request: the answer to an earlier one, or maybe this one's.
        foreign,
        /// The answer to an earlier request for another object.
        late
    };

    /// Requests of an earlier run, of any object and direction. They come before all others.
    void foundUnnamed(std::uint32_t count) noexcept;

    /// A new exchange begins; its request is not sent yet.
    void begin(const deviceFrame::RequestName &own) noexcept;
    /// The request of this exchange reached the queue. When it did before, that one is likely lost.
    void sent() noexcept;

    /// A message was taken off the answer queue: settles what it answers.
    Match settle(std::span<const std::uint8_t> message) noexcept;

    /// This exchange used an answer that is likely its own. Its own may still follow.
    void likelyAnswered() noexcept;
    /// Likely every request has its answer, under a foreign id. Late answers under their own ids
    /// are still known.
    void likelyAllAnswered() noexcept;

    /// Whether every request has its answer.
    [[nodiscard]] bool inStep() const noexcept { return _unnamed == 0 && _count == 0; }

private:
    struct Request {
        deviceFrame::RequestName name;
        /// Probably it has its answer, or never gets one.
        bool isDoubtful = false;
    };

    [[nodiscard]] std::size_t findSettled(std::span<const std::uint8_t> message) const noexcept;
    void removeFirst(std::size_t count) noexcept;

    std::array<Request, capacity> _requests{};
    std::size_t _count = 0;
    std::uint32_t _unnamed = 0;
    deviceFrame::RequestName _own{};
    /// The request of this exchange is the last of all.
    bool _ownIsLast = false;
};
