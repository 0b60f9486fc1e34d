#pragma once

#include "DeviceFrame.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The requests without an answer, in the order in which they were sent, so that a late answer is
/// never taken for another object's. Relies on the device answering in that order, each request at
/// most once: an answer settles its request and every one before it. Nothing expires. Names up to
/// `capacity` requests; beyond that the oldest lose their names but still count. Allocates nothing,
/// throws nothing, not locked: used only by `Exchange`.
class OutstandingRequests
{
public:
    /// More of the shortest requests (8 bytes) than a queue of the stock size (16384 bytes) holds.
    static constexpr std::size_t capacity = 2049;

    /// How a message from the device relates to the exchange in progress.
    enum class Match {
        /// Its answer, for certain or in all likelihood.
        own,
        /// The answer to an earlier request for the same object; its own may follow.
        sameObject,
        /// Names no outstanding request: the answer to an earlier one, or possibly to this one.
        foreign,
        /// The answer to an earlier request for another object.
        late
    };

    /// Counts requests of an earlier run, of any object and direction. They come before all others.
    void foundUnnamed(std::uint32_t count) noexcept;

    /// Starts a new exchange; its request is not sent yet.
    void begin(const deviceFrame::RequestName &own) noexcept;
    /// The request of this exchange reached the queue. If it did so before, the earlier one is
    /// probably lost.
    void sent() noexcept;

    /// A message was taken off the answer queue: settles what it answers.
    Match settle(std::span<const std::uint8_t> message) noexcept;

    /// This exchange used an answer that is probably its own. Its own may still follow.
    void likelyAnswered() noexcept;
    /// Probably every request has been answered, under foreign ids. Late answers under their own
    /// ids are still recognized.
    void likelyAllAnswered() noexcept;

    /// Whether every request has been answered.
    [[nodiscard]] bool inStep() const noexcept { return _unnamed == 0 && _count == 0; }

private:
    struct Request {
        deviceFrame::RequestName name;
        /// Probably answered already, or never to be answered.
        bool isDoubtful = false;
    };

    [[nodiscard]] std::size_t findSettled(std::span<const std::uint8_t> message) const noexcept;
    void removeFirst(std::size_t count) noexcept;

    std::array<Request, capacity> _requests{};
    std::size_t _count = 0;
    std::uint32_t _unnamed = 0;
    deviceFrame::RequestName _own{};
    /// The request of this exchange is the last in the list.
    bool _ownIsLast = false;
};
