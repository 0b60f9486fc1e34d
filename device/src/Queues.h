#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/ipc.h>
#include <sys/types.h>

namespace tarno
{
/// The device's end of the two System V message queues of the link (sysvipc(7)). Queues are created
/// or found by their keys, outlive the object, and are found again after somebody removed them. The
/// errors are errno values; nothing throws or allocates. One thread may receive while another
/// sends.
class Queues
{
public:
    /// Agent to device, and back.
    static constexpr key_t requestKey = 0x4008;
    static constexpr key_t answerKey = 0x4009;
    static constexpr long messageType = 0x9999;
    static constexpr std::size_t longestRequest = 256;
    /// An answer of a read has six bytes before its value of up to 252.
    static constexpr std::size_t longestAnswer = 258;

    struct Rules {
        /// 0: 0666, and any mode of an existing queue.
        mode_t mode = 0;
        bool checkOwner = false;
    };

    struct Bytes {
        const std::uint8_t *data = nullptr;
        std::size_t size = 0;
    };

    /// Where a message begins, and how many bytes it may have after its type.
    struct Room {
        void *message;
        std::uint8_t *bytes;
        std::size_t capacity;
    };

    template <std::size_t size>
    struct Message {
        long type;
        std::uint8_t bytes[size];

        [[nodiscard]] Room room() { return {.message = this, .bytes = bytes, .capacity = size}; }
    };

    /// The rest of a message that is longer than the room for it is lost.
    struct Buffers {
        Room incoming;
        Room outgoing;
    };

    Queues(const Rules &rules, const Buffers &buffers) : _rules(rules), _buffers(buffers) {}

    Queues(const Queues &) = delete;
    Queues &operator=(const Queues &) = delete;
    ~Queues() = default;

    /// Whether requests can be received; `send` opens the other queue by itself.
    [[nodiscard]] bool isOpen() const noexcept { return _requests.id != -1; }

    /// Creates or finds both queues. EPERM: an existing one breaks the rules.
    [[nodiscard]] int open();

    /// How many messages wait on the request queue; 0 if that cannot be found out.
    [[nodiscard]] std::size_t waitingRequests() const;

    /// Takes the first request, valid until the next call. EINTR, and ENOMSG unless `waits`; after
    /// any other error the request queue is closed. EIDRM: it was removed.
    [[nodiscard]] int receive(bool waits, Bytes &request);

    /// Sends one answer without blocking. Finds a queue again that was removed. EAGAIN: it is full;
    /// EMSGSIZE: the answer is longer than the room for it.
    [[nodiscard]] int send(const Bytes &answer);

    /// Removes the queues that this object created.
    [[nodiscard]] int removeOwn();

private:
    struct Queue {
        key_t key;
        int id = -1;
        bool isOwn = false;
    };

    [[nodiscard]] int openOne(Queue &queue) const;
    [[nodiscard]] int enforceRules(int queue) const;
    [[nodiscard]] static int remove(Queue &queue);

    Rules _rules;
    Buffers _buffers;
    Queue _requests{.key = requestKey};
    Queue _answers{.key = answerKey};
};
} // namespace tarno
