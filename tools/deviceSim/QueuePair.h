#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>

#include <sys/types.h>

/// The device's end of the two message queues of the link: receives requests and sends answers.
/// Finds the queues by their keys or creates them; they outlive the pair unless they are removed.
/// One thread may receive while another sends, but only one thread per direction.
class QueuePair
{
public:
    /// The largest payload with default kernel settings.
    static constexpr std::size_t largestMessage = 8192;

    enum class Received { request, interrupted, gone };

    /// Finds or creates both queues. Returns false and sets errno on failure.
    bool open();

    /// Waits for a request of any type, which `request` then returns. `gone`: the queue was removed
    /// or cannot be used; `open` finds or creates it again.
    Received receive();
    /// The last request, valid until the next `receive`.
    [[nodiscard]] std::span<const std::uint8_t> request() const;

    /// Sends one answer without blocking. Returns false and sets errno if the queue does not take
    /// it.
    bool send(std::span<const std::uint8_t> answer);

    /// Removes the queues that this pair created, never others.
    void removeOwn();

private:
    struct Message {
        long type = 0;
        std::array<std::uint8_t, largestMessage> payload{};
    };

    [[nodiscard]] int findOrCreate(key_t key);

    int _requestQueue = -1;
    int _answerQueue = -1;
    std::set<int> _made;
    Message _outgoing;
    Message _incoming;
    std::size_t _incomingSize = 0;
};
