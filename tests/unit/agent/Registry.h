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

    /// As before the first use.
    static void reset();
};
