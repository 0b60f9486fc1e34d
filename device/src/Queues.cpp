#include "Queues.h"

#include <cerrno>
#include <cstring>

#include <sys/msg.h>
#include <unistd.h>

namespace
{
constexpr mode_t anybody = 0666;
} // namespace

namespace tarno
{
int Queues::open()
{
    const int error = openOne(requestKey, _requests);
    return error != 0 ? error : openOne(answerKey, _answers);
}

int Queues::openOne(key_t key, int &queue) const
{
    const int mode = static_cast<int>(_rules.mode != 0 ? _rules.mode : anybody);
    queue = msgget(key, IPC_CREAT | IPC_EXCL | mode);
    if (queue != -1) {
        return 0;
    }
    if (errno != EEXIST) {
        return errno;
    }
    const int found = msgget(key, 0);
    if (found == -1) {
        return errno;
    }
    const int error = enforceRules(found);
    if (error == 0) {
        queue = found;
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
    return msgctl(_requests, IPC_STAT, &state) == 0 ? state.msg_qnum : 0;
}

int Queues::receive(bool waits, Bytes &request)
{
    const int flags = MSG_NOERROR | (waits ? 0 : IPC_NOWAIT);
    const ssize_t size = msgrcv(_requests, &_incoming, sizeof _incoming.bytes, 0, flags);
    if (size >= 0) {
        request = {.data = _incoming.bytes, .size = static_cast<std::size_t>(size)};
        return 0;
    }
    const int error = errno;
    if (error != EINTR && error != ENOMSG) {
        _requests = -1;
        _answers = -1;
    }
    return error;
}

int Queues::send(const Bytes &answer)
{
    _outgoing.type = messageType;
    std::memcpy(_outgoing.bytes, answer.data, answer.size);
    const auto attempt = [&] {
        return msgsnd(_answers, &_outgoing, answer.size, IPC_NOWAIT) == 0 ? 0 : errno;
    };
    int error = attempt();
    if (error == EIDRM || error == EINVAL) {
        error = openOne(answerKey, _answers);
        return error != 0 ? error : attempt();
    }
    return error;
}
} // namespace tarno
