#pragma once

#include "ServedObjects.h"

#include <optional>
#include <string>
#include <vector>

/// What every writer of alarms needs: the objects of an alarm, its limits as numbers, and who can
/// watch it.
namespace servedAlarms
{
/// The alarms that a mapping can have: their objects are served or, for an obsolete alarm, were so
/// once, and their limits and labels are numbers. In the order of their numbers.
[[nodiscard]] std::vector<ServedAlarm> of(const ServedMapping &served,
                                          const std::vector<AlarmNotes> &alarms);

/// Null if the mapping has no object with the name, not even a retired one.
[[nodiscard]] const ServedObject *find(const ServedMapping &served, const std::string &name);
/// What it watches.
[[nodiscard]] const ServedObject &objectOf(const ServedMapping &served, const ServedAlarm &alarm);
/// What it watches, and then what is sent along.
[[nodiscard]] std::vector<const ServedObject *> alongWith(const ServedMapping &served,
                                                          const ServedAlarm &alarm);

/// Whether limits, values and labels say something about the object: it is a number, or a text that
/// is one.
[[nodiscard]] bool isNumber(const ServedObject &object);
/// The number of a label or number in hundredths; nothing for anything else.
[[nodiscard]] std::optional<std::int64_t> numberIn(const ServedObject &object,
                                                   const std::string &text);

/// An obsolete alarm is still published.
[[nodiscard]] bool isWatched(const ServedAlarm &alarm);
/// The master compares integers only, but it notices changes of any value.
[[nodiscard]] bool isWatchedByMaster(const ServedMapping &served, const ServedAlarm &alarm);
/// A change is over when it is noticed.
[[nodiscard]] bool hasClear(const ServedAlarm &alarm);
} // namespace servedAlarms
