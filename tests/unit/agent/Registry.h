#pragma once

#include "SnmpAgentX.h"

/// The registry with public access to its class-wide state, which lasts for one test only.
class Registry : public SnmpAgentX
{
public:
    using SnmpAgentX::answer;
    using SnmpAgentX::database;
    using SnmpAgentX::pendingObj;
    using SnmpAgentX::pendingValue;
    using SnmpAgentX::s_instance;
    using SnmpAgentX::scalarObjs;

    /// The handlers of the singleton, by table.
    static const std::map<std::string, SnmpTableStrategy *> &tables();
    /// Restores the state before the first use.
    static void reset();
};
