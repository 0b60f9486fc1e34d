#include "ComPortAdapter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <sys/msg.h>

namespace
{
template <std::size_t Capacity>
struct Message {
    long type;
    std::array<std::uint8_t, Capacity> payload;
};

// The kernel puts the payload immediately after the type.
static_assert(offsetof(Message<linkPort::largestSend>, payload) == sizeof(long));

std::uint32_t waitingMessages(int queueId)
{
    msqid_ds state{};
    return msgctl(queueId, IPC_STAT, &state) == -1 ? 0 : static_cast<std::uint32_t>(state.msg_qnum);
}
} // namespace

std::int32_t ComPortAdapter::open()
{
    if (opened) {
        removeQueues();
    }
    findQueues();
    opened = true;
    return 0;
}

void ComPortAdapter::observeDiscarded(Observer observer)
{
    _observer = std::move(observer);
}

void ComPortAdapter::drain()
{
    drainUpTo(linkPort::largestDrained);
}

void ComPortAdapter::drainUpTo(std::size_t longest)
{
    Message<linkPort::largestReceive> message;
    const std::size_t capacity = std::min(longest, message.payload.size());
    readQueueId = msgget(readKey, linkPort::queueFlags);
    ssize_t received = 0;
    while ((received = msgrcv(readQueueId, &message, capacity, 0, IPC_NOWAIT)) != -1) {
        discarded(Payload(message.payload).first(static_cast<std::size_t>(received)));
    }
}

std::int32_t ComPortAdapter::read(void *buffer, std::uint32_t size, const Deadline &deadline)
{
    const std::int32_t received = receive(buffer, size, deadline);
    if (received == -1) {
        const int error = errno;
        printFailure(error);
        errno = error;
    }
    return received;
}

void ComPortAdapter::printFailure(int error)
{
    std::printf("called, failed: errno: %s, error code:%d\n", std::strerror(error), error);
}

std::int32_t ComPortAdapter::receive(void *buffer, std::uint32_t size, const Deadline &deadline)
{
    Message<linkPort::largestReceive> message;
    const std::size_t capacity = std::min<std::size_t>(size, message.payload.size());
    readQueueId = msgget(readKey, linkPort::queueFlags);
    const ssize_t received = _receiveTimer.receive(readQueueId, &message, capacity, deadline);
    if (received == -1) {
        return -1;
    }
    const auto payload = Payload(message.payload).first(static_cast<std::size_t>(received));
    if (buffer == nullptr) {
        discarded(payload);
        errno = EFAULT;
        return -1;
    }
    std::copy(payload.begin(), payload.end(), static_cast<std::uint8_t *>(buffer));
    return static_cast<std::int32_t>(received);
}

std::int32_t ComPortAdapter::write(const void *data, std::uint32_t length)
{
    if (!send(data, length)) {
        std::puts("ComPortAdapter::write msg_queue error:");
    }
    return static_cast<std::int32_t>(std::min<std::size_t>(length, linkPort::largestSend));
}

bool ComPortAdapter::send(const void *data, std::uint32_t length)
{
    Message<linkPort::largestSend> message;
    const std::size_t size = std::min<std::size_t>(length, message.payload.size());
    message.type = linkPort::messageType;
    std::copy_n(static_cast<const std::uint8_t *>(data), size, message.payload.begin());
    writeQueueId = msgget(writeKey, linkPort::queueFlags);
    _sent = msgsnd(writeQueueId, &message, size, IPC_NOWAIT) == 0;
    return _sent;
}

std::uint32_t ComPortAdapter::waitingRequests() const
{
    return waitingMessages(writeQueueId);
}

std::uint32_t ComPortAdapter::waitingAnswers() const
{
    return waitingMessages(readQueueId);
}

void ComPortAdapter::dropAnswer()
{
    Message<linkPort::largestDrained> message;
    readQueueId = msgget(readKey, linkPort::queueFlags);
    const ssize_t received =
        msgrcv(readQueueId, &message, message.payload.size(), 0, IPC_NOWAIT | MSG_NOERROR);
    if (received != -1) {
        discarded(Payload(message.payload).first(static_cast<std::size_t>(received)));
    }
}

void ComPortAdapter::disarmTimer()
{
    _receiveTimer.disarm();
}

std::int32_t ComPortAdapter::removeQueues()
{
    findQueues();
    msgctl(readQueueId, IPC_RMID, nullptr);
    msgctl(writeQueueId, IPC_RMID, nullptr);
    return 0;
}

void ComPortAdapter::findQueues()
{
    readQueueId = msgget(readKey, linkPort::queueFlags);
    writeQueueId = msgget(writeKey, linkPort::queueFlags);
}

void ComPortAdapter::discarded(Payload payload) const
{
    if (_observer) {
        _observer(payload);
    }
}
