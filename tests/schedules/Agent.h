#pragma once

#include "DataManage.h"
#include "Objects.h"
#include "World.h"

#include <optional>

/// The agent's side: runs the public operations of the real class one after another and checks each
/// against the properties.
class Agent
{
public:
    explicit Agent(World &world) : _world(world) {}

    /// Starts an agent, possibly with what a previous one left on the queues, and reads what a
    /// start reads.
    void start();
    /// Reads an object; returns whether that succeeded.
    bool get(objects::Index object, DeviceValue &value);
    /// Writes an object, as for a manager.
    void set(objects::Index object);

private:
    class Link : public DataManage
    {
    public:
        explicit Link(const LinkPolicy &policy) : DataManage(policy) {}
    };

    bool read(objects::Index object, DeviceValue &value);
    void beginOperation(objects::Index object, bool writing);
    void endOperation();
    void checkRead(objects::Index object, bool succeeded, const DeviceValue &value);
    void checkInStep(unsigned frames, bool succeeded);

    World &_world;
    std::optional<Link> _link;
};
