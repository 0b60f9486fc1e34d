#include "QueueServer.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>

#include <poll.h>
#include <sys/signalfd.h>

namespace
{
using std::chrono::milliseconds;

constexpr milliseconds reopenPause{10};
constexpr int untilStopped = -1;

int endSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

/// Returns false if the thread is stopped early.
bool waitUnlessStopped(milliseconds time, const std::atomic<bool> &stopping)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + time;
    milliseconds left = time;
    while (left.count() > 0 && !stopping) {
        poll(nullptr, 0, static_cast<int>(left.count()));
        left = std::chrono::ceil<milliseconds>(end - Clock::now());
    }
    return left.count() <= 0;
}

/// Ends the wait for a request, so that its thread can end.
class EndOfReceiving
{
public:
    explicit EndOfReceiving(tarno_link &link) : _link(link) {}

    ~EndOfReceiving() { tarno_link_stop(&_link); }

    EndOfReceiving(const EndOfReceiving &) = delete;
    EndOfReceiving &operator=(const EndOfReceiving &) = delete;

private:
    tarno_link &_link;
};
} // namespace

QueueServer::QueueServer(tarno_link &link, FrameAnswerer &answerer, SimulatedDevice &device,
                         FrameLog &log)
    : _link(link), _answerer(answerer), _device(device), _log(log), _signals(endSignals())
{
}

QueueServer::Result QueueServer::run(CommandReader &commands)
{
    const InterruptibleThread receiver(
        [this](const std::atomic<bool> &stopping) { receiveRequests(stopping); });
    const EndOfReceiving end(_link);
    while (true) {
        std::array<pollfd, 2> descriptors{
            {{_signals.get(), POLLIN, 0}, {_commandInput, POLLIN, 0}}};
        if (poll(descriptors.data(), descriptors.size(), -1) < 0) {
            continue;
        }
        if (descriptors[0].revents != 0) {
            return Result::stopped;
        }
        const CommandReader::State state =
            descriptors[1].revents != 0 ? readCommands(commands) : CommandReader::State::running;
        if (state != CommandReader::State::running) {
            return state == CommandReader::State::quit ? Result::stopped : Result::wrongCommand;
        }
    }
}

void QueueServer::receiveRequests(const std::atomic<bool> &stopping)
{
    Threads heldUp;
    const void *request = nullptr;
    std::size_t size = 0;
    while (const int result = tarno_link_receive(&_link, untilStopped, &request, &size)) {
        if (result > 0) {
            serveRequest({static_cast<const std::uint8_t *>(request), size}, heldUp, stopping);
        } else {
            reopen();
        }
    }
}

void QueueServer::serveRequest(Request frame, Threads &heldUp, const std::atomic<bool> &stopping)
{
    Exchange exchange = takeRequest(frame);
    if (!_device.concurrent || !exchange.isHeldUp()) {
        answer(exchange, stopping);
        return;
    }
    heldUp.remove_if([](const InterruptibleThread &thread) { return thread.hasEnded(); });
    heldUp.emplace_back([this, exchange](const std::atomic<bool> &stoppingThis) mutable {
        answer(exchange, stoppingThis);
    });
}

Exchange QueueServer::takeRequest(Request frame)
{
    const std::lock_guard lock(_mutex);
    Exchange exchange = _answerer.take(frame);
    _log.request(exchange, _device);
    return exchange;
}

void QueueServer::answer(Exchange &exchange, const std::atomic<bool> &stopping)
{
    if (!waitUnlessStopped(exchange.pause, stopping)) {
        return;
    }
    {
        const std::lock_guard lock(_mutex);
        _answerer.carryOut(exchange);
    }
    if (waitUnlessStopped(exchange.delay, stopping)) {
        const std::lock_guard lock(_mutex);
        send(exchange);
    }
}

void QueueServer::send(const Exchange &exchange)
{
    for (std::uint32_t copy = 0; copy < exchange.copies; ++copy) {
        _log.answer(exchange.request, exchange.answer);
        const int result = tarno_link_send(&_link, exchange.answer.data(), exchange.answer.size());
        if (result == 0) {
            ++_device.total.answers;
            ++_device.perId[exchange.id].answers;
        } else {
            ++_device.lost;
            _log.note(std::string("answer lost: ") + std::strerror(-result));
        }
    }
}

void QueueServer::reopen()
{
    {
        const std::lock_guard lock(_mutex);
        _log.note(tarno_link_open(&_link) == 0 ? "queues were gone; found or created again"
                                               : "queues are gone");
    }
    std::this_thread::sleep_for(reopenPause);
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
    _commandInput = -1; // poll(2) ignores it from now on
    return commands.finish();
}
