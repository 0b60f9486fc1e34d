#include "Device.h"

#include <cerrno>
#include <ctime>

namespace
{
constexpr timespec reopenPause{.tv_sec = 0, .tv_nsec = 100'000'000};
constexpr int untilStopped = -1;
} // namespace

tarno_device::tarno_device(const tarno_options &options)
    : _link(options, _statistics, {.incoming = _incoming.room(), .outgoing = _outgoing.room()}),
      _answerer(_objects, _statistics)
{
}

int tarno_device::add(const tarno_object *objects, std::size_t count)
{
    return _link.wasOpen() || _hasThread ? EBUSY : _objects.add(objects, count);
}

tarno_device::Step tarno_device::step(int milliseconds, int &error)
{
    tarno::Queues::Bytes request;
    error = receive(milliseconds, request);
    if (error == 0) {
        // A stop that comes meanwhile ends the next step.
        serveRequest(request);
        return Step::served;
    }
    if (_link.takeStop()) {
        return Step::stopped;
    }
    return error == EINTR || error == ENOMSG ? Step::idle : Step::failed;
}

int tarno_device::receive(int milliseconds, tarno::Queues::Bytes &request)
{
    const tarno::Wait wait(milliseconds);
    int error = EIDRM;
    while (error == EIDRM) {
        error = _link.receive(wait, request);
        if (error == EIDRM && wait.isOver()) {
            return EINTR;
        }
    }
    return error;
}

void tarno_device::serveRequest(const tarno::Queues::Bytes &request)
{
    const tarno::Queues::Bytes answer = _answerer.answer(request);
    if (answer.size == 0) {
        return;
    }
    if (_link.send(answer) == 0) {
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
            nanosleep(&reopenPause, nullptr);
        }
    }
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
    _link.forgetThread();
    _hasThread = false;
    return error;
}
