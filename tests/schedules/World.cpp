#include "World.h"

#include "DeviceFrame.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{
using deviceFrame::Command;
using properties::Number;

constexpr std::array<const char *, 7> broken{
    "",
    "a value or attribute of one object is used for another",
    "an object is not served again",
    "an exchange takes too long",
    "a start does not end or doubles a request that still waits",
    "a device with other ids is not served",
    "in step a read is not one frame and no waiting"};

template <typename Result>
Result failure(int error, Result result)
{
    errno = error;
    return result;
}

bool isSame(const Message &message, const std::uint8_t *bytes, std::size_t size)
{
    return message.size == size &&
           std::memcmp(message.bytes.data(), bytes, std::min(size, message.bytes.size())) == 0;
}
} // namespace

int World::find(bool requestQueue, bool mayMake)
{
    Queue &queue = requestQueue ? requests : answers;
    if (!queue.exists() && !mayMake) {
        return failure(ENOENT, -1);
    }
    return queue.make();
}

int World::send(int id, const std::uint8_t *bytes, std::size_t size)
{
    if (spring(Trap::requestQueueBeforeSend)) {
        TELL(*this, "  the request queue is removed before the agent sends");
        requests.remove();
    }
    checkRequest(bytes, size);
    if (!requests.hasId(id) || requests.isFull()) {
        TELL(*this, "  the request is not sent");
        return failure(requests.hasId(id) ? EAGAIN : EINVAL, -1);
    }
    ++sent;
    ++framesSent;
    Message &request = requests.put();
    request.number = sent;
    request.agent = agent;
    request.size = static_cast<std::uint32_t>(size);
    request.bytes.fill(0);
    std::copy_n(bytes, std::min(size, request.bytes.size()), request.bytes.begin());
    TELL(*this, "  agent sends request %u (%s %s)", sent, bytes[0] == 1 ? "write" : "read",
         objects::all[asked].name);
    device.work();
    return 0;
}

const Message *World::receive(int id, std::size_t capacity, bool mayBlock, bool mayCut)
{
    if (mayBlock && spring(Trap::answerQueueBeforeWait)) {
        TELL(*this, "  the answer queue is removed before the agent waits");
        answers.remove();
    }
    waitExpired = false;
    device.work();
    if (!answers.hasId(id)) {
        return failure<const Message *>(EINVAL, nullptr);
    }
    while (answers.isEmpty()) {
        const int error = mayBlock ? waitForSomething(id) : ENOMSG;
        waitExpired = error == EINTR;
        if (error != 0) {
            return failure<const Message *>(error, nullptr);
        }
    }
    if (answers.at(0).size > capacity && !mayCut) {
        return failure<const Message *>(E2BIG, nullptr);
    }
    const Message &taken = answers.take();
    messageTaken = true;
    TELL(*this, "  agent takes the answer to request %u", taken.number);
    return &taken;
}

/// Waits until the timer fires, the queue is removed or the device has acted, which returns 0.
int World::waitForSomething(int id)
{
    if (spring(Trap::answerQueueInWait)) {
        TELL(*this, "  the answer queue is removed while the agent waits");
        answers.remove();
        return EIDRM;
    }
    if (spring(Trap::bothQueuesInWait)) {
        removeQueues();
        return EIDRM;
    }
    const auto next = device.nextEvent();
    loseSignals();
    if (!next && !alarm) {
        violate(starting ? Number::startEnds : Number::boundedWait,
                "the agent waits and nothing will ever come");
        throw NeverEnds();
    }
    const bool fires = alarm && (!next || *alarm <= *next);
    now = fires ? *alarm : *next;
    checkTimeLeft();
    if (fires) {
        repeatAlarm();
        return EINTR;
    }
    device.work();
    return answers.hasId(id) ? 0 : EIDRM;
}

/// A signal that comes before the call interrupts nothing.
void World::loseSignals() noexcept
{
    while (alarm && *alarm < now) {
        repeatAlarm();
    }
}

void World::repeatAlarm() noexcept
{
    if (alarmInterval == Time::zero()) {
        alarm.reset();
    } else {
        *alarm += alarmInterval;
    }
}

/// Called before a wait or a pause continues.
void World::checkTimeLeft()
{
    const Time since = starting ? std::max(operationBegin, lastDisturbance) : operationBegin;
    if (now - since > properties::operationBound) {
        violate(starting ? Number::startEnds : Number::boundedWait, "the operation goes on and on");
        throw NeverEnds();
    }
}

void World::remove(int id)
{
    for (Queue *const queue : {&requests, &answers}) {
        if (queue->hasId(id)) {
            queue->remove();
        }
    }
}

void World::pass(Time span)
{
    const Time end = now + span;
    for (auto next = device.nextEvent(); next && *next <= end; next = device.nextEvent()) {
        now = std::max(now, *next);
        device.work();
    }
    now = end;
    checkTimeLeft();
}

void World::removeQueues()
{
    TELL(*this, "  both queues are removed");
    requests.remove();
    answers.remove();
    disturb();
}

void World::startAgent()
{
    ++agent;
    starting = true;
    device.limitPauses(true);
}

void World::agentStarted()
{
    starting = false;
    waitedInVain = false;
    device.limitPauses(false);
}

void World::violate(Number property, const char *what)
{
    if (!violated && ((properties::s_checked >> property) & 1U) != 0) {
        violated = property;
        TELL(*this, "WRONG: %s (property %u: %s)", what, property, broken.at(property));
    }
}

void World::disturb() noexcept
{
    inStep = false;
    lastDisturbance = now;
}

void World::beginExchange() noexcept
{
    exchangeBegin = now;
    messageTaken = false;
    waitExpired = false;
}

void World::endExchange()
{
    const Time took = now - exchangeBegin;
    if (!starting) {
        if (took > properties::answerWait) {
            violate(Number::boundedWait, "an exchange took longer than the wait");
        }
        if (waitedInVain && !messageTaken && took > properties::silentAnswerWait) {
            violate(Number::boundedWait, "a silent device was waited for too long");
        }
    }
    waitedInVain = !messageTaken && waitExpired;
}

bool World::spring(Trap which)
{
    if (trap != which) {
        return false;
    }
    trap = Trap::none;
    disturb();
    return true;
}

void World::checkRequest(const std::uint8_t *bytes, std::size_t size)
{
    const objects::Object &object = objects::all[asked];
    const bool isWrite = bytes[0] == static_cast<std::uint8_t>(Command::writeRequest);
    if (size < deviceFrame::writeHeaderSize || (bytes[2] | bytes[3] << 8) != object.onLink) {
        violate(Number::ownValue, "a request names another object");
    }
    if (isWrite) {
        endExchange();
        beginExchange();
        checkWrite(bytes, size);
    }
    if (!starting) {
        return;
    }
    for (std::size_t index = 0; index < requests.size(); ++index) {
        if (requests.at(index).agent == agent && isSame(requests.at(index), bytes, size)) {
            violate(Number::startEnds, "a request of this start waits twice");
        }
    }
}

void World::checkWrite(const std::uint8_t *bytes, std::size_t size)
{
    const objects::Object &object = objects::all[asked];
    if (habit != Habit::keepsRules) {
        return;
    }
    if (!writing || (object.attribute & writableBit) == 0) {
        violate(Number::ownValue, "a write to an object that is not writable");
    } else if (bytes[1] != object.length || size != object.length + 1U ||
               std::memcmp(bytes + deviceFrame::writeHeaderSize, &object.written,
                           object.length - lengthOverhead) != 0) {
        violate(Number::ownValue, "a write that does not have its object's width and value");
    }
}
