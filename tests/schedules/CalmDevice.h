#pragma once

#include "Agent.h"
#include "World.h"

/// What follows the steps: the device answers everything queued, and from then on answers at once.
/// The objects are read until each has been served, which must happen in time.
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
