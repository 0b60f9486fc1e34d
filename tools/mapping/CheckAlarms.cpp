#include "AlarmComparisons.h"
#include "AlarmLoad.h"
#include "AlarmWords.h"
#include "CheckedMapping.h"
#include "MappingWords.h"
#include "NotesSchema.h"
#include "ObjectTypes.h"
#include "ServedAlarms.h"
#include "SnmpObjConvertStrategy.h"
#include "TextForms.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
constexpr std::size_t longestName = 30;
constexpr std::int64_t hundred = 100;
constexpr std::int64_t ten = 10;

/// In hundredths.
using Bounds = deviceMotion::Range;

Bounds hundredfold(std::int64_t low, std::int64_t high)
{
    return {.low = low * hundred, .high = high * hundred};
}

Bounds labelBounds(const std::vector<Label> &labels)
{
    const auto [low, high] = std::minmax_element(labels.begin(), labels.end());
    return hundredfold(low->first, high->first);
}

Bounds integerBounds(const ServedObject &object)
{
    using Limits = std::numeric_limits<std::int32_t>;
    if (const auto range = mappingWords::rangeIn(object.notes.range)) {
        return hundredfold(range->first, range->second);
    }
    const std::uint16_t kind = conversion::kindOf(object.info.valueType);
    if (kind == conversion::unsigned16) {
        return hundredfold(0, std::numeric_limits<std::uint16_t>::max());
    }
    // An unsigned number of four bytes is served as a signed one.
    const auto numbers = deviceNumbers(object.notes.device);
    const bool isNarrow = numbers && numbers->high <= Limits::max();
    return isNarrow ? hundredfold(numbers->low, numbers->high)
                    : hundredfold(Limits::min(), Limits::max());
}

/// Of a number or decimal text, as a manager reads it; nothing if nobody says what the device has.
std::optional<Bounds> boundsOf(const ServedObject &object)
{
    if (!object.notes.labels.empty()) {
        return labelBounds(object.notes.labels);
    }
    if (object.info.asnType == objectType::integer) {
        return integerBounds(object);
    }
    const auto numbers = deviceNumbers(object.notes.device);
    if (!numbers) {
        return std::nullopt;
    }
    Bounds bounds = hundredfold(numbers->low, numbers->high);
    for (unsigned place = conversion::placesOf(object.info.valueType); place > 0; --place) {
        bounds = {.low = bounds.low / ten, .high = bounds.high / ten};
    }
    return bounds;
}

/// The rules on one alarm.
class AlarmCheck
{
public:
    AlarmCheck(const ServedMapping &served, const AlarmNotes &alarm, Findings &findings)
        : _served(served), _alarm(alarm), _findings(findings)
    {
    }

    void check()
    {
        if (_alarm.name.size() > longestName) {
            add("TM951", "name", "name " + textForms::quoted(_alarm.name));
        }
        if (_alarm.life.status == "obsolete") {
            return;
        }
        const ServedObject *const object = servedAlarms::find(_served, _alarm.object);
        if (object == nullptr || object->instances.empty()) {
            add("TM952", "object", "object " + textForms::quoted(_alarm.object));
            return;
        }
        checkCompany(*object);
        if (_alarm.condition == AlarmCondition::changed) {
            return;
        }
        if (servedAlarms::isNumber(*object)) {
            checkValues(*object);
        } else {
            add("TM953", "condition",
                std::string(alarmWords::word(_alarm.condition)) + " of " + _alarm.object);
        }
    }

    /// Of an alarm that is published.
    void checkWatching(const ServedAlarm &alarm)
    {
        if (!servedAlarms::isWatchedByMaster(_served, alarm)) {
            add("TM959", "object", "decimal text " + _alarm.object);
            return;
        }
        const double exchanges = alarmLoad::exchangesPerMinute(_served, alarm);
        if (alarmLoad::share(exchanges) > alarmLoad::mostShare) {
            add("TM957", "every", loadText(exchanges));
        }
        if (comparisonsOf(_served, alarm).raise.size() > 1) {
            add("TM960", "raise", "labels of " + _alarm.object);
        }
    }

    static std::string loadText(double exchanges)
    {
        return std::to_string(std::lround(exchanges)) + " exchanges with the device per minute";
    }

private:
    void add(const char *code, const char *key, const std::string &what)
    {
        _findings.add(code, placeOf(_alarm, key), what).object = _alarm.name;
    }

    void checkCompany(const ServedObject &watched)
    {
        for (const std::string &name : _alarm.with) {
            const ServedObject *const object = servedAlarms::find(_served, name);
            const bool isThere = object != nullptr && !object->instances.empty() &&
                                 (!object->table || object->table == watched.table);
            if (!isThere) {
                add("TM956", "with", "object " + textForms::quoted(name));
            }
        }
    }

    void checkValues(const ServedObject &object)
    {
        const auto bounds = boundsOf(object);
        const std::size_t known = _findings.all().size();
        for (const std::string &text : _alarm.raise) {
            checkValue(object, "raise", text, bounds);
        }
        if (!_alarm.clear.empty()) {
            checkValue(object, "clear", _alarm.clear, bounds);
        }
        if (_findings.all().size() == known && alarmWords::hasLimits(_alarm.condition)) {
            checkSides(object, bounds);
        }
    }

    void checkValue(const ServedObject &object, const char *key, const std::string &text,
                    const std::optional<Bounds> &bounds)
    {
        const auto number = servedAlarms::numberIn(object, text);
        // Nothing is equal to half a number, but something may be above it.
        const bool isWhole =
            number && (alarmWords::hasLimits(_alarm.condition) || *number % hundred == 0);
        const bool isInside =
            number && (!bounds || (*number >= bounds->low && *number <= bounds->high));
        const bool isLabel = object.notes.labels.empty() ||
                             alarmWords::hasLimits(_alarm.condition) || isLabelled(object, number);
        const bool isInteger = object.info.asnType == objectType::integer;
        if (!number || !isInside || !isLabel || (isInteger && !isWhole)) {
            add("TM954", key,
                std::string(key) + ' ' + textForms::quoted(text) + " of " + _alarm.object);
        }
    }

    static bool isLabelled(const ServedObject &object, std::optional<std::int64_t> number)
    {
        const auto &labels = object.notes.labels;
        return std::any_of(labels.begin(), labels.end(), [number](const Label &label) {
            return label.first * hundred == number;
        });
    }

    /// Both limits are numbers that the object can have, and it has to get past them.
    void checkSides(const ServedObject &object, const std::optional<Bounds> &bounds)
    {
        const bool isAbove = _alarm.condition == AlarmCondition::above;
        const std::int64_t raise = *servedAlarms::numberIn(object, _alarm.raise.front());
        const std::int64_t clear = alarmWords::hundredthsIn(_alarm.clear).value_or(raise);
        if (bounds && raise == (isAbove ? bounds->high : bounds->low)) {
            add("TM954", "raise",
                "nothing is " + std::string(alarmWords::word(_alarm.condition)) + ' ' +
                    textForms::quoted(_alarm.raise.front()));
        }
        if (isAbove ? clear > raise : clear < raise) {
            add("TM955", "clear", "clear " + _alarm.clear + ", raise " + _alarm.raise.front());
        }
    }

    const ServedMapping &_served;
    const AlarmNotes &_alarm;
    Findings &_findings;
};

void checkNotificationNumber(const CheckedMapping &mapping, Findings &findings)
{
    for (const ScalarEntry &entry : mapping.source.scalars) {
        if (entry.record.oidArc1 == 0) {
            findings.add("TM961", placeOf(entry, "oidArc1"), "scalar " + shownAs(entry));
        }
    }
    for (const CheckedTable &table : mapping.tables) {
        const Oid below = numbersIn(table.node);
        if (table.isServed && !below.empty() && below.front() == 0) {
            findings.add("TM961", placeOf(*table.cells.front(), "tableNode"),
                         "table " + table.node);
        }
    }
}

void checkLoad(const ServedMapping &served, Findings &findings)
{
    const double exchanges = alarmLoad::exchangesPerMinute(served);
    const auto &found = findings.all();
    const bool isKnown = std::any_of(
        found.begin(), found.end(), [](const Finding &each) { return each.rule->code == "TM957"; });
    if (!isKnown && alarmLoad::share(exchanges) > alarmLoad::mostShare) {
        findings.add("TM958", {.table = mappingSchema::alarmTable, .row = 0, .column = {}},
                     AlarmCheck::loadText(exchanges));
    }
}
} // namespace

void checkAlarms(const CheckedMapping &mapping, Findings &findings)
{
    if (mapping.source.alarms.empty()) {
        return;
    }
    const ServedMapping served = servedBy(mapping.database, {.base = mapping.baseText});
    for (const AlarmNotes &alarm : mapping.source.alarms) {
        const std::size_t known = findings.all().size();
        AlarmCheck(served, alarm, findings).check();
        const auto published = std::find_if(
            served.alarms.begin(), served.alarms.end(),
            [&alarm](const ServedAlarm &each) { return each.notes.number == alarm.number; });
        if (findings.all().size() == known && published != served.alarms.end() &&
            servedAlarms::isWatched(*published)) {
            AlarmCheck(served, alarm, findings).checkWatching(*published);
        }
    }
    checkLoad(served, findings);
    checkNotificationNumber(mapping, findings);
}
