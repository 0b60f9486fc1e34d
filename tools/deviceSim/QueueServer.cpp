#include "QueueServer.h"

#include "InterruptibleThread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>

namespace
{
constexpr std::chrono::milliseconds reopenPause{10};
/// As good as no time-out: a new delayed answer ends the wait.
constexpr std::chrono::hours longestWait{1};

int endSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

void poll(std::span<pollfd> descriptors, std::chrono::nanoseconds wait)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
    timespec timeout{};
    timeout.tv_sec = static_cast<time_t>(seconds.count());
    timeout.tv_nsec = static_cast<long>((wait - seconds).count());
    if (ppoll(descriptors.data(), descriptors.size(), &timeout, nullptr) < 0) {
        std::for_each(descriptors.begin(), descriptors.end(),
                      [](pollfd &descriptor) { descriptor.revents = 0; });
    }
}
} // namespace

QueueServer::QueueServer(QueuePair &queues, FrameAnswerer &answerer, SimulatedDevice &device,
                         FrameLog &log)
    : _queues(queues), _answerer(answerer), _device(device), _log(log), _signals(endSignals()),
      _newDelay(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

QueueServer::Result QueueServer::run(CommandReader &commands)
{
    const InterruptibleThread receiver(
        [this](const std::atomic<bool> &stopping) { receiveRequests(stopping); });
    while (true) {
        std::array<pollfd, 3> descriptors{{{_signals.get(), POLLIN, 0},
                                           {_commandInput, POLLIN, 0},
                                           {_newDelay.get(), POLLIN, 0}}};
        poll(descriptors, untilNextDue());
        if (descriptors[0].revents != 0) {
            return Result::stopped;
        }
        if (descriptors[2].revents != 0) {
            eventfd_t count = 0;
            eventfd_read(_newDelay.get(), &count);
        }
        sendDue();
        const CommandReader::State state =
            descriptors[1].revents != 0 ? readCommands(commands) : CommandReader::State::running;
        if (state != CommandReader::State::running) {
            return state == CommandReader::State::quit ? Result::stopped : Result::wrongCommand;
        }
    }
}

void QueueServer::receiveRequests(const std::atomic<bool> &stopping)
{
    while (!stopping) {
        switch (_queues.receive()) {
        case QueuePair::Received::request:
            serveRequest();
            break;
        case QueuePair::Received::gone:
            reopen();
            break;
        case QueuePair::Received::interrupted:
            break;
        }
    }
}

void QueueServer::serveRequest()
{
    const std::lock_guard lock(_mutex);
    Exchange exchange = _answerer.answer(_queues.request());
    _log.request(exchange, _queues.request(), _device);
    if (exchange.delay == std::chrono::milliseconds(0)) {
        send(exchange);
        return;
    }
    _delayed.emplace(Clock::now() + exchange.delay, std::move(exchange));
    eventfd_write(_newDelay.get(), 1);
}

void QueueServer::reopen()
{
    {
        const std::lock_guard lock(_mutex);
        _log.note(_queues.open() ? "queues were gone and are found or made again"
                                 : "queues are gone");
    }
    std::this_thread::sleep_for(reopenPause);
}

void QueueServer::send(const Exchange &exchange)
{
    for (std::uint32_t copy = 0; copy < exchange.copies; ++copy) {
        _log.answer(exchange.request, exchange.answer);
        if (_queues.send(exchange.answer)) {
            ++_device.total.answers;
            ++_device.perId[exchange.id].answers;
        } else {
            ++_device.lost;
            _log.note(std::string("answer lost: ") + std::strerror(errno));
        }
    }
}

void QueueServer::sendDue()
{
    const std::lock_guard lock(_mutex);
    const auto now = Clock::now();
    while (!_delayed.empty() && _delayed.begin()->first <= now) {
        send(_delayed.begin()->second);
        _delayed.erase(_delayed.begin());
    }
}

QueueServer::Clock::duration QueueServer::untilNextDue()
{
    const std::lock_guard lock(_mutex);
    if (_delayed.empty()) {
        return longestWait;
    }
    return std::max<Clock::duration>(_delayed.begin()->first - Clock::now(), {});
}

CommandReader::State QueueServer::readCommands(CommandReader &commands)
{
    std::array<char, 4096> input{};
    const ssize_t size = read(_commandInput, input.data(), input.size());
    const std::lock_guard lock(_mutex);
    if (size > 0) {
        return commands.feed({input.data(), static_cast<std::size_t>(size)});
    }
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return CommandReader::State::running;
    }
    _commandInput = -1; // poll(2) leaves it out from now on
    return commands.finish();
}
