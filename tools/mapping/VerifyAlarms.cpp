#include "VerifyAlarms.h"

#include "AlarmLoad.h"
#include "CheckedMapping.h"
#include "DeviceObjects.h"
#include "ServedAlarms.h"

#include <cmath>

namespace
{
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr Milliseconds minute = std::chrono::minutes(1);

/// Of the instances that the device answers; 0 if it answers none.
Milliseconds meanTime(const ServedObject &object, const DeviceReadings &readings)
{
    Milliseconds sum{};
    int answered = 0;
    for (const ServedInstance &instance : object.instances) {
        const auto reading = instance.objId
                                 ? readings.objects.find(deviceObject::onLink(*instance.objId))
                                 : readings.objects.end();
        if (reading != readings.objects.end() && reading->second.isAnswered()) {
            sum += reading->second.time;
            ++answered;
        }
    }
    return answered == 0 ? sum : sum / answered;
}
} // namespace

void verifyAlarms(const ServedMapping &served, const DeviceReadings &readings, Findings &findings)
{
    for (const ServedAlarm &alarm : served.alarms) {
        const double exchanges = alarmLoad::exchangesPerMinute(served, alarm);
        const Milliseconds time = meanTime(servedAlarms::objectOf(served, alarm), readings);
        if (exchanges * time > alarmLoad::mostShare * minute) {
            findings
                .add("TV215", placeOf(alarm.notes, "every"),
                     std::to_string(std::lround(exchanges)) + " exchanges per minute of " +
                         std::to_string(std::lround(time.count())) + " ms each")
                .object = alarm.notes.name;
        }
    }
}
