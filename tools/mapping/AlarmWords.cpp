#include "AlarmWords.h"

#include "Numbers.h"

#include <algorithm>
#include <cstddef>

namespace
{
constexpr std::size_t mostDigits = 10;
constexpr std::size_t decimalPlaces = 2;
constexpr int ten = 10;

bool areDigits(std::string_view text, std::size_t most)
{
    return !text.empty() && text.size() <= most &&
           text.find_first_not_of("0123456789") == std::string_view::npos;
}
} // namespace

std::string_view alarmWords::word(AlarmCondition condition)
{
    return conditions.at(static_cast<std::size_t>(condition));
}

std::optional<AlarmCondition> alarmWords::conditionIn(std::string_view word)
{
    const auto *const found = std::find(conditions.begin(), conditions.end(), word);
    if (found == conditions.end()) {
        return std::nullopt;
    }
    return static_cast<AlarmCondition>(found - conditions.begin());
}

bool alarmWords::isSeverity(std::string_view word)
{
    return std::find(severities.begin(), severities.end(), word) != severities.end();
}

bool alarmWords::hasLimits(AlarmCondition condition)
{
    return condition == AlarmCondition::above || condition == AlarmCondition::below;
}

std::optional<std::int64_t> alarmWords::hundredthsIn(std::string_view text)
{
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative ? 1 : 0);
    const std::size_t period = std::min(text.find('.'), text.size());
    const std::string_view whole = text.substr(0, period);
    std::string fraction(period == text.size() ? "0" : text.substr(period + 1));
    if (!areDigits(whole, mostDigits) || !areDigits(fraction, decimalPlaces)) {
        return std::nullopt;
    }
    fraction.resize(decimalPlaces, '0');
    std::int64_t number = 0;
    for (const char digit : std::string(whole) + fraction) {
        number = number * ten + (digit - '0');
    }
    return isNegative ? -number : number;
}

std::string alarmWords::numberText(std::int64_t hundredths)
{
    return numbers::decimalText(hundredths, decimalPlaces);
}
