#pragma once

#include "Device.h"
#include "Objects.h"
#include "Properties.h"
#include "Queue.h"
#include "Story.h"

#include <chrono>
#include <cstdint>
#include <optional>

/// What happens to a queue in the middle of the next matching call.
enum class Trap : std::uint8_t {
    none,
    requestQueueBeforeSend,
    answerQueueBeforeWait,
    answerQueueInWait,
    bothQueuesInWait
};

/// Everything around the agent: both queues, the timer, the clock and the device. Time passes only
/// where the agent waits or a step says so. The wrapped system calls end up here. Also checks what
/// the agent sends, and when, against the properties.
struct World {
    explicit World(Oracle &oracle) : device(*this, oracle) {}

    using Time = std::chrono::nanoseconds;

    // System calls: 0 or more, or -1 with errno.
    int find(bool requestQueue, bool mayMake);
    int send(int id, const std::uint8_t *bytes, std::size_t size);
    /// The message, or null with errno.
    const Message *receive(int id, std::size_t capacity, bool mayBlock, bool mayCut);
    void remove(int id);
    void pass(Time span);

    void removeQueues();
    void startAgent();
    void agentStarted();
    void violate(properties::Number property, const char *what);
    void disturb() noexcept;

    void beginExchange() noexcept;
    void endExchange();

    Time now = std::chrono::hours(1);
    Time begin = now;
    Queue requests{1};
    Queue answers{2};
    std::optional<Time> alarm;
    Time alarmInterval{};
    Device device;
    Trap trap = Trap::none;
    Habit habit = Habit::keepsRules;

    std::uint32_t agent = 0;
    std::uint32_t sent = 0;
    /// Changes with each operation.
    std::uint32_t version = 0;
    /// The object that the agent has to read or write at the moment, and whether it may write.
    objects::Index asked = objects::a;
    bool writing = false;
    bool starting = false;

    /// Of the operation in progress.
    Time operationBegin{};
    Time deviceTook{};
    std::uint32_t framesSent = 0;
    bool errorAnswered = false;
    /// Of the exchange in progress.
    Time exchangeBegin{};
    bool messageTaken = false;
    bool waitExpired = false;
    /// Whether the previous exchange expired without any message.
    bool waitedInVain = false;

    /// Whether no request has been outstanding so far.
    bool inStep = true;
    Time lastDisturbance{};
    std::optional<properties::Number> violated;

private:
    void checkRequest(const std::uint8_t *bytes, std::size_t size);
    void checkWrite(const std::uint8_t *bytes, std::size_t size);
    bool spring(Trap which);
    int waitForSomething(int id);
    void loseSignals() noexcept;
    void repeatAlarm() noexcept;
    void checkTimeLeft();
};

/// Prints a line of the story.
#define TELL(world, ...)                                                                           \
    (story::s_isTold ? story::print((world).now - (world).begin, __VA_ARGS__) : void())
