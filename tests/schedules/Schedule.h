#pragma once

#include "Agent.h"
#include "Oracle.h"
#include "World.h"

#include <cstdint>
#include <optional>

/// One schedule. An agent starts with a device in order; then come the steps; then the device is
/// calm and every object is read again (`CalmDevice`). The oracle decides wherever there is more
/// than one option, so all of these occur, in every order:
///  - the habit of the device: it keeps the rules, answers A, B and C under a foreign id, or spoils
///    frames;
///  - each step: a get or a set of A, B or C (C is not writable); the start of another agent; the
///    messages of either queue removed; either queue or both removed; a device that holds a request
///    restarted without it, or answering it; a minute that passes; a queue that will be removed
///    between the lookup and the next send or wait, or the answer queue or both in the next wait
///    that finds no message;
///  - in each step, for each of the first two requests that the device takes (it answers further
///    ones at once): what `Behaviour` names, answered at once or with an error, after 15 ms or 200
///    ms, once 1, 2 or 5 more were sent, never, or the device dies for a second, and may remove
///    both queues when it comes back. A device that spoils frames sends short, oversized and
///    duplicate answers in place of some of these; one with foreign ids never takes 15 ms.
/// Options that can show nothing new are left out: B before A was used, since only the comparison
/// of ids distinguishes them; removing what is empty; waiting for more requests than there can be.
/// Time passes only in waits, and the queues never fill up.
class Schedule
{
public:
    Schedule(Oracle &oracle, unsigned steps) : _oracle(oracle), _steps(steps) {}

    /// The property that was violated, if any.
    std::optional<properties::Number> run();

private:
    enum class Step : std::uint8_t;

    void runSteps(World &world, Agent &agent);
    Step chooseStep(const World &world);
    void perform(Step step, World &world, Agent &agent);

    Oracle &_oracle;
    unsigned _steps;
    bool _usedA = false;
};
