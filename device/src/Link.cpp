#include "Link.h"

#include <cerrno>

namespace tarno
{
Link::Link(const tarno_options &options, Statistics &statistics, const Queues::Buffers &buffers)
    : _discardsOldRequests(options.discard_old_requests != 0), _statistics(statistics),
      _queues({.mode = options.mode, .checkOwner = options.check_owner != 0}, buffers),
      _wakeTimer(options.wake_signal)
{
}

int Link::open()
{
    if (_queues.isOpen()) {
        return 0;
    }
    const int error = _queues.open();
    if (error != 0) {
        return error;
    }
    if (_wasOpen) {
        _statistics.reopened.increment();
    } else if (_discardsOldRequests) {
        discardOldRequests();
    }
    _wasOpen = true;
    return 0;
}

/// Only as many as wait now: the agent may be sending.
void Link::discardOldRequests()
{
    Queues::Bytes request;
    for (std::size_t left = _queues.waitingRequests(); left > 0; --left) {
        if (_queues.receive(false, request) != 0) {
            return;
        }
        _statistics.discardedRequests.increment();
    }
}

int Link::receive(const Wait &wait, Queues::Bytes &request)
{
    // Before the flag is read: a stop that comes later finds the timer.
    if (const int error = _wakeTimer.aimAtThisThread(); error != 0) {
        return error;
    }
    if (wait.isTimed()) {
        _wakeTimer.wakeAt(wait.end());
    }
    const int error = receiveUntil(wait, request);
    if (wait.isTimed() || _stopping) {
        _wakeTimer.disarm();
    }
    return error;
}

int Link::receiveUntil(const Wait &wait, Queues::Bytes &request)
{
    while (!_stopping) {
        int error = open();
        if (error == 0) {
            error = _queues.receive(wait.blocks(), request);
        }
        if (error != EINTR) {
            return error;
        }
        if (wait.isOver()) {
            return EINTR;
        }
        if (!_stopping) {
            _statistics.interrupted.increment();
            // It may have been the timer of a stop that a receive before has already obeyed.
            if (!wait.isTimed()) {
                _wakeTimer.disarm();
            }
        }
    }
    return EINTR;
}

void Link::stop()
{
    _stopping = true;
    _wakeTimer.wakeNow();
}

bool Link::takeStop()
{
    if (!_stopping.exchange(false)) {
        return false;
    }
    _wakeTimer.disarm();
    return true;
}
} // namespace tarno
