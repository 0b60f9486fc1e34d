#include "support/UnsignedText.h"

#include <algorithm>
#include <limits>

namespace
{
bool isOneOf(const char *characters, const std::string &text, std::size_t position)
{
    return position < text.size() &&
           std::string(characters).find(text[position]) != std::string::npos;
}

/// 16 for anything that is not a digit of a base used here.
int digitAt(const std::string &text, std::size_t position)
{
    const std::string digits = "0123456789abcdef";
    const std::string capitals = "0123456789ABCDEF";
    if (position >= text.size()) {
        return 16;
    }
    const std::size_t digit = std::min(digits.find(text[position]), capitals.find(text[position]));
    return static_cast<int>(std::min<std::size_t>(digit, 16));
}
} // namespace

std::uint32_t unsignedAt(const std::string &text, std::size_t position, int base)
{
    while (isOneOf(" \t\n\v\f\r", text, position)) {
        ++position;
    }
    const bool isNegative = isOneOf("-", text, position);
    if (isOneOf("+-", text, position)) {
        ++position;
    }
    if (base == 16 && isOneOf("0", text, position) && isOneOf("xX", text, position + 1) &&
        digitAt(text, position + 2) < base) {
        position += 2;
    }
    constexpr auto most = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t sum = 0;
    for (int digit = digitAt(text, position); digit < base; digit = digitAt(text, ++position)) {
        const auto units = static_cast<std::uint32_t>(digit);
        const auto factor = static_cast<std::uint32_t>(base);
        if (sum > (most - units) / factor) {
            return most;
        }
        sum = sum * factor + units;
    }
    return isNegative ? 0 - sum : sum;
}
