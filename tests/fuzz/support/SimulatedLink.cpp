#include "support/SimulatedLink.h"

#include "ComPortAdapter.h"
#include "DeviceFrame.h"
#include "DeviceValue.h"
#include "support/Invariant.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <optional>
#include <thread>
#include <utility>

#include <sys/msg.h>
#include <unistd.h>

namespace
{
using namespace std::chrono_literals;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int requestQueue = 1;
constexpr int answerQueue = 2;
constexpr std::size_t longestMessage = 8192;
constexpr std::size_t queueCapacity = 16384;
constexpr std::array<milliseconds, 8> timesToAnswer{
    {0ms, 1ms, 30ms, 50ms, 1s, 2990ms, 3010ms, 10s}};
/// Longer than any script can last.
constexpr auto longestRun = 24h;
constexpr std::array someErrors{EINTR,  EIDRM,  EINVAL, EACCES,    ENOMEM, E2BIG,
                                EFAULT, EAGAIN, ENOMSG, ETIMEDOUT, ENOSPC, EPERM};

struct Message {
    long type = 0;
    Frame payload;
};

struct Queue {
    std::vector<Message> messages;
    std::size_t bytes = 0;

    void put(Message &&message)
    {
        bytes += message.payload.size();
        messages.push_back(std::move(message));
    }

    void clear()
    {
        messages.clear();
        bytes = 0;
    }

    Message take()
    {
        Message first = std::move(messages.front());
        messages.erase(messages.begin());
        bytes -= first.payload.size();
        return first;
    }
};

/// A request that the device is carrying out.
struct Work {
    Frame request;
    Clock::time_point end;
    bool isFatal = false;
};

struct Link {
    /// Requests are queued only for a device in order; any other takes each at once.
    Queue requests;
    Queue answers;
    bool isInOrder = false;
    std::optional<Work> work;
    /// How far the work of the device in order has progressed.
    Clock::time_point workedUntil;
    std::vector<Frame> sent;
    bool typeWasRight = true;
    Frame lastSent;
    std::vector<Frame> received;
    bool objectsNameThemselves = false;
    std::uint16_t attribute = 0;
    Frame value = Frame(4);
    Clock::time_point begin;
    std::optional<Clock::time_point> alarm;
    Clock::duration alarmInterval{};
    bool timersFailed = false;
    FuzzedDataProvider *pScript = nullptr;
};

const std::thread::id s_agent = std::this_thread::get_id();
Link s_link;
Clock::time_point s_now = Clock::time_point(std::chrono::hours(1));

/// The next decision of the script, from 0, which is always correct, to `most`.
unsigned decide(unsigned most)
{
    return s_link.pScript == nullptr ? 0U : s_link.pScript->ConsumeIntegralInRange(0U, most);
}

int failure(int error)
{
    errno = error;
    return -1;
}

/// An error number in one of 16 calls, otherwise 0.
int scriptedError()
{
    constexpr unsigned oneFails = 15;
    return decide(oneFails) == oneFails
               ? someErrors.at(decide(static_cast<unsigned>(someErrors.size()) - 1))
               : 0;
}

std::uint16_t requestedId(const Frame &request)
{
    return request.size() < deviceFrame::writeHeaderSize
               ? std::uint16_t{0}
               : static_cast<std::uint16_t>(request[2] | request[3] << 8);
}

Frame answerTo(const Frame &request)
{
    if (!request.empty() && request[0] == 1) {
        const std::uint16_t id = requestedId(request);
        return {0x11, request.size() > 1 ? request[1] : std::uint8_t{0},
                static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8)};
    }
    return simulatedLink::rightAnswer(requestedId(request));
}

void putAnswer(Frame &&payload, long type = 1)
{
    if (s_link.answers.bytes + payload.size() <= queueCapacity) {
        s_link.answers.put({.type = type, .payload = std::move(payload)});
    }
}

/// Arbitrary bytes of arbitrary length, even if the script is not long enough for it.
Frame arbitraryFrame()
{
    const std::size_t length = decide(1) == 0 ? decide(80) : decide(longestMessage);
    auto frame = s_link.pScript->ConsumeBytes<std::uint8_t>(std::min<std::size_t>(length, 80));
    frame.resize(length, 0x12);
    return frame;
}

/// The correct answer except for one byte or its length.
Frame damagedAnswer()
{
    Frame answer = answerTo(s_link.lastSent);
    const unsigned place = decide(static_cast<unsigned>(answer.size()) - 1);
    if (decide(1) == 0) {
        answer[place] = static_cast<std::uint8_t>(decide(255));
    } else {
        answer.resize(decide(1) == 0 ? place : answer.size() + place);
    }
    return answer;
}

void deviceAnswers()
{
    switch (decide(7)) {
    case 1:
        break;
    case 2:
        putAnswer(arbitraryFrame());
        break;
    case 3:
        putAnswer(damagedAnswer(), static_cast<long>(decide(3)));
        break;
    case 4:
        putAnswer(simulatedLink::rightAnswer(static_cast<std::uint16_t>(decide(0xFFFF))));
        putAnswer(answerTo(s_link.lastSent));
        break;
    case 5:
        putAnswer(answerTo(s_link.lastSent));
        putAnswer(answerTo(s_link.lastSent));
        break;
    case 6:
        putAnswer(arbitraryFrame());
        putAnswer(answerTo(s_link.lastSent));
        break;
    default:
        putAnswer(answerTo(s_link.lastSent));
        break;
    }
}

void removeQueues()
{
    s_link.requests.clear();
    s_link.answers.clear();
}

/// Whether the device in order has something to do.
bool isAtWork()
{
    if (!s_link.work && !s_link.requests.messages.empty()) {
        const auto time = timesToAnswer.at(decide(std::ssize(timesToAnswer) - 1));
        s_link.work = {.request = s_link.requests.take().payload,
                       .end = s_link.workedUntil + time,
                       .isFatal = decide(7) == 7};
    }
    return s_link.work.has_value();
}

void finishWork()
{
    const Work done = *std::exchange(s_link.work, std::nullopt);
    s_link.workedUntil = done.end;
    if (!done.isFatal) {
        putAnswer(answerTo(done.request));
    } else if (decide(1) == 1) {
        // The next one starts with empty queues.
        removeQueues();
    }
}

void workUntil(Clock::time_point time)
{
    while (isAtWork() && s_link.work->end <= time) {
        finishWork();
    }
    s_link.workedUntil = time;
}

void advanceTo(Clock::time_point time)
{
    s_now = std::max(s_now, time);
    mustHold(s_now - s_link.begin < longestRun, "everything ends");
    if (s_link.isInOrder) {
        workUntil(s_now);
    }
}

int waitForAlarm()
{
    advanceTo(*s_link.alarm);
    *s_link.alarm += s_link.alarmInterval;
    return EINTR;
}

/// Like `waitForAnyDevice`, returns what `wait` does.
int waitForDeviceInOrder()
{
    while (s_link.answers.messages.empty()) {
        const bool isDeviceNext =
            isAtWork() && (!s_link.alarm || s_link.work->end <= *s_link.alarm);
        if (!isDeviceNext && s_link.alarm) {
            return waitForAlarm();
        }
        if (!isDeviceNext || decide(15) == 15) {
            removeQueues();
            return EIDRM;
        }
        if (decide(15) == 15) {
            return EINTR;
        }
        advanceTo(s_link.work->end);
    }
    return 0;
}

int waitForAnyDevice()
{
    switch (decide(7)) {
    case 1:
        return EINTR;
    case 2:
        return EIDRM;
    case 3:
        if (s_link.alarm) {
            advanceTo(s_now + (*s_link.alarm - s_now) * decide(16) / 16);
        }
        return EINTR;
    case 4:
    case 5:
        deviceAnswers();
        break;
    default:
        break;
    }
    if (!s_link.answers.messages.empty()) {
        return 0;
    }
    if (s_link.alarm) {
        return waitForAlarm();
    }
    // A request that never arrived is never answered: in the end the queues are removed.
    if (s_link.sent.empty() || s_link.sent.back() != s_link.lastSent) {
        return EIDRM;
    }
    putAnswer(answerTo(s_link.lastSent));
    return 0;
}

/// A call waits on an empty queue. Returns the errno that ends the wait, or 0 for a message.
int wait()
{
    return s_link.isInOrder ? waitForDeviceInOrder() : waitForAnyDevice();
}

/// A request has reached the queue.
void arrive(Message &&request)
{
    s_link.typeWasRight = s_link.typeWasRight && request.type == linkPort::messageType;
    s_link.sent.push_back(request.payload);
    if (s_link.isInOrder) {
        s_link.requests.put(std::move(request));
        workUntil(s_now);
    } else {
        deviceAnswers();
    }
}

/// A request that this exchange has sent and that is still queued is the last one there.
void mustNotWaitAlready(const Frame &request)
{
    const auto &waiting = s_link.requests.messages;
    const bool waits = !waiting.empty() && waiting.back().payload == request;
    const bool isAgain =
        std::find(s_link.sent.begin(), s_link.sent.end(), request) != s_link.sent.end();
    mustHold(!waits || !isAgain, "a request that waits is not doubled");
}

Frame nameOf(std::uint16_t objId)
{
    constexpr std::array<std::size_t, 4> widths{1, 2, 4, 4};
    const auto low = static_cast<std::uint8_t>(objId);
    const auto high = static_cast<std::uint8_t>(objId >> 8);
    if (static_cast<ValueKind>(objId & valueKindMask) == ValueKind::string) {
        const auto letter = [](unsigned bits) { return static_cast<std::uint8_t>('A' + bits); };
        return {letter(high >> 4), letter(high & 0xFU), letter(low >> 4), letter(low & 0xFU)};
    }
    Frame name{low, high, 0, 0};
    name.resize(widths.at((objId >> 2) & 3U));
    return name;
}

/// The fuzzer has a thread of its own, which also sleeps.
bool isAgent()
{
    return std::this_thread::get_id() == s_agent;
}
} // namespace

void simulatedLink::reset()
{
    removeQueues();
    s_link.isInOrder = false;
    s_link.work.reset();
    s_link.objectsNameThemselves = false;
    s_link.begin = s_now;
    s_link.alarm.reset();
    s_link.timersFailed = false;
    s_link.pScript = nullptr;
    forgetTraffic();
}

void simulatedLink::follow(FuzzedDataProvider &script)
{
    s_link.pScript = &script;
}

void simulatedLink::followInOrder(FuzzedDataProvider &script,
                                  const std::vector<Frame> &earlierRequests)
{
    follow(script);
    s_link.isInOrder = true;
    s_link.workedUntil = s_now;
    for (const Frame &request : earlierRequests) {
        s_link.requests.put({.type = linkPort::messageType, .payload = request});
    }
    workUntil(s_now);
}

void simulatedLink::calmDown()
{
    s_link.pScript = nullptr;
    pass(timesToAnswer.back());
}

void simulatedLink::pass(milliseconds time)
{
    advanceTo(s_now + time);
}

void simulatedLink::everyObjectNamesItself()
{
    s_link.objectsNameThemselves = true;
}

void simulatedLink::everyObjectHolds(std::uint16_t attribute, const Frame &value)
{
    s_link.attribute = attribute;
    s_link.value = value;
}

void simulatedLink::everyObjectHolds(FuzzedDataProvider &input)
{
    s_link.attribute = input.ConsumeIntegral<std::uint16_t>();
    const auto length = input.ConsumeIntegralInRange<std::size_t>(0, 80);
    s_link.value = input.ConsumeBytes<std::uint8_t>(std::min<std::size_t>(length, 16));
    s_link.value.resize(length, '5');
}

const std::vector<Frame> &simulatedLink::requests()
{
    return s_link.sent;
}

bool simulatedLink::allRequestsHadTheType()
{
    return s_link.typeWasRight;
}

void simulatedLink::forgetTraffic()
{
    s_link.sent.clear();
    s_link.received.clear();
    s_link.typeWasRight = true;
}

const std::vector<Frame> &simulatedLink::answers()
{
    return s_link.received;
}

bool simulatedLink::timersFailed()
{
    return s_link.timersFailed;
}

Clock::time_point simulatedLink::now()
{
    return s_now;
}

Frame simulatedLink::rightAnswer(std::uint16_t objId)
{
    const bool isNamed = s_link.objectsNameThemselves;
    const Frame value = isNamed ? nameOf(objId) : s_link.value;
    const unsigned kindOfId = static_cast<unsigned>(objId & valueKindMask) << valueKindShift;
    const unsigned attribute = isNamed ? kindOfId | (objId & writableBit) : s_link.attribute;
    Frame answer{0x12,
                 static_cast<std::uint8_t>(value.size() + lengthOverhead),
                 static_cast<std::uint8_t>(attribute),
                 static_cast<std::uint8_t>(attribute >> 8),
                 static_cast<std::uint8_t>(objId),
                 static_cast<std::uint8_t>(objId >> 8)};
    answer.insert(answer.end(), value.begin(), value.end());
    return answer;
}

// The linker's names for wrapped and real calls are fixed.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
Clock::time_point wrappedNow() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

Clock::time_point wrappedNow()
{
    return s_now;
}

extern "C" {
unsigned __real_sleep(unsigned seconds);

unsigned __wrap_sleep(unsigned seconds)
{
    if (!isAgent()) {
        return __real_sleep(seconds);
    }
    advanceTo(s_now + std::chrono::seconds(seconds));
    return 0;
}

int __wrap_msgget(key_t key, int flags)
{
    mustHold(flags == linkPort::queueFlags, "queues are made with the agreed flags");
    mustHold(key == linkPort::requestKey || key == linkPort::answerKey, "two keys are used");
    if (const int error = s_link.isInOrder ? 0 : scriptedError(); error != 0) {
        return failure(error);
    }
    return key == linkPort::requestKey ? requestQueue : answerQueue;
}

int __wrap_msgctl(int id, int command, struct msqid_ds *state)
{
    const int error = s_link.isInOrder ? 0 : scriptedError();
    if (error != 0 || id == -1) {
        return failure(id == -1 ? EINVAL : error);
    }
    Queue &queue = id == answerQueue ? s_link.answers : s_link.requests;
    if (command == IPC_RMID) {
        queue.clear();
    } else {
        const bool isCounted = s_link.isInOrder || decide(1) == 0;
        state->msg_qnum = isCounted ? queue.messages.size() : decide(40);
    }
    return 0;
}

int __wrap_msgsnd(int id, const void *message, size_t size, int flags)
{
    mustHold((flags & IPC_NOWAIT) != 0, "a send never waits");
    mustHold(size <= linkPort::largestSend, "no request exceeds the limit");
    const auto *const bytes = static_cast<const std::uint8_t *>(message);
    Message request;
    std::memcpy(&request.type, bytes, sizeof request.type);
    request.payload.assign(bytes + sizeof request.type, bytes + sizeof request.type + size);
    s_link.lastSent = request.payload;
    mustNotWaitAlready(request.payload);
    if (const int error = scriptedError(); error != 0 || id != requestQueue) {
        return failure(id != requestQueue ? EINVAL : error);
    }
    if (s_link.requests.bytes + size > queueCapacity) {
        return failure(EAGAIN);
    }
    arrive(std::move(request));
    return 0;
}

ssize_t __wrap_msgrcv(int id, void *message, size_t size, long type, int flags)
{
    mustHold(type == 0, "answers of any type are taken");
    if (const int error = scriptedError(); error != 0 || id != answerQueue) {
        return failure(id != answerQueue ? EINVAL : error);
    }
    if (s_link.answers.messages.empty()) {
        const int error = (flags & IPC_NOWAIT) != 0 ? ENOMSG : wait();
        if (error != 0) {
            return failure(error);
        }
    }
    if (s_link.answers.messages.front().payload.size() > size && (flags & MSG_NOERROR) == 0) {
        return failure(E2BIG);
    }
    Message taken = s_link.answers.take();
    taken.payload.resize(std::min(taken.payload.size(), size));
    auto *const bytes = static_cast<std::uint8_t *>(message);
    std::memcpy(bytes, &taken.type, sizeof taken.type);
    std::copy(taken.payload.begin(), taken.payload.end(), bytes + sizeof taken.type);
    const auto length = static_cast<ssize_t>(taken.payload.size());
    if ((flags & IPC_NOWAIT) == 0) {
        s_link.received.push_back(std::move(taken.payload));
    }
    return length;
}

int __wrap_timer_create(clockid_t clock, struct sigevent * /*event*/, timer_t *timer)
{
    mustHold(clock == CLOCK_MONOTONIC, "waits are measured on the monotonic clock");
    *timer = nullptr;
    const int error = scriptedError();
    s_link.timersFailed = s_link.timersFailed || error != 0;
    return error == 0 ? 0 : failure(error);
}

int __wrap_timer_settime(timer_t /*timer*/, int flags, const struct itimerspec *setting,
                         struct itimerspec * /*old*/)
{
    using namespace std::chrono;
    const Clock::duration at =
        seconds(setting->it_value.tv_sec) + nanoseconds(setting->it_value.tv_nsec);
    if (at == Clock::duration::zero()) {
        s_link.alarm.reset();
        return 0;
    }
    mustHold((flags & TIMER_ABSTIME) != 0, "a wait ends at a point in time");
    if (const int error = scriptedError(); error != 0) {
        s_link.timersFailed = true;
        return failure(error);
    }
    s_link.alarm = Clock::time_point(at);
    s_link.alarmInterval =
        seconds(setting->it_interval.tv_sec) + nanoseconds(setting->it_interval.tv_nsec);
    return 0;
}

int __wrap_timer_delete(timer_t /*timer*/)
{
    s_link.alarm.reset();
    return 0;
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
