#include "Queues.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/msg.h>
#include <unistd.h>

namespace
{
constexpr mode_t anybody = 0666;

/// The kernel says EINVAL if the queue was removed before the call.
bool wasRemoved(int error)
{
    return error == EIDRM || error == EINVAL;
}
} // namespace

namespace tarno
{
int Queues::open()
{
    const int error = openOne(_requests);
    return error != 0 || _answers.id != -1 ? error : openOne(_answers);
}

int Queues::openOne(Queue &queue) const
{
    const int mode = static_cast<int>(_rules.mode != 0 ? _rules.mode : anybody);
    queue = {.key = queue.key, .id = msgget(queue.key, IPC_CREAT | IPC_EXCL | mode), .isOwn = true};
    if (queue.id != -1) {
        return 0;
    }
    queue.isOwn = false;
    if (errno != EEXIST) {
        return errno;
    }
    const int found = msgget(queue.key, 0);
    if (found == -1) {
        return errno;
    }
    const int error = enforceRules(found);
    if (error == 0) {
        queue.id = found;
    }
    return error;
}

int Queues::enforceRules(int queue) const
{
    if (_rules.mode == 0 && !_rules.checkOwner) {
        return 0;
    }
    msqid_ds state{};
    if (msgctl(queue, IPC_STAT, &state) != 0) {
        return errno;
    }
    const uid_t owner = state.msg_perm.uid;
    if (_rules.checkOwner && owner != geteuid() && owner != 0) {
        return EPERM;
    }
    if (_rules.mode == 0 || (state.msg_perm.mode & anybody & ~_rules.mode) == 0) {
        return 0;
    }
    state.msg_perm.mode = static_cast<unsigned short>(_rules.mode);
    return msgctl(queue, IPC_SET, &state) == 0 ? 0 : errno;
}

std::size_t Queues::waitingRequests() const
{
    msqid_ds state{};
    return msgctl(_requests.id, IPC_STAT, &state) == 0 ? state.msg_qnum : 0;
}

int Queues::receive(bool waits, Bytes &request)
{
    const int flags = MSG_NOERROR | (waits ? 0 : IPC_NOWAIT);
    const Room &room = _buffers.incoming;
    const ssize_t size = msgrcv(_requests.id, room.message, room.capacity, 0, flags);
    if (size >= 0) {
        request = {.data = room.bytes, .size = static_cast<std::size_t>(size)};
        return 0;
    }
    const int error = errno;
    if (error != EINTR && error != ENOMSG) {
        _requests.id = -1;
    }
    return wasRemoved(error) ? EIDRM : error;
}

int Queues::send(const Bytes &answer)
{
    const Room &room = _buffers.outgoing;
    if (answer.size > room.capacity) {
        return EMSGSIZE;
    }
    std::memcpy(room.message, &messageType, sizeof messageType);
    std::copy_n(answer.data, answer.size, room.bytes);
    const auto attempt = [&] {
        return msgsnd(_answers.id, room.message, answer.size, IPC_NOWAIT) == 0 ? 0 : errno;
    };
    int error = attempt();
    if (wasRemoved(error)) {
        error = openOne(_answers);
        return error != 0 ? error : attempt();
    }
    return error;
}

int Queues::removeOwn()
{
    const int error = remove(_requests);
    const int otherError = remove(_answers);
    return error != 0 ? error : otherError;
}

int Queues::remove(Queue &queue)
{
    if (!queue.isOwn) {
        return 0;
    }
    const int error = msgctl(queue.id, IPC_RMID, nullptr) == 0 ? 0 : errno;
    queue = {.key = queue.key};
    return wasRemoved(error) ? 0 : error;
}
} // namespace tarno
