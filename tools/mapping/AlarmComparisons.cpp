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

std::vector<AlarmComparison> eachOf(const std::vector<std::int64_t> &numbers)
{
    std::vector<AlarmComparison> comparisons;
    for (const std::int64_t number : numbers) {
        comparisons.push_back({"==", number});
    }
    return comparisons;
}

AlarmComparisons withLabels(const ServedObject &object, const ServedAlarm &alarm)
{
    std::vector<std::int64_t> raising;
    for (const std::int64_t hundredths : alarm.raise) {
        raising.push_back(hundredths / hundred);
    }
    std::vector<std::int64_t> others;
    for (const auto &[number, label] : object.notes.labels) {
        if (std::count(raising.begin(), raising.end(), number) == 0) {
            others.push_back(number);
        }
    }
    std::sort(others.begin(), others.end());
    if (!others.empty() && others.back() < raising.front()) {
        return {.raise = {{">=", raising.front()}}, .clear = {{"<", raising.front()}}};
    }
    if (!others.empty() && others.front() > raising.back()) {
        return {.raise = {{"<=", raising.back()}}, .clear = {{">", raising.back()}}};
    }
    return {.raise = eachOf(raising), .clear = eachOf(others)};
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
