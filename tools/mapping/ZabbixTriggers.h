#pragma once

#include "AlarmNotifications.h"
#include "ServedObjects.h"

#include <string>

/// How an alarm is a trigger of a Zabbix template, and how its notifications are recognised.
struct ZabbixTrigger {
    std::string name;
    /// What a problem is called; empty: as the trigger.
    std::string eventName;
    std::string expression;
    /// Holds when the problem is over; empty: as soon as the expression does not hold.
    std::string recovery;
    /// "DISASTER", "HIGH", "AVERAGE", "WARNING" or "INFO"
    const char *priority = "";
    /// Every value for which the expression holds is a problem of its own, which a user closes.
    bool isEvent = false;
};

namespace zabbixTriggers
{
[[nodiscard]] ZabbixTrigger of(const ServedMapping &served, const ServedAlarm &alarm);

/// The values of an object as triggers read them: "last(/sample_shelf_mib/sample_shelf_mib.fans)".
[[nodiscard]] std::string call(const ServedMapping &served, const ServedObject &object,
                               const std::string &function, const std::string &argument = "");

/// A regular expression for a notification: its OID, or its name if the receiver knows the MIB.
[[nodiscard]] std::string pattern(const ServedMapping &served,
                                  const AlarmNotification &notification);
} // namespace zabbixTriggers
