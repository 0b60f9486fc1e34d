#include "support/SimulatedLink.h"

#include "ComPortAdapter.h"
#include "DeviceFrame.h"
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
using Clock = std::chrono::steady_clock;

constexpr int requestQueue = 1;
constexpr int answerQueue = 2;
constexpr std::size_t longestMessage = 8192;
constexpr std::size_t queueCapacity = 16384;
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

struct Link {
    /// Of requests none ever waits: the device takes each at once.
    Queue answers;
    std::vector<Frame> sent;
    bool typeWasRight = true;
    Frame lastSent;
    Frame lastTaken;
    std::uint16_t attribute = 0;
    Frame value = Frame(4);
    std::optional<Clock::time_point> alarm;
    Clock::duration alarmInterval{};
    bool timersFailed = false;
    FuzzedDataProvider *pScript = nullptr;
};

const std::thread::id s_agent = std::this_thread::get_id();
Link s_link;
Clock::time_point s_now = Clock::time_point(std::chrono::hours(1));

/// The next decision of the script from 0, which is what is right, to `most`.
unsigned decide(unsigned most)
{
    return s_link.pScript == nullptr ? 0U : s_link.pScript->ConsumeIntegralInRange(0U, most);
}

int failure(int error)
{
    errno = error;
    return -1;
}

/// An error number in one of 16 calls, else 0.
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

/// Arbitrary bytes of an arbitrary length, also lengths that no script is long enough for.
Frame arbitraryFrame()
{
    const std::size_t length = decide(1) == 0 ? decide(80) : decide(longestMessage);
    auto frame = s_link.pScript->ConsumeBytes<std::uint8_t>(std::min<std::size_t>(length, 80));
    frame.resize(length, 0x12);
    return frame;
}

/// The right answer but for one byte or for its length.
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

/// A call waits on an empty queue. Returns the errno that ends the wait, or 0 for a message.
int wait()
{
    switch (decide(7)) {
    case 1:
        return EINTR;
    case 2:
        return EIDRM;
    case 3:
        if (s_link.alarm) {
            s_now = std::max(s_now, s_now + (*s_link.alarm - s_now) * decide(16) / 16);
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
        s_now = std::max(s_now, *s_link.alarm);
        *s_link.alarm += s_link.alarmInterval;
        return EINTR;
    }
    putAnswer(answerTo(s_link.lastSent));
    return 0;
}

/// The fuzzer has a thread of its own, which sleeps as well.
bool isAgent()
{
    return std::this_thread::get_id() == s_agent;
}
} // namespace

void simulatedLink::reset()
{
    s_link.answers.clear();
    s_link.alarm.reset();
    s_link.timersFailed = false;
    s_link.pScript = nullptr;
    forgetRequests();
}

void simulatedLink::follow(FuzzedDataProvider &script)
{
    s_link.pScript = &script;
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

void simulatedLink::forgetRequests()
{
    s_link.sent.clear();
    s_link.typeWasRight = true;
}

const Frame &simulatedLink::lastTaken()
{
    return s_link.lastTaken;
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
    Frame answer{0x12,
                 static_cast<std::uint8_t>(s_link.value.size() + lengthOverhead),
                 static_cast<std::uint8_t>(s_link.attribute),
                 static_cast<std::uint8_t>(s_link.attribute >> 8),
                 static_cast<std::uint8_t>(objId),
                 static_cast<std::uint8_t>(objId >> 8)};
    answer.insert(answer.end(), s_link.value.begin(), s_link.value.end());
    return answer;
}

// The linker's names for a wrapped call and for the real one are fixed.
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
    return isAgent() ? 0 : __real_sleep(seconds);
}

int __wrap_msgget(key_t key, int flags)
{
    mustHold(flags == linkPort::queueFlags, "queues are made with the agreed flags");
    mustHold(key == linkPort::requestKey || key == linkPort::answerKey, "two keys are used");
    if (const int error = scriptedError(); error != 0) {
        return failure(error);
    }
    return key == linkPort::requestKey ? requestQueue : answerQueue;
}

int __wrap_msgctl(int id, int command, struct msqid_ds *state)
{
    if (const int error = scriptedError(); error != 0 || id == -1) {
        return failure(id == -1 ? EINVAL : error);
    }
    const std::size_t waiting = id == answerQueue ? s_link.answers.messages.size() : 0;
    if (command != IPC_RMID) {
        state->msg_qnum = decide(1) == 0 ? waiting : decide(40);
    } else if (id == answerQueue) {
        s_link.answers.clear();
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
    if (const int error = scriptedError(); error != 0 || id != requestQueue) {
        return failure(id != requestQueue ? EINVAL : error);
    }
    s_link.typeWasRight = s_link.typeWasRight && request.type == linkPort::messageType;
    s_link.sent.push_back(std::move(request.payload));
    deviceAnswers();
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
    s_link.lastTaken = std::move(taken.payload);
    return static_cast<ssize_t>(s_link.lastTaken.size());
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
