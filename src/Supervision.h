#pragma once

#include "ServiceNotifier.h"

class DataManage;

/// Tells the service manager what start-up waits for, when the agent serves, and that it is alive.
/// It serves while it has a session with the master agent, in which every object is registered.
/// Without a service manager it does nothing and registers nothing with the agent library. Create
/// it once, before anything starts another program; it must outlive serving.
class Supervision
{
public:
    Supervision() = default;
    ~Supervision() = default;
    Supervision(const Supervision &) = delete;
    Supervision &operator=(const Supervision &) = delete;

    void waitsForDevice() const;
    /// Once, between init_agent and init_snmp.
    void waitsForMaster();
    /// Once, after init_snmp: from now on the agent library wakes the loop in time for the
    /// watchdog, and each exchange with the device shows that the agent is alive.
    void serves(DataManage &link);
    /// Call in each turn of the loop: reports the session that has come or gone in the last one.
    void report();

private:
    ServiceNotifier _notifier;
    bool _isConnected = false;
    bool _isReported = false;
};
