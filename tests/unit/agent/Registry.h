#pragma once

#include "SnmpAgentX.h"

/// The registry with its class-wide state in the open, which lasts for one test only.
class Registry : public SnmpAgentX
{
public:
    using SnmpAgentX::answer;
    using SnmpAgentX::database;
    using SnmpAgentX::pendingObj;
    using SnmpAgentX::pendingValue;
    using SnmpAgentX::s_instance;
    using SnmpAgentX::scalarObjs;

    /// The handlers of the one instance, by their tables.
    static const std::map<std::string, SnmpTableStrategy *> &tables();
    /// As before the first use.
    static void reset();
};
