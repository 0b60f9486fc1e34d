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
    /// A longer request is received as its first bytes, with its length cut to one more than this.
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

    explicit Queues(const Rules &rules) : _rules(rules) {}

    Queues(const Queues &) = delete;
    Queues &operator=(const Queues &) = delete;
    ~Queues() = default;

    [[nodiscard]] bool isOpen() const noexcept { return _requests != -1 && _answers != -1; }

    /// Creates or finds both queues. EPERM: an existing one breaks the rules.
    [[nodiscard]] int open();

    /// How many messages wait on the request queue; 0 if that cannot be found out.
    [[nodiscard]] std::size_t waitingRequests() const;

    /// Takes the first request, valid until the next call. EINTR, and ENOMSG unless `waits`; after
    /// any other error the queues are closed.
    [[nodiscard]] int receive(bool waits, Bytes &request);

    /// Sends one answer of at most `longestAnswer` bytes without blocking. Finds a queue again that
    /// was removed. EAGAIN: it is full.
    [[nodiscard]] int send(const Bytes &answer);

private:
    template <std::size_t size>
    struct Message {
        long type;
        std::uint8_t bytes[size];
    };

    [[nodiscard]] int openOne(key_t key, int &queue) const;
    [[nodiscard]] int enforceRules(int queue) const;

    Rules _rules;
    int _requests = -1;
    int _answers = -1;
    Message<longestRequest + 1> _incoming{};
    Message<longestAnswer> _outgoing{};
};
} // namespace tarno
