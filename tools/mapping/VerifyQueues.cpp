#include "VerifyQueues.h"

#include "ComPortAdapter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include <sys/msg.h>
#include <unistd.h>

namespace
{
/// The largest payload with default kernel settings.
constexpr std::size_t largestMessage = 8192;
/// Asks for reading and writing.
constexpr int existing = 0600;

struct Message {
    long type = linkPort::messageType;
    std::array<std::uint8_t, largestMessage> payload{};
};

[[noreturn]] void fail(int error)
{
    if (error == EIDRM || error == EINVAL) {
        throw QueuesRemoved();
    }
    throw UnusableLink("the queues of the link cannot be used: " +
                       std::generic_category().message(error));
}

/// The queue with this key, or -1 if it does not exist.
int found(key_t key)
{
    const int queue = msgget(key, existing);
    if (queue == -1 && errno != ENOENT) {
        fail(errno);
    }
    return queue;
}

VerifyQueues::Bytes payloadOf(const Message &message, ssize_t size)
{
    const auto bytes = std::span(message.payload).first(static_cast<std::size_t>(size));
    return {bytes.begin(), bytes.end()};
}
} // namespace

bool VerifyQueues::find()
{
    _requests = found(linkPort::requestKey);
    _answers = found(linkPort::answerKey);
    return _requests != -1 && _answers != -1;
}

bool VerifyQueues::send(std::span<const std::uint8_t> request) const
{
    Message message;
    const std::size_t size = std::min(request.size(), message.payload.size());
    std::copy_n(request.begin(), size, message.payload.begin());
    if (msgsnd(_requests, &message, size, IPC_NOWAIT) == 0) {
        return true;
    }
    if (errno != EAGAIN) {
        fail(errno);
    }
    return false;
}

std::optional<VerifyQueues::Bytes> VerifyQueues::receive(const Deadline &deadline)
{
    Message message;
    const ssize_t size = _timer.receive(_answers, &message, message.payload.size(), deadline);
    if (size >= 0) {
        return payloadOf(message, size);
    }
    if (errno == E2BIG) {
        return takeWaiting();
    }
    if (errno != ETIMEDOUT) {
        fail(errno);
    }
    return std::nullopt;
}

std::optional<VerifyQueues::Bytes> VerifyQueues::takeWaiting() const
{
    Message message;
    ssize_t size = 0;
    do {
        size = msgrcv(_answers, &message, message.payload.size(), 0, IPC_NOWAIT | MSG_NOERROR);
    } while (size == -1 && errno == EINTR);
    if (size >= 0) {
        return payloadOf(message, size);
    }
    if (errno != ENOMSG) {
        fail(errno);
    }
    return std::nullopt;
}

std::size_t VerifyQueues::takeBack() const
{
    std::size_t taken = 0;
    Message message;
    while (requests().lastSender == getpid() &&
           msgrcv(_requests, &message, message.payload.size(), 0, IPC_NOWAIT | MSG_NOERROR) >= 0) {
        ++taken;
    }
    return taken;
}

QueueState VerifyQueues::stateOf(int queue)
{
    msqid_ds state{};
    if (msgctl(queue, IPC_STAT, &state) == -1) {
        fail(errno);
    }
    return {.waiting = static_cast<std::size_t>(state.msg_qnum),
            .lastSender = state.msg_lspid,
            .lastReceiver = state.msg_lrpid,
            .lastSent = static_cast<std::time_t>(state.msg_stime),
            .lastReceived = static_cast<std::time_t>(state.msg_rtime)};
}
