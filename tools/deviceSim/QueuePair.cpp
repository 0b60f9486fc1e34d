#include "QueuePair.h"

#include "ComPortAdapter.h"

#include <algorithm>
#include <cerrno>

#include <sys/msg.h>

bool QueuePair::open()
{
    _requestQueue = findOrCreate(linkPort::requestKey);
    if (_requestQueue < 0) {
        return false;
    }
    _answerQueue = findOrCreate(linkPort::answerKey);
    return _answerQueue >= 0;
}

QueuePair::Received QueuePair::receive()
{
    const ssize_t size =
        msgrcv(_requestQueue, &_incoming, _incoming.payload.size(), 0, MSG_NOERROR);
    if (size < 0) {
        return errno == EINTR ? Received::interrupted : Received::gone;
    }
    _incomingSize = static_cast<std::size_t>(size);
    return Received::request;
}

std::span<const std::uint8_t> QueuePair::request() const
{
    return std::span(_incoming.payload).first(_incomingSize);
}

bool QueuePair::send(std::span<const std::uint8_t> answer)
{
    if (answer.size() > largestMessage) {
        errno = EINVAL;
        return false;
    }
    _outgoing.type = linkPort::messageType;
    std::copy(answer.begin(), answer.end(), _outgoing.payload.begin());
    const auto attempt = [&] {
        return msgsnd(_answerQueue, &_outgoing, answer.size(), IPC_NOWAIT) == 0;
    };
    if (attempt()) {
        return true;
    }
    if (errno != EIDRM && errno != EINVAL) {
        return false;
    }
    // If the queue was removed, the agent looks for a new one under the same key.
    _answerQueue = findOrCreate(linkPort::answerKey);
    return attempt();
}

void QueuePair::removeOwn()
{
    for (const int queue : _made) {
        msgctl(queue, IPC_RMID, nullptr);
    }
    _made.clear();
}

int QueuePair::findOrCreate(key_t key)
{
    const int made = msgget(key, linkPort::queueFlags | IPC_EXCL);
    if (made >= 0) {
        _made.insert(made);
        return made;
    }
    return msgget(key, linkPort::queueFlags);
}
