#pragma once

#include "Agent.h"
#include "World.h"

/// What comes after the steps: the device answers all that waits, and from then on everything at
/// once. The objects are read until each has been served, which must be so in time.
class CalmDevice
{
public:
    CalmDevice(World &world, Agent &agent) : _world(world), _agent(agent) {}

    void mustServe();

private:
    void readAgain();
    void poll();
    bool allAreServed();

    World &_world;
    Agent &_agent;
};
