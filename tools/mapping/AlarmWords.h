#pragma once

#include "MappingSource.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The words and numbers of alarms in sources, databases and what is published.
namespace alarmWords
{
/// Follows the name of an alarm in that of the notification that it is over.
inline constexpr const char *clearSuffix = "Clear";
/// In the order of AlarmCondition.
inline constexpr std::array<std::string_view, 6> conditions{"above",     "below",   "equal",
                                                            "not equal", "changed", "one of"};
/// The worst first.
inline constexpr std::array<std::string_view, 5> severities{"critical", "major", "minor", "warning",
                                                            "info"};

[[nodiscard]] std::string_view word(AlarmCondition condition);
[[nodiscard]] std::optional<AlarmCondition> conditionIn(std::string_view word);
[[nodiscard]] bool isSeverity(std::string_view word);

/// Whether it is `above` or `below`.
[[nodiscard]] bool hasLimits(AlarmCondition condition);

/// 4650 for "46.5"; nothing for anything but a decimal number of up to ten digits before the period
/// and two behind it.
[[nodiscard]] std::optional<std::int64_t> hundredthsIn(std::string_view text);
/// The shortest text of a number: "46.5" for 4650, "-7" for -700.
[[nodiscard]] std::string numberText(std::int64_t hundredths);
} // namespace alarmWords
