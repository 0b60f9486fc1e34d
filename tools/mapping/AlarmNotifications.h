#pragma once

#include "ServedAlarms.h"

#include <string>
#include <vector>

/// One of the notifications of an alarm, as a MIB defines it and the master agent sends it.
struct AlarmNotification {
    std::string name;
    Oid oid;
    std::string description;
};

/// An alarm has two notifications, or one if nothing clears it. Their OIDs depend on its number
/// only: they follow the node 0 below the base, so that they also have the form of SNMPv1 traps.
namespace alarmNotifications
{
[[nodiscard]] Oid node(const ServedMapping &served);
[[nodiscard]] AlarmNotification raise(const ServedMapping &served, const ServedAlarm &alarm);
[[nodiscard]] AlarmNotification clear(const ServedMapping &served, const ServedAlarm &alarm);
/// Both, if it has both.
[[nodiscard]] std::vector<AlarmNotification> of(const ServedMapping &served,
                                                const ServedAlarm &alarm);

/// Whether a MIB can have it: what it watches is published.
[[nodiscard]] bool isPublished(const ServedMapping &served, const ServedAlarm &alarm);
/// Whether the master agent can watch and send it.
[[nodiscard]] bool isSent(const ServedMapping &served, const ServedAlarm &alarm);
/// Those that are published of what it watches and what is sent along.
[[nodiscard]] std::vector<const ServedObject *> objects(const ServedMapping &served,
                                                        const ServedAlarm &alarm);
} // namespace alarmNotifications
