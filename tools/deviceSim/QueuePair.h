#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>

#include <sys/types.h>

/// The device's end of the two message queues of the link: requests come in, answers go out.
/// Queues are found by their keys, or made; they outlive the pair unless they are removed.
/// One thread may receive while another sends; each direction has one thread at a time.
class QueuePair
{
public:
    /// The largest payload that a stock kernel takes.
    static constexpr std::size_t largestMessage = 8192;

    enum class Received { request, interrupted, gone };

    /// Finds or makes both queues. False, with errno set, when one cannot be had.
    bool open();

    /// Waits for a request of any type. `request` is it; `gone`: the queue is no more, or cannot be
    /// used, and `open` finds or makes it again.
    Received receive();
    /// What was received last, until the next `receive`.
    [[nodiscard]] std::span<const std::uint8_t> request() const;

    /// Sends one answer without ever waiting. False, with errno set, when the queue did not take
    /// it.
    bool send(std::span<const std::uint8_t> answer);

    /// Removes the queues that this pair made, never those that were there before.
    void removeOwn();

private:
    struct Message {
        long type = 0;
        std::array<std::uint8_t, largestMessage> payload{};
    };

    [[nodiscard]] int findOrMake(key_t key);

    int _requestQueue = -1;
    int _answerQueue = -1;
    std::set<int> _made;
    Message _outgoing;
    Message _incoming;
    std::size_t _incomingSize = 0;
};
