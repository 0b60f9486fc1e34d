#pragma once

#include "Agent.h"
#include "Oracle.h"
#include "World.h"

#include <cstdint>
#include <optional>

/// One schedule: a device of one habit, then steps, each an operation of the agent or something that
/// befalls queues or device; then the device is calm and every object is read again. The oracle
/// says what is done wherever there is more than one way.
class Schedule
{
public:
    Schedule(Oracle &oracle, unsigned steps) : _oracle(oracle), _steps(steps) {}

    /// The property that was broken, if any.
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
