#pragma once

#include "ServedAlarms.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// A test of an integer that an SNMP agent can make by itself.
struct AlarmComparison {
    std::string_view sign;
    /// Nothing: the sign compares with the value before.
    std::optional<std::int64_t> value{};
};

/// What raises and what clears an alarm: any of these. Both are empty if no integer meets the
/// condition. For one of several labels, a single comparison is enough if all others are on one
/// side of them; else each label has one, and so has each other label between them.
struct AlarmComparisons {
    std::vector<AlarmComparison> raise{};
    std::vector<AlarmComparison> clear{};
};

/// Of an alarm that the master agent can watch.
[[nodiscard]] AlarmComparisons comparisonsOf(const ServedMapping &served, const ServedAlarm &alarm);
