#pragma once

#include "ServedObjects.h"

#include <string>

/// What the alarms cost that the master agent watches: it gets every value for every comparison by
/// itself, and each get is an exchange with the device.
namespace alarmLoad
{
/// Above this share of the time, managers notice that they wait for the alarms.
inline constexpr double mostShare = 0.25;

/// Of one alarm; 0 if the master does not watch it.
[[nodiscard]] double exchangesPerMinute(const ServedMapping &served, const ServedAlarm &alarm);
/// Of all alarms.
[[nodiscard]] double exchangesPerMinute(const ServedMapping &served);

/// The share of the time in which the agent waits for the device, if each exchange takes as long as
/// the agent waits for a silent one.
[[nodiscard]] double share(double exchangesPerMinute);
/// Both, in words.
[[nodiscard]] std::string text(double exchangesPerMinute);
} // namespace alarmLoad
