#include "Device.h"

#include <cerrno>
#include <ctime>

namespace
{
constexpr int reopenPause = 100;
constexpr long millisecondsPerSecond = 1000;
constexpr long nanosecondsPerMillisecond = 1'000'000;
constexpr long nanosecondsPerSecond = 1'000'000'000;
constexpr int untilStopped = -1;

timespec now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

timespec after(timespec time, int milliseconds)
{
    time.tv_sec += milliseconds / millisecondsPerSecond;
    time.tv_nsec += milliseconds % millisecondsPerSecond * nanosecondsPerMillisecond;
    if (time.tv_nsec >= nanosecondsPerSecond) {
        time.tv_nsec -= nanosecondsPerSecond;
        ++time.tv_sec;
    }
    return time;
}
} // namespace

tarno_device::tarno_device(const tarno_options &options)
    : _options(options), _queues({.mode = options.mode, .checkOwner = options.check_owner != 0}),
      _wakeTimer(options.wake_signal), _answerer(_objects, _statistics)
{
}

int tarno_device::add(const tarno_object *objects, std::size_t count)
{
    return _wasOpen || _hasThread ? EBUSY : _objects.add(objects, count);
}

int tarno_device::open()
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
    } else if (_options.discard_old_requests != 0) {
        discardOldRequests();
    }
    _wasOpen = true;
    return 0;
}

/// Only as many as wait now: the agent may be sending.
void tarno_device::discardOldRequests()
{
    tarno::Queues::Bytes request;
    for (std::size_t left = _queues.waitingRequests(); left > 0; --left) {
        if (_queues.receive(false, request) != 0) {
            return;
        }
        _statistics.discardedRequests.increment();
    }
}

tarno_device::Step tarno_device::step(int milliseconds, int &error)
{
    tarno::Queues::Bytes request;
    error = receive(milliseconds, request);
    if (error == 0) {
        serveRequest(request);
    }
    if (_stopping.exchange(false)) {
        _wakeTimer.disarm();
        return error == 0 ? Step::served : Step::stopped;
    }
    if (error == EINTR || error == ENOMSG) {
        return Step::idle;
    }
    return error == 0 ? Step::served : Step::failed;
}

/// EINTR: the time is over, or the device is to stop.
int tarno_device::receive(int milliseconds, tarno::Queues::Bytes &request)
{
    // Before the flag is read: a stop that comes later finds the timer.
    if (const int error = _wakeTimer.aimAtThisThread(); error != 0) {
        return error;
    }
    const Wait wait = waitOf(milliseconds);
    const bool isTimed = milliseconds > 0;
    if (isTimed) {
        _wakeTimer.wakeAt(wait.end);
    }
    const int error = receiveUntil(wait, milliseconds != 0, request);
    if (isTimed) {
        _wakeTimer.disarm();
    }
    return error;
}

int tarno_device::receiveUntil(const Wait &wait, bool waits, tarno::Queues::Bytes &request)
{
    while (!_stopping) {
        int error = open();
        if (error == 0) {
            error = _queues.receive(waits, request);
        }
        const bool wasRemoved = error == EIDRM || error == EINVAL;
        if (error != EINTR && !wasRemoved) {
            return error;
        }
        if (wait.isOver()) {
            return EINTR;
        }
        if (error == EINTR && !_stopping) {
            _statistics.interrupted.increment();
        }
    }
    return EINTR;
}

void tarno_device::serveRequest(const tarno::Queues::Bytes &request)
{
    const tarno::Queues::Bytes answer = _answerer.answer(request);
    if (answer.size == 0) {
        return;
    }
    if (_queues.send(answer) == 0) {
        _statistics.answers.increment();
    } else {
        _statistics.lostAnswers.increment();
    }
}

void tarno_device::serve()
{
    for (;;) {
        int error = 0;
        const Step done = step(untilStopped, error);
        if (done == Step::stopped) {
            return;
        }
        if (done == Step::failed) {
            // The signal of a stop ends the pause, too.
            const timespec pause{.tv_sec = 0, .tv_nsec = reopenPause * nanosecondsPerMillisecond};
            nanosleep(&pause, nullptr);
        }
    }
}

void tarno_device::stop()
{
    _stopping = true;
    _wakeTimer.wakeNow();
}

int tarno_device::start()
{
    if (_hasThread.exchange(true)) {
        return EBUSY;
    }
    const auto serveInThread = [](void *device) -> void * {
        static_cast<tarno_device *>(device)->serve();
        return nullptr;
    };
    const int error = pthread_create(&_thread, nullptr, serveInThread, this);
    if (error != 0) {
        _hasThread = false;
    }
    return error;
}

int tarno_device::join()
{
    if (!_hasThread) {
        return ESRCH;
    }
    stop();
    const int error = pthread_join(_thread, nullptr);
    _hasThread = false;
    return error;
}

bool tarno_device::Wait::isOver() const
{
    if (!isBounded) {
        return false;
    }
    const timespec time = now();
    return time.tv_sec > end.tv_sec || (time.tv_sec == end.tv_sec && time.tv_nsec >= end.tv_nsec);
}

tarno_device::Wait tarno_device::waitOf(int milliseconds)
{
    return milliseconds < 0 ? Wait{} : Wait{.isBounded = true, .end = after(now(), milliseconds)};
}
