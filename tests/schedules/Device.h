#pragma once

#include "Objects.h"
#include "Queue.h"

#include <chrono>
#include <cstdint>
#include <optional>

class Oracle;
struct World;

/// Whether a device keeps the rules, and in what it does not.
enum class Habit : std::uint8_t { keepsRules, foreignIds, spoilsFrames };

/// What a device may do with a request that it has taken. The first of all is to answer at once.
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

/// The device application: takes one request after the other and answers each at most once, in that
/// order. What it does with each is chosen, for the first two of a step; it answers further ones at
/// once. It is out of action while it holds a request and for a second after it died.
class Device
{
public:
    Device(World &world, Oracle &oracle) : _world(world), _oracle(oracle) {}

    void start(Habit habit) noexcept;
    /// A step begins, with so many to follow.
    void beginStep(unsigned stepsToFollow) noexcept;
    /// Does what is due and takes what waits, as far as it can.
    void work();
    /// When it does the next thing by itself; nothing: it waits for requests, or for ever.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> nextEvent() const noexcept;

    [[nodiscard]] bool holdsRequest() const noexcept { return _held.has_value(); }

    /// It dies and is there again, without the request it held.
    void restart();
    /// It answers what it holds and goes on.
    void goOn();
    /// An agent that waits without limit begins or ceases to: what pauses does so for 30 s at most.
    void limitPauses(bool limited);
    /// It goes on if it paused, answers everything that waits, and from now on everything at once.
    void calmDown();

private:
    struct Held {
        Message request;
        Behaviour behaviour;
        std::optional<std::chrono::nanoseconds> until;
        /// Goes on when so many requests were sent.
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
