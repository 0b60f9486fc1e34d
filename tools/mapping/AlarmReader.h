#pragma once

#include "MappingSource.h"
#include "YamlNodes.h"

#include <string>

/// Reads the alarms of a source. Anything that is not an alarm fails with its place; whether an
/// alarm makes sense for its object is left to the check.
namespace alarmReader
{
/// The largest number of an alarm: each has two notifications.
inline constexpr std::uint64_t mostAlarms = 1000000;
/// Seconds.
inline constexpr std::uint64_t longestInterval = 86400;

/// `object` is the name of the object that holds the alarm; empty: the alarm names it itself.
[[nodiscard]] AlarmNotes read(const YAML::Node &node, YamlErrors &errors, const ModuleNotes &module,
                              const std::string &object);
} // namespace alarmReader
