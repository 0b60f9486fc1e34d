#include "Device.h"

#include "DeviceFrame.h"
#include "Oracle.h"
#include "World.h"

#include <algorithm>
#include <array>
#include <span>

namespace
{
using namespace std::chrono_literals;
using enum Behaviour;

constexpr unsigned choicesInStep = 2;
/// A step sends at most this many requests, unless a start resends.
constexpr unsigned requestsInStep = 2;
constexpr auto timeAway = 1s;
constexpr auto longestPause = 30s;
constexpr std::uint16_t foreignId = 0x0100;
constexpr std::uint32_t oversize = 1100;
constexpr std::uint32_t shortSize = 3;
constexpr std::uint8_t readError = 0x13;
constexpr std::uint8_t writeError = 0x14;

/// Choices that make no difference unless many requests follow come last.
constexpr std::array ofRules{
    atOnce, withError, after15ms,          after200ms,         afterNextRequest,
    pauses, dies,      diesRemovingQueues, afterSecondRequest, afterFifthRequest};
constexpr std::array ofForeignIds{
    atOnce, withError,          after200ms,         afterNextRequest, pauses,
    dies,   diesRemovingQueues, afterSecondRequest, afterFifthRequest};
constexpr std::array ofSpoiledFrames{
    atOnce, tooShort,           tooLong,          twice, after200ms, afterNextRequest, pauses,
    dies,   afterSecondRequest, afterFifthRequest};

constexpr std::array names{"answers at once",
                           "answers with an error",
                           "answers after 15 ms",
                           "answers after 200 ms",
                           "answers once 1 more request was sent",
                           "answers once 2 more requests were sent",
                           "answers once 5 more requests were sent",
                           "pauses",
                           "dies, for a second",
                           "dies, for a second, and makes the queues anew as it starts",
                           "answers with a frame cut short",
                           "answers with a frame of 1100 bytes",
                           "answers twice"};

std::span<const Behaviour> behavioursOf(Habit habit)
{
    switch (habit) {
    case Habit::foreignIds:
        return ofForeignIds;
    case Habit::spoilsFrames:
        return ofSpoiledFrames;
    default:
        return ofRules;
    }
}

std::uint16_t idIn(const Message &request)
{
    return static_cast<std::uint16_t>(request.bytes[2] | request.bytes[3] << 8);
}

bool isWrite(const Message &request)
{
    return request.bytes[0] == static_cast<std::uint8_t>(deviceFrame::Command::writeRequest);
}

const char *nameOf(const Message &request)
{
    const objects::Index object = objects::find(idIn(request));
    return object == objects::count ? "?" : objects::all[object].name;
}
} // namespace

void Device::start(Habit habit) noexcept
{
    _habit = habit;
    _held.reset();
    _backAt.reset();
    _pausesLimited = false;
}

void Device::beginStep(unsigned stepsToFollow) noexcept
{
    _choicesLeft = choicesInStep;
    _requestsToFollow = stepsToFollow * requestsInStep;
}

void Device::work()
{
    for (;;) {
        if (_backAt) {
            if (_world.now < *_backAt) {
                return;
            }
            comeBack();
        }
        if (_held) {
            if ((!_held->until || _world.now < *_held->until) && _world.sent < _held->untilSent) {
                return;
            }
            settle();
        } else if (!_world.requests.isEmpty()) {
            take();
        } else {
            return;
        }
    }
}

std::optional<std::chrono::nanoseconds> Device::nextEvent() const noexcept
{
    return _backAt ? _backAt : _held ? _held->until : std::nullopt;
}

Behaviour Device::choose()
{
    if (_choicesLeft == 0) {
        return atOnce;
    }
    --_choicesLeft;
    const auto behaviours = behavioursOf(_habit);
    // A pause until more requests than can still be sent is like any other endless one.
    const unsigned without = _requestsToFollow >= 5 ? 0U : _requestsToFollow >= 2 ? 1U : 2U;
    const auto options = static_cast<unsigned>(behaviours.size()) - without;
    return behaviours[_oracle.chooseDisturbance(options)];
}

void Device::take()
{
    const Message request = _world.requests.take();
    const Behaviour behaviour = choose();
    TELL(_world, "  device takes request %u (%s), %s", request.number, nameOf(request),
         names.at(static_cast<std::size_t>(behaviour)));
    act(request, behaviour);
}

void Device::act(const Message &request, Behaviour behaviour)
{
    constexpr std::uint32_t never = UINT32_MAX;
    Held held{.request = request, .behaviour = behaviour, .until = {}, .untilSent = never};
    switch (behaviour) {
    case atOnce:
    case withError:
        answer(request, behaviour);
        return;
    case tooShort:
    case tooLong:
    case twice:
        _world.disturb();
        answer(request, behaviour);
        return;
    case after15ms:
    case after200ms:
        held.until = _world.now + (behaviour == after15ms ? 15ms : 200ms);
        _world.deviceTook += *held.until - _world.now;
        _held = held;
        return;
    case dies:
    case diesRemovingQueues:
        _world.disturb();
        _backAt = _world.now + timeAway;
        _removesQueues = behaviour == diesRemovingQueues;
        return;
    case afterNextRequest:
    case afterSecondRequest:
    case afterFifthRequest:
        held.untilSent = _world.sent + (behaviour == afterNextRequest     ? 1U
                                        : behaviour == afterSecondRequest ? 2U
                                                                          : 5U);
        break;
    case pauses:
        break;
    }
    _world.disturb();
    if (_pausesLimited) {
        held.until = _world.now + longestPause;
    }
    _held = held;
}

/// Ends a pause.
void Device::settle()
{
    if (_held->behaviour == pauses) {
        restart();
    } else {
        goOn();
    }
}

void Device::comeBack()
{
    _backAt.reset();
    TELL(_world, "  device is there again");
    _world.lastDisturbance = _world.now;
    if (_removesQueues) {
        _removesQueues = false;
        _world.removeQueues();
    }
}

void Device::restart()
{
    TELL(_world, "  device is started again, without request %u", _held->request.number);
    _world.disturb();
    _held.reset();
}

void Device::goOn()
{
    const Message request = _held->request;
    const bool wasLate = _held->untilSent != UINT32_MAX;
    _held.reset();
    if (wasLate) {
        _world.disturb();
    }
    answer(request, atOnce);
}

void Device::limitPauses(bool limited)
{
    _pausesLimited = limited;
    if (limited && _held && !_held->until) {
        _held->until = _world.now + longestPause;
    }
}

void Device::calmDown()
{
    _choicesLeft = 0;
    if (_backAt) {
        comeBack();
    }
    if (_held) {
        settle();
    }
    work();
}

void Device::answer(const Message &request, Behaviour behaviour)
{
    putAnswer(request, behaviour);
    if (behaviour == twice) {
        putAnswer(request, behaviour);
    }
    TELL(_world, "  device answers request %u (%s)", request.number, nameOf(request));
}

void Device::putAnswer(const Message &request, Behaviour behaviour)
{
    using deviceFrame::Command;
    _world.answers.make();
    if (_world.answers.isFull()) {
        return;
    }
    Message &message = _world.answers.put();
    message.number = request.number;
    const objects::Index object = objects::find(idIn(request));
    const bool known = object != objects::count;
    const bool foreign = _habit == Habit::foreignIds && object < objects::baseOid;
    const std::uint16_t id = foreign ? foreignId : idIn(request);
    const auto low = static_cast<std::uint8_t>(id);
    const auto high = static_cast<std::uint8_t>(id >> 8);
    const bool failed = behaviour == withError || !known;
    _world.errorAnswered = _world.errorAnswered || failed;
    if (isWrite(request)) {
        const auto accepted = static_cast<std::uint8_t>(Command::writeAccepted);
        message.bytes = {failed ? writeError : accepted, request.bytes[1], low, high};
        message.size = deviceFrame::writeHeaderSize;
    } else if (failed) {
        message.bytes = {readError, lengthOverhead, 0, 0, low, high};
        message.size = deviceFrame::answerHeaderSize;
    } else {
        const objects::Object &answered = objects::all[object];
        message.bytes = {static_cast<std::uint8_t>(Command::readAnswer),
                         answered.length,
                         static_cast<std::uint8_t>(answered.attribute),
                         static_cast<std::uint8_t>(answered.attribute >> 8),
                         low,
                         high};
        const auto value = objects::valueOf(object, _world.version);
        const std::uint32_t valueSize = answered.length - lengthOverhead;
        std::copy_n(value.begin(), valueSize,
                    message.bytes.begin() + deviceFrame::answerHeaderSize);
        message.size = static_cast<std::uint32_t>(deviceFrame::answerHeaderSize) + valueSize;
    }
    if (behaviour == tooShort) {
        message.size = shortSize;
    } else if (behaviour == tooLong) {
        message.size = oversize;
    }
}
