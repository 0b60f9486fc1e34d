#pragma once

#include "Objects.h"
#include "Queue.h"

#include <chrono>
#include <cstdint>
#include <optional>

class Oracle;
struct World;

/// Whether a device keeps the rules, or how it breaks them.
enum class Habit : std::uint8_t { keepsRules, foreignIds, spoilsFrames };

/// What a device may do with a request that it has taken. The first choice is to answer at once.
enum class Behaviour : std::uint8_t {
    atOnce,
    withError,
    after15ms,
    after200ms,
    afterNextRequest,
    afterSecondRequest,
    afterFifthRequest,
    pauses,
    dies,
    diesRemovingQueues,
    tooShort,
    tooLong,
    twice
};

/// The device application: takes one request after another and answers each at most once, in that
/// order. The behaviour is chosen for the first two requests of a step; further ones are answered
/// at once. The device does nothing else while it holds a request and for a second after it died.
class Device
{
public:
    Device(World &world, Oracle &oracle) : _world(world), _oracle(oracle) {}

    void start(Habit habit) noexcept;
    /// A step begins, with this many to follow.
    void beginStep(unsigned stepsToFollow) noexcept;
    /// Does what is due and takes queued requests, as far as it can.
    void work();
    /// When it acts next by itself; nullopt: it waits for requests, or forever.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> nextEvent() const noexcept;

    [[nodiscard]] bool holdsRequest() const noexcept { return _held.has_value(); }

    /// Dies and restarts at once, without the request that it held.
    void restart();
    /// Answers the request that it holds and goes on.
    void goOn();
    /// While an agent waits without a deadline (`limited`), pauses last at most 30 s.
    void limitPauses(bool limited);
    /// Ends a pause, answers everything queued, and from now on answers everything at once.
    void calmDown();

private:
    struct Held {
        Message request;
        Behaviour behaviour;
        std::optional<std::chrono::nanoseconds> until;
        /// Goes on once this many requests have been sent.
        std::uint32_t untilSent;
    };

    Behaviour choose();
    void take();
    void act(const Message &request, Behaviour behaviour);
    void settle();
    void comeBack();
    void answer(const Message &request, Behaviour behaviour);
    void putAnswer(const Message &request, Behaviour behaviour);

    World &_world;
    Oracle &_oracle;
    Habit _habit = Habit::keepsRules;
    std::optional<Held> _held;
    std::optional<std::chrono::nanoseconds> _backAt;
    bool _removesQueues = false;
    bool _pausesLimited = false;
    unsigned _choicesLeft = 0;
    unsigned _requestsToFollow = 0;
};
