#include "RawQueues.h"

#include "ComPortAdapter.h"

#include <algorithm>

#include <sys/msg.h>

namespace
{
constexpr std::size_t capacity = 1024;

int requestQueue()
{
    return msgget(linkPort::requestKey, linkPort::queueFlags);
}

int answerQueue()
{
    return msgget(linkPort::answerKey, linkPort::queueFlags);
}
} // namespace

RawQueues::RawQueues() : _requestQueue(requestQueue()), _answerQueue(answerQueue()) {}

std::ptrdiff_t RawQueues::exchange(const Frame &request)
{
    _message.type = linkPort::messageType;
    std::copy(request.begin(), request.end(), _message.payload.begin());
    msgsnd(_requestQueue, &_message, request.size(), IPC_NOWAIT);
    return msgrcv(_answerQueue, &_message, capacity, 0, 0);
}

std::ptrdiff_t RawQueues::drainedExchange(const Frame &request)
{
    msgrcv(answerQueue(), &_message, linkPort::largestDrained, 0, IPC_NOWAIT);
    _message.type = linkPort::messageType;
    std::copy(request.begin(), request.end(), _message.payload.begin());
    msgsnd(requestQueue(), &_message, request.size(), IPC_NOWAIT);
    return msgrcv(answerQueue(), &_message, capacity, 0, 0);
}
