#include "VerifyExchange.h"

#include "VerifyTimes.h"

#include <algorithm>
#include <csignal>
#include <utility>

#include <unistd.h>

namespace
{
using namespace std::chrono_literals;
using deviceFrame::Command;
using verifyTimes::answerWait;
using verifyTimes::silentWait;

/// How long an answer may take before the next request goes out.
constexpr auto patience = 250ms;
/// How long the own answer may follow one that names another object.
constexpr auto foreignWait = 40ms;
constexpr auto rowLimit = 10s;
constexpr std::size_t rowWidth = 8;
/// How long a wait goes on after a signal.
constexpr auto slice = 100ms;
constexpr auto quiet = 100ms;
/// The same while an answer is missing: a later one may have overtaken it.
constexpr auto passedWait = 1000ms;

bool isInterrupted()
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1 ||
           sigismember(&pending, SIGHUP) == 1;
}

VerifyExchange::Time between(VerifyExchange::Clock::time_point from,
                             VerifyExchange::Clock::time_point to)
{
    return std::chrono::duration_cast<VerifyExchange::Time>(to - from);
}
} // namespace

VerifyExchange::~VerifyExchange()
{
    try {
        finish();
    } catch (const std::exception &) {
        // Without queues there is nothing to leave behind.
        _queues.rest();
    }
}

VerifyExchange::Answer VerifyExchange::read(std::uint16_t linkId)
{
    return ask({Command::readRequest, linkId}, deviceFrame::makeReadRequest(linkId));
}

VerifyExchange::Answer VerifyExchange::ask(const RequestName &name,
                                           std::span<const std::uint8_t> request)
{
    drain();
    _current = {};
    _current.name = name;
    _current.sentAt = Clock::now();
    _current.isHurried = _isSilent;
    if (_queues.send(request)) {
        _inFlight = {{.name = name, .sentAt = _current.sentAt}};
        while (!isDone()) {
            std::optional<Bytes> message = wait(deadline());
            if (message) {
                take(std::move(*message));
            } else if (!mark()) {
                break;
            }
        }
        requireAlone();
        giveUp();
    }
    return concluded();
}

/// The request that a message answers; one that was passed only if no other one fits.
std::vector<VerifyExchange::Outstanding>::iterator
VerifyExchange::requestOf(const Bytes &message, std::vector<Outstanding> &requests)
{
    const auto fits = [&message](const Outstanding &each) {
        return deviceFrame::names(message, each.name);
    };
    const auto found = std::find_if(requests.begin(), requests.end(), [&](const Outstanding &each) {
        return !each.isPassed && fits(each);
    });
    return found != requests.end() ? found : std::find_if(requests.begin(), requests.end(), fits);
}

VerifyExchange::Row VerifyExchange::readInRow(std::span<const std::uint16_t> linkIds,
                                              unsigned count)
{
    drain();
    Row row;
    const auto end = Clock::now() + rowLimit;
    const auto sendMore = [&] {
        while (row.sent < count && _inFlight.size() < rowWidth && Clock::now() < end) {
            const RequestName name{Command::readRequest, linkIds[row.sent % linkIds.size()]};
            if (!_queues.send(deviceFrame::makeReadRequest(name.linkId))) {
                return;
            }
            _inFlight.push_back({.name = name, .sentAt = Clock::now()});
            ++row.sent;
        }
    };
    for (sendMore(); !_inFlight.empty(); sendMore()) {
        const std::optional<Bytes> message = wait(Clock::now() + answerWait);
        if (!message) {
            row.unanswered = static_cast<unsigned>(_inFlight.size());
            surrender();
            break;
        }
        takeInRow(*message, row);
    }
    requireAlone();
    return row;
}

void VerifyExchange::takeInRow(const Bytes &message, Row &row)
{
    const auto found = requestOf(message, _inFlight);
    if (found == _inFlight.end()) {
        _again.push_back({Command::readRequest, deviceFrame::decodeAnswer(message).objId});
        return;
    }
    if (found->isPassed && !row.outOfOrder) {
        row.outOfOrder = found->name.linkId;
    }
    std::for_each(_inFlight.begin(), found, [](Outstanding &each) { each.isPassed = true; });
    _inFlight.erase(found);
}

void VerifyExchange::settle()
{
    const auto isOpen = [](const Outstanding &each) { return !each.isPassed; };
    const auto end = Clock::now() + answerWait;
    while (std::any_of(_outstanding.begin(), _outstanding.end(), isOpen)) {
        const std::optional<Bytes> message = wait(end);
        if (!message) {
            return;
        }
        takeUnasked(*message);
    }
}

void VerifyExchange::finish()
{
    if (std::exchange(_isFinished, true)) {
        return;
    }
    if (!isAlone()) {
        // What comes now is for the other program.
        _queues.rest();
        return;
    }
    surrender();
    const auto isOpen = [](const Outstanding &each) { return !each.isPassed; };
    const auto end = Clock::now() + answerWait;
    const auto nextEnd = [&] {
        const bool isAny = std::any_of(_outstanding.begin(), _outstanding.end(), isOpen);
        return isAny ? end
                     : Clock::now() +
                           (_outstanding.empty() ? std::chrono::milliseconds(quiet) : passedWait);
    };
    // Bounded even against a device that never stops sending.
    while (Clock::now() < end) {
        const std::optional<Bytes> message = _queues.receive(nextEnd());
        if (!message) {
            break;
        }
        takeUnasked(*message);
    }
    _queues.rest();
}

std::optional<VerifyExchange::Bytes> VerifyExchange::wait(Clock::time_point deadline)
{
    for (;;) {
        if (isInterrupted()) {
            throw Interrupted();
        }
        const auto end = std::min<Clock::time_point>(deadline, Clock::now() + slice);
        std::optional<Bytes> message = _queues.receive(end);
        if (message || Clock::now() >= deadline) {
            return message;
        }
    }
}

VerifyExchange::Clock::time_point VerifyExchange::deadline() const
{
    if (_current.isOwn) {
        return _current.arrivedAt + answerWait;
    }
    if (_current.frame) {
        return _current.waitForOwn;
    }
    if (_current.isHurried && !_current.isHeard) {
        return _current.sentAt + silentWait;
    }
    return _current.sentAt + (canMark() ? std::chrono::milliseconds(patience) : answerWait);
}

bool VerifyExchange::isDone() const
{
    return _current.isMarked ? _current.isMarkAnswered : _current.isOwn;
}

bool VerifyExchange::canMark() const
{
    return _marker && !(*_marker == _current.name) && !_current.isMarked && !_current.isHurried;
}

bool VerifyExchange::mark()
{
    if (_current.frame || !canMark()) {
        return false;
    }
    _current.isMarked = _queues.send(deviceFrame::makeReadRequest(_marker->linkId));
    if (_current.isMarked) {
        _inFlight.push_back({.name = *_marker, .sentAt = Clock::now()});
    }
    return _current.isMarked;
}

void VerifyExchange::take(Bytes message)
{
    _current.isHeard = true;
    if (deviceFrame::names(message, _current.name) && !isExpected(message)) {
        takeOwn(std::move(message));
    } else if (_current.isMarked && !_current.isMarkAnswered &&
               deviceFrame::names(message, *_marker)) {
        _current.isMarkAnswered = true;
    } else if (!takeLate(message)) {
        takeForeign(std::move(message));
    }
}

void VerifyExchange::takeOwn(Bytes message)
{
    if (_current.isOwn) {
        _again.push_back(_current.name);
        return;
    }
    if (_current.frame && _previous) {
        _again.push_back(*_previous);
    }
    passAll();
    _current.frame = std::move(message);
    _current.arrivedAt = Clock::now();
    _current.isOwn = true;
}

/// Either the answer under another id, or another answer to the request before.
void VerifyExchange::takeForeign(Bytes message)
{
    if (_current.frame) {
        _again.push_back(_current.isOwn || !_previous ? _current.name : *_previous);
        return;
    }
    const bool isOfPrevious = _previous && deviceFrame::names(message, *_previous);
    _current.frame = std::move(message);
    _current.arrivedAt = Clock::now();
    _current.waitForOwn =
        _current.arrivedAt + (isOfPrevious ? std::chrono::milliseconds(patience) : foreignWait);
}

/// Whether it answers a request that was given up.
bool VerifyExchange::takeLate(const Bytes &message)
{
    const auto found = requestOf(message, _outstanding);
    if (found == _outstanding.end()) {
        return false;
    }
    _late.push_back({.name = found->name,
                     .frame = message,
                     .time = between(found->sentAt, Clock::now()),
                     .isOutOfOrder = found->isPassed});
    for (auto each = _outstanding.begin(); each != found; ++each) {
        each->isPassed = true;
    }
    _outstanding.erase(found);
    return true;
}

/// Whether it answers an earlier request, given up, for the same object.
bool VerifyExchange::isExpected(const Bytes &message) const
{
    return std::any_of(_outstanding.begin(), _outstanding.end(), [&](const Outstanding &each) {
        return !each.isPassed && deviceFrame::names(message, each.name);
    });
}

/// A message while no request waits for its answer.
void VerifyExchange::takeUnasked(const Bytes &message)
{
    _isSilent = false;
    if (!takeLate(message) && _previous) {
        _again.push_back(*_previous);
    }
}

void VerifyExchange::passAll()
{
    for (Outstanding &each : _outstanding) {
        each.isPassed = true;
    }
}

/// Takes back what the device has not taken, and keeps in mind what it may still answer.
void VerifyExchange::surrender()
{
    if (_inFlight.empty()) {
        return;
    }
    _inFlight.resize(_inFlight.size() - std::min(_inFlight.size(), _queues.takeBack()));
    _outstanding.insert(_outstanding.end(), _inFlight.begin(), _inFlight.end());
    _inFlight.clear();
}

void VerifyExchange::giveUp()
{
    if (_current.isMarkAnswered) {
        passAll();
    }
    std::erase_if(_inFlight, [this](const Outstanding &each) {
        return each.name == _current.name ? _current.frame.has_value() : _current.isMarkAnswered;
    });
    for (Outstanding &each : _inFlight) {
        each.isPassed = _current.isMarkAnswered;
    }
    surrender();
    _isSilent = !_current.isHeard;
}

/// Messages that wait before a request answer an earlier one.
void VerifyExchange::drain()
{
    while (const std::optional<Bytes> message = _queues.takeWaiting()) {
        takeUnasked(*message);
    }
}

bool VerifyExchange::isAlone() const
{
    return _queues.requests().lastSender == getpid();
}

/// Another program that sends requests would get our answers, and we would get its.
void VerifyExchange::requireAlone() const
{
    if (!isAlone()) {
        throw UnusableLink("another program has begun to use the link: nothing was verified");
    }
}

VerifyExchange::Answer VerifyExchange::concluded()
{
    _previous = _current.name;
    if (!_current.frame) {
        return {.outcome = _current.isMarkAnswered ? Outcome::silent : Outcome::unknown,
                .frame = {},
                .time = {}};
    }
    if (!_marker && _current.isOwn && _current.name.command == Command::readRequest) {
        _marker = _current.name;
    }
    return {.outcome = Outcome::answered,
            .frame = std::move(*_current.frame),
            .time = between(_current.sentAt, _current.arrivedAt)};
}
