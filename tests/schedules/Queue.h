#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// A message in transit: a frame, and what the simulation knows about it.
struct Message {
    /// The number of the request, or of the one being answered; from 1.
    std::uint32_t number;
    /// The agent that sent the request, from 1: each start creates another.
    std::uint32_t agent;
    /// Payload bytes; those beyond `bytes` are zero.
    std::uint32_t size;
    std::array<std::uint8_t, 32> bytes;
};

/// A message queue that can be removed and recreated, which changes its id. Allocates nothing.
class Queue
{
public:
    explicit Queue(int firstId) : _id(firstId) {}

    /// Returns its id. Creates the queue if it does not exist.
    int make() noexcept
    {
        _exists = true;
        return _id;
    }

    void remove() noexcept
    {
        if (_exists) {
            _exists = false;
            _id += idStep;
            clear();
        }
    }

    [[nodiscard]] bool exists() const noexcept { return _exists; }

    [[nodiscard]] bool hasId(int id) const noexcept { return _exists && _id == id; }

    [[nodiscard]] bool isEmpty() const noexcept { return _taken == _put; }

    [[nodiscard]] bool isFull() const noexcept { return size() == capacity; }

    [[nodiscard]] std::size_t size() const noexcept { return _put - _taken; }

    /// From 0, the oldest.
    [[nodiscard]] const Message &at(std::size_t index) const noexcept
    {
        return _messages[(_taken + index) % capacity];
    }

    void clear() noexcept { _taken = _put; }

    Message &put() noexcept { return _messages[_put++ % capacity]; }

    const Message &take() noexcept { return _messages[_taken++ % capacity]; }

private:
    static constexpr std::size_t capacity = 64;
    static constexpr int idStep = 2;

    std::array<Message, capacity> _messages;
    std::size_t _taken = 0;
    std::size_t _put = 0;
    int _id;
    bool _exists = false;
};
