#include "AlarmNotifications.h"

#include "AlarmComparisons.h"
#include "AlarmWords.h"
#include "PublishedObjects.h"

#include <algorithm>

namespace
{
constexpr std::uint32_t nodeArc = 0;
constexpr std::int64_t hundred = 100;

Oid numbered(const ServedMapping &served, std::uint32_t number)
{
    Oid oid = alarmNotifications::node(served);
    oid.push_back(number);
    return oid;
}

/// "down(0)" for a label.
std::string valueText(const ServedObject &object, std::int64_t hundredths)
{
    const std::string number = alarmWords::numberText(hundredths);
    for (const auto &[value, label] : object.notes.labels) {
        if (value * hundred == hundredths) {
            return label + '(' + number + ')';
        }
    }
    return number;
}

/// "degraded(2) or testing(3)"
std::string raisingValues(const ServedObject &object, const ServedAlarm &alarm)
{
    std::string text;
    for (const std::int64_t hundredths : alarm.raise) {
        text += (text.empty() ? "" : " or ") + valueText(object, hundredths);
    }
    return text;
}

std::string raiseCondition(const ServedObject &object, const ServedAlarm &alarm)
{
    const std::string values = raisingValues(object, alarm);
    switch (alarm.notes.condition) {
    case AlarmCondition::above:
        return "is above " + values;
    case AlarmCondition::below:
        return "is below " + values;
    case AlarmCondition::equal:
    case AlarmCondition::oneOf:
        return "is " + values;
    case AlarmCondition::notEqual:
        return "is not " + values;
    case AlarmCondition::changed:
        break;
    }
    return "has changed";
}

std::string clearCondition(const ServedObject &object, const ServedAlarm &alarm)
{
    const std::string limit = alarmWords::numberText(alarm.clear.value_or(0));
    switch (alarm.notes.condition) {
    case AlarmCondition::above:
        return "is " + limit + " or less";
    case AlarmCondition::below:
        return "is " + limit + " or more";
    case AlarmCondition::notEqual:
        return "is " + raisingValues(object, alarm) + " again";
    default:
        break;
    }
    return "is no longer " + raisingValues(object, alarm);
}

/// "portState of the row "
std::string subject(const ServedObject &object)
{
    return object.notes.name + (object.table ? " of the row " : " ");
}

/// Managers must not wait for what is never sent.
std::string unsentRemark(const ServedMapping &served, const ServedAlarm &alarm)
{
    return servedAlarms::isWatched(alarm) && !alarmNotifications::isSent(served, alarm)
               ? " It is not sent: managers watch the object themselves."
               : "";
}
} // namespace

Oid alarmNotifications::node(const ServedMapping &served)
{
    Oid oid = served.base;
    oid.push_back(nodeArc);
    return oid;
}

AlarmNotification alarmNotifications::raise(const ServedMapping &served, const ServedAlarm &alarm)
{
    const ServedObject &object = servedAlarms::objectOf(served, alarm);
    const std::string &text = alarm.notes.text;
    return {.name = alarm.notes.name,
            .oid = numbered(served, 2 * alarm.notes.number - 1),
            .description = text + (text.empty() ? "" : " ") + "Raised when " + subject(object) +
                           raiseCondition(object, alarm) + ". Severity: " + alarm.notes.severity +
                           '.' + unsentRemark(served, alarm)};
}

AlarmNotification alarmNotifications::clear(const ServedMapping &served, const ServedAlarm &alarm)
{
    const ServedObject &object = servedAlarms::objectOf(served, alarm);
    return {.name = alarm.notes.name + alarmWords::clearSuffix,
            .oid = numbered(served, 2 * alarm.notes.number),
            .description = "The alarm " + alarm.notes.name + " is cleared when " + subject(object) +
                           clearCondition(object, alarm) + '.' + unsentRemark(served, alarm)};
}

std::vector<AlarmNotification> alarmNotifications::of(const ServedMapping &served,
                                                      const ServedAlarm &alarm)
{
    std::vector<AlarmNotification> notifications{raise(served, alarm)};
    if (servedAlarms::hasClear(alarm)) {
        notifications.push_back(clear(served, alarm));
    }
    return notifications;
}

bool alarmNotifications::isPublished(const ServedMapping &served, const ServedAlarm &alarm)
{
    return publishedObjects::isPublished(servedAlarms::objectOf(served, alarm));
}

bool alarmNotifications::isSent(const ServedMapping &served, const ServedAlarm &alarm)
{
    return isPublished(served, alarm) && servedAlarms::isWatchedByMaster(served, alarm) &&
           !comparisonsOf(served, alarm).raise.empty();
}

std::vector<const ServedObject *> alarmNotifications::objects(const ServedMapping &served,
                                                              const ServedAlarm &alarm)
{
    std::vector<const ServedObject *> objects = servedAlarms::alongWith(served, alarm);
    std::erase_if(objects,
                  [](const ServedObject *each) { return !publishedObjects::isPublished(*each); });
    return objects;
}
