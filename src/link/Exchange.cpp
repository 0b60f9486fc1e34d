#include "Exchange.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace
{
constexpr unsigned startUpRetrySeconds = 1;
/// The next answer takes the device as long as this one, and both requests may still be
/// outstanding.
constexpr int answersToWaitFor = 2;

std::uint32_t sizeOf(std::span<const std::uint8_t> bytes)
{
    return static_cast<std::uint32_t>(bytes.size());
}
} // namespace

Exchange::Exchange(ComPortAdapter &port, const LinkPolicy &policy) : _port(port), _policy(policy)
{
    // An earlier run may have left requests behind: some still queued, one that the device is just
    // answering, and some whose answers are queued. Count them in the order in which they move.
    const std::uint32_t requests = _port.waitingRequests();
    _outstanding.foundUnnamed(requests + 1 + _port.waitingAnswers());
    _port.observeDiscarded([this](Frame message) {
        messageTaken();
        _outstanding.settle(message);
    });
}

Exchange::Answer Exchange::read(const deviceFrame::RequestName &name, Frame request,
                                AnswerBuffer buffer)
{
    begin(name, request);
    for (;;) {
        const std::int32_t received = _port.receive(buffer.data(), sizeOf(buffer), _deadline);
        if (received != -1) {
            const Frame message = buffer.first(static_cast<std::size_t>(received));
            if (isAnswer(message)) {
                return {.outcome = Answer::Outcome::received, .frame = message};
            }
            continue;
        }
        const int error = errno;
        if (_heldSize) {
            return useHeld(buffer);
        }
        if (_waitsLimited || !isLost(error)) {
            return missed(error);
        }
        askAgain(request, error);
    }
}

void Exchange::write(const deviceFrame::RequestName &name, Frame request)
{
    begin(name, request);
    // Only the arrival of an answer matters, so it is taken off without a buffer, which fails by
    // design.
    _port.read(nullptr, sizeOf(request), _deadline);
    if (errno == ETIMEDOUT) {
        _deviceSilent = true;
    }
}

void Exchange::begin(const deviceFrame::RequestName &name, Frame request)
{
    _outstanding.begin(name);
    if (_outstanding.inStep()) {
        _port.drain();
    } else {
        // Whatever waits now answers an earlier request, however long it is.
        _port.drainUpTo(answerCapacity);
    }
    send(request);
    _sentAt = Clock::now();
    _deadline = firstDeadline();
    _gotMessage = false;
    _gotForeign = false;
    _heldSize.reset();
}

void Exchange::send(Frame request)
{
    _port.write(request.data(), sizeOf(request));
    while (!_waitsLimited && !_port.sent()) {
        sleep(startUpRetrySeconds);
        _port.send(request.data(), sizeOf(request));
    }
    if (_port.sent()) {
        _outstanding.sent();
    }
}

/// A device that died took the request with it, or the queue was removed with the request in it. A
/// request that is still queued is never sent twice.
void Exchange::askAgain(Frame request, int error)
{
    if (error != ETIMEDOUT) {
        // Whoever recreates the queues gets time to finish both.
        ComPortAdapter::printFailure(error);
        sleep(startUpRetrySeconds);
    }
    if (_port.waitingRequests() == 0) {
        send(request);
    }
    _deadline = liveDeadline();
}

/// Whether the answer of a read that failed like this may be lost although the link works.
bool Exchange::isLost(int error) const
{
    const bool removedMeanwhile = error == EINVAL || error == ENOENT;
    return error == ETIMEDOUT || error == EIDRM || (removedMeanwhile && _port.hasAnswerQueue());
}

Deadline Exchange::firstDeadline() const
{
    const auto silentWait = _policy.silentAnswerWait;
    if (!_waitsLimited || !_deviceSilent) {
        return liveDeadline();
    }
    return silentWait == std::chrono::milliseconds::zero() ? Deadline() : _sentAt + silentWait;
}

/// In service the deadline counts from the request, however many messages arrive.
Deadline Exchange::liveDeadline() const
{
    if (!_waitsLimited) {
        return Clock::now() + _policy.startUpAnswerWait;
    }
    const auto wait = _policy.answerWait;
    return wait == std::chrono::milliseconds::zero() ? Deadline() : _sentAt + wait;
}

void Exchange::messageTaken() noexcept
{
    _deviceSilent = false;
    _gotMessage = true;
}

bool Exchange::isAnswer(Frame message)
{
    messageTaken();
    const Match match = _outstanding.settle(message);
    if (match == Match::sameObject) {
        hold(message);
    } else if (!_heldSize) {
        _deadline = liveDeadline();
    }
    _gotForeign = _gotForeign || match == Match::foreign;
    return match == Match::own;
}

/// A newer answer may follow: wait for as long as the device is likely to need for it.
void Exchange::hold(Frame message)
{
    _heldSize = message.size();
    std::copy(message.begin(), message.end(), _heldBytes.begin());
    const auto now = Clock::now();
    const Clock::duration least = _policy.silentAnswerWait;
    const Clock::duration needed = answersToWaitFor * (now - _sentAt);
    const Deadline end = now + std::max(least, needed);
    const Deadline live = liveDeadline();
    _deadline = live ? std::min(live, end) : end;
}

Exchange::Answer Exchange::useHeld(AnswerBuffer buffer)
{
    _outstanding.likelyAnswered();
    std::copy_n(_heldBytes.begin(), *_heldSize, buffer.begin());
    return {.outcome = Answer::Outcome::received, .frame = buffer.first(*_heldSize)};
}

Exchange::Answer Exchange::missed(int error)
{
    ComPortAdapter::printFailure(error);
    if (error == ETIMEDOUT) {
        _deviceSilent = !_gotMessage;
        // The device took the request, and answers came that name no outstanding request: it
        // answers under the ids of groups.
        if (_gotForeign && _port.sent() && _port.waitingRequests() == 0) {
            _outstanding.likelyAllAnswered();
        }
        return {.outcome = Answer::Outcome::expired, .frame = {}};
    }
    if (error == E2BIG && _policy.dropOversizedAnswers) {
        _port.dropAnswer();
    }
    return {.outcome = Answer::Outcome::failed, .frame = {}};
}
