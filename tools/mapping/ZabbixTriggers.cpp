#include "ZabbixTriggers.h"

#include "AlarmWords.h"
#include "Numbers.h"
#include "ServedAlarms.h"
#include "ZabbixItems.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace
{
/// Of limits in a mapping.
constexpr unsigned limitPlaces = 2;

/// In the order of alarmWords::severities.
constexpr std::array<const char *, alarmWords::severities.size()> priorities{
    "DISASTER", "HIGH", "AVERAGE", "WARNING", "INFO"};

const char *priorityOf(const std::string &severity)
{
    const auto *const found =
        std::find(alarmWords::severities.begin(), alarmWords::severities.end(), severity);
    return priorities.at(static_cast<std::size_t>(found - alarmWords::severities.begin()));
}

class Comparison
{
public:
    Comparison(const ServedMapping &served, const ServedAlarm &alarm)
        : _object(servedAlarms::objectOf(served, alarm)),
          _last(zabbixTriggers::call(served, _object, "last"))
    {
    }

    [[nodiscard]] std::string with(const char *sign, std::int64_t hundredths) const
    {
        return _last + sign +
               numbers::decimalText(hundredths, limitPlaces + _object.decimalPlaces());
    }

private:
    const ServedObject &_object;
    std::string _last;
};

std::string oneOf(const Comparison &value, const std::vector<std::int64_t> &numbers)
{
    std::string text;
    for (const std::int64_t number : numbers) {
        text += (text.empty() ? "" : " or ") + value.with("=", number);
    }
    return text;
}

std::string expressionOf(const ServedMapping &served, const ServedAlarm &alarm)
{
    const Comparison value(served, alarm);
    switch (alarm.notes.condition) {
    case AlarmCondition::above:
        return value.with(">", alarm.raise.front());
    case AlarmCondition::below:
        return value.with("<", alarm.raise.front());
    case AlarmCondition::notEqual:
        return value.with("<>", alarm.raise.front());
    case AlarmCondition::equal:
    case AlarmCondition::oneOf:
        return oneOf(value, alarm.raise);
    case AlarmCondition::changed:
        break;
    }
    const ServedObject &object = servedAlarms::objectOf(served, alarm);
    return zabbixTriggers::call(served, object, "last", "#1") + "<>" +
           zabbixTriggers::call(served, object, "last", "#2");
}

std::string recoveryOf(const ServedMapping &served, const ServedAlarm &alarm)
{
    if (!alarm.clear || alarm.clear == alarm.raise.front()) {
        return "";
    }
    const char *const sign = alarm.notes.condition == AlarmCondition::above ? "<=" : ">=";
    return Comparison(served, alarm).with(sign, *alarm.clear);
}
} // namespace

ZabbixTrigger zabbixTriggers::of(const ServedMapping &served, const ServedAlarm &alarm)
{
    const auto &table = servedAlarms::objectOf(served, alarm).table;
    const std::string row = table ? zabbixItems::row(served, *table) : "";
    const std::string text = zabbixItems::plain(alarm.notes.text);
    return {.name = alarm.notes.name + (table ? ": " + row : ""),
            .eventName = table && !text.empty() ? row + ": " + text : text,
            .expression = expressionOf(served, alarm),
            .recovery = recoveryOf(served, alarm),
            .priority = priorityOf(alarm.notes.severity),
            .isEvent = !servedAlarms::hasClear(alarm)};
}

std::string zabbixTriggers::call(const ServedMapping &served, const ServedObject &object,
                                 const std::string &function, const std::string &argument)
{
    return function + "(/" + metricsName(served.module) + '/' + zabbixItems::key(served, object) +
           (argument.empty() ? "" : ',' + argument) + ')';
}

std::string zabbixTriggers::pattern(const ServedMapping &served,
                                    const AlarmNotification &notification)
{
    // How a receiver writes these numbers depends on the MIBs and options that it has.
    static const std::string enterprises = ".1.3.6.1.4.1.";
    std::string oid = oidText(notification.oid);
    std::string prefix;
    if (oid.starts_with(enterprises)) {
        oid = oid.substr(enterprises.size() - 1);
        prefix = R"(((1|iso)\.3\.6\.1\.4\.1|enterprises))";
    }
    std::string pattern;
    for (const char each : oid) {
        pattern += each == '.' ? "\\." : std::string(1, each);
    }
    return '(' + prefix + pattern + '|' + served.module.name + "::" + notification.name +
           ")(?![.0-9A-Za-z])";
}
