#include "ServedAlarms.h"

#include "AlarmWords.h"
#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"

#include <algorithm>

namespace
{
constexpr std::int64_t hundred = 100;

/// Nothing if a limit or label is not a number of the object.
std::optional<ServedAlarm> servedAlarm(const ServedObject &object, const AlarmNotes &notes)
{
    ServedAlarm alarm{.notes = notes};
    for (const std::string &text : notes.raise) {
        const auto number = servedAlarms::numberIn(object, text);
        if (!number) {
            return std::nullopt;
        }
        alarm.raise.push_back(*number);
    }
    std::sort(alarm.raise.begin(), alarm.raise.end());
    if (alarmWords::hasLimits(notes.condition)) {
        const auto stated = alarmWords::hundredthsIn(notes.clear);
        alarm.clear = stated ? stated : alarm.raise.front();
    }
    return alarm;
}
} // namespace

std::vector<ServedAlarm> servedAlarms::of(const ServedMapping &served,
                                          const std::vector<AlarmNotes> &alarms)
{
    std::vector<ServedAlarm> found;
    for (const AlarmNotes &notes : alarms) {
        const ServedObject *const object = find(served, notes.object);
        if (object == nullptr || (object->instances.empty() && notes.life.status != "obsolete")) {
            continue;
        }
        if (auto alarm = servedAlarm(*object, notes)) {
            found.push_back(std::move(*alarm));
        }
    }
    std::sort(found.begin(), found.end(), [](const ServedAlarm &a, const ServedAlarm &b) {
        return a.notes.number < b.notes.number;
    });
    return found;
}

const ServedObject *servedAlarms::find(const ServedMapping &served, const std::string &name)
{
    for (const auto *objects : {&served.objects, &served.retired}) {
        for (const ServedObject &object : *objects) {
            if (object.notes.name == name) {
                return &object;
            }
        }
    }
    return nullptr;
}

const ServedObject &servedAlarms::objectOf(const ServedMapping &served, const ServedAlarm &alarm)
{
    return *find(served, alarm.notes.object);
}

std::vector<const ServedObject *> servedAlarms::alongWith(const ServedMapping &served,
                                                          const ServedAlarm &alarm)
{
    std::vector<const ServedObject *> objects{&objectOf(served, alarm)};
    for (const std::string &name : alarm.notes.with) {
        const ServedObject *const object = find(served, name);
        if (object != nullptr) {
            objects.push_back(object);
        }
    }
    return objects;
}

bool servedAlarms::isNumber(const ServedObject &object)
{
    const bool isDecimalText = object.info.asnType == objectType::octetString &&
                               conversion::kindOf(object.info.valueType) == conversion::decimalText;
    return object.info.asnType == objectType::integer || isDecimalText;
}

std::optional<std::int64_t> servedAlarms::numberIn(const ServedObject &object,
                                                   const std::string &text)
{
    if (!isNumber(object)) {
        return std::nullopt;
    }
    for (const auto &[number, label] : object.notes.labels) {
        if (label == text) {
            return number * hundred;
        }
    }
    return alarmWords::hundredthsIn(text);
}

bool servedAlarms::isWatched(const ServedAlarm &alarm)
{
    return alarm.notes.life.status != "obsolete";
}

bool servedAlarms::isWatchedByMaster(const ServedMapping &served, const ServedAlarm &alarm)
{
    return isWatched(alarm) && (alarm.notes.condition == AlarmCondition::changed ||
                                objectOf(served, alarm).info.asnType == objectType::integer);
}

bool servedAlarms::hasClear(const ServedAlarm &alarm)
{
    return alarm.notes.condition != AlarmCondition::changed;
}
