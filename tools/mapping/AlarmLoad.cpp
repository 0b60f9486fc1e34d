#include "AlarmLoad.h"

#include "AlarmComparisons.h"
#include "AlarmWords.h"
#include "Configuration.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace
{
using Seconds = std::chrono::duration<double>;

constexpr Seconds minute{60};
constexpr double percent = 100;
} // namespace

double alarmLoad::exchangesPerMinute(const ServedMapping &served, const ServedAlarm &alarm)
{
    if (!servedAlarms::isWatchedByMaster(served, alarm) || alarm.notes.every == 0) {
        return 0;
    }
    const auto &instances = servedAlarms::objectOf(served, alarm).instances;
    const auto exchanges =
        std::count_if(instances.begin(), instances.end(),
                      [](const ServedInstance &each) { return each.objId.has_value(); });
    const AlarmComparisons comparisons = comparisonsOf(served, alarm);
    const auto monitors = comparisons.raise.size() + comparisons.clear.size();
    return static_cast<double>(exchanges) * static_cast<double>(monitors) * minute.count() /
           alarm.notes.every;
}

double alarmLoad::exchangesPerMinute(const ServedMapping &served)
{
    double exchanges = 0;
    for (const ServedAlarm &alarm : served.alarms) {
        exchanges += exchangesPerMinute(served, alarm);
    }
    return exchanges;
}

double alarmLoad::share(double exchangesPerMinute)
{
    return exchangesPerMinute * Seconds(configuration::silentAnswerWait) / minute;
}

std::string alarmLoad::text(double exchangesPerMinute)
{
    const auto wait = std::chrono::milliseconds(configuration::silentAnswerWait);
    return alarmWords::numberText(std::llround(exchangesPerMinute * percent)) +
           " exchanges with the device per minute, " +
           std::to_string(std::lround(share(exchangesPerMinute) * percent)) +
           " % of the time if each takes " + std::to_string(wait.count()) + " ms";
}
