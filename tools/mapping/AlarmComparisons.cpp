#include "AlarmComparisons.h"

#include <algorithm>

namespace
{
constexpr std::int64_t hundred = 100;

/// The greatest integer that is not above a limit.
std::int64_t atMost(std::int64_t hundredths)
{
    const std::int64_t whole = hundredths / hundred;
    return hundredths < 0 && hundredths % hundred != 0 ? whole - 1 : whole;
}

/// The least integer that is not below a limit.
std::int64_t atLeast(std::int64_t hundredths)
{
    return -atMost(-hundredths);
}

AlarmComparisons outside(const ServedAlarm &alarm)
{
    const std::int64_t raise = alarm.raise.front();
    const std::int64_t clear = alarm.clear.value_or(raise);
    if (alarm.notes.condition == AlarmCondition::above) {
        return {.raise = {{">", atMost(raise)}}, .clear = {{"<=", atMost(clear)}}};
    }
    return {.raise = {{"<", atLeast(raise)}}, .clear = {{">=", atLeast(clear)}}};
}

AlarmComparisons withValue(const ServedAlarm &alarm)
{
    const std::int64_t value = alarm.raise.front();
    if (value % hundred != 0) {
        return {};
    }
    const AlarmComparison is{"==", value / hundred};
    const AlarmComparison isNot{"!=", value / hundred};
    return alarm.notes.condition == AlarmCondition::equal
               ? AlarmComparisons{.raise = {is}, .clear = {isNot}}
               : AlarmComparisons{.raise = {isNot}, .clear = {is}};
}

AlarmComparisons withLabels(const ServedObject &object, const ServedAlarm &alarm)
{
    const std::int64_t lowest = alarm.raise.front() / hundred;
    const std::int64_t highest = alarm.raise.back() / hundred;
    AlarmComparisons comparisons;
    for (const std::int64_t hundredths : alarm.raise) {
        comparisons.raise.push_back({"==", hundredths / hundred});
    }
    bool hasLower = false;
    bool hasHigher = false;
    for (const auto &[number, label] : object.notes.labels) {
        hasLower = hasLower || number < lowest;
        hasHigher = hasHigher || number > highest;
        const bool isBetween = number > lowest && number < highest;
        if (isBetween &&
            std::count(alarm.raise.begin(), alarm.raise.end(), number * hundred) == 0) {
            comparisons.clear.push_back({"==", number});
        }
    }
    if (hasLower) {
        comparisons.clear.push_back({"<", lowest});
    }
    if (hasHigher) {
        comparisons.clear.push_back({">", highest});
    }
    if (comparisons.clear.size() == 1 && hasLower) {
        comparisons.raise = {{">=", lowest}};
    } else if (comparisons.clear.size() == 1 && hasHigher) {
        comparisons.raise = {{"<=", highest}};
    }
    return comparisons;
}
} // namespace

AlarmComparisons comparisonsOf(const ServedMapping &served, const ServedAlarm &alarm)
{
    switch (alarm.notes.condition) {
    case AlarmCondition::above:
    case AlarmCondition::below:
        return outside(alarm);
    case AlarmCondition::equal:
    case AlarmCondition::notEqual:
        return withValue(alarm);
    case AlarmCondition::oneOf:
        return withLabels(servedAlarms::objectOf(served, alarm), alarm);
    case AlarmCondition::changed:
        break;
    }
    return {.raise = {{"!="}}};
}
