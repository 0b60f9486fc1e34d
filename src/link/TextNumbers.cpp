#include "TextNumbers.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{
constexpr int decimal = 10;

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

float digitOf(char character)
{
    return static_cast<float>(character - '0');
}
} // namespace

float parseDecimal(const char *text, const char **end)
{
    if (text == nullptr) {
        return 0.0F;
    }
    while (std::isspace(static_cast<unsigned char>(*text)) != 0) {
        ++text;
    }
    float sign = 1.0F;
    if (*text == '-') {
        sign = -1.0F;
        ++text;
    }
    float sum = 0.0F;
    for (; isDigit(*text); ++text) {
        sum = sum * 10.0F + digitOf(*text);
    }
    if (*text == '.') {
        ++text;
        float step = 1.0F;
        for (; isDigit(*text); ++text) {
            step = static_cast<float>(static_cast<double>(step) * 0.1);
            sum = sum + digitOf(*text) * step;
        }
    }
    if (end != nullptr) {
        *end = text;
    }
    return sign * sum;
}

std::uint32_t parseUnsigned(const char *text, int base)
{
    if (text == nullptr) {
        return 0;
    }
    // Signed and wider than 32 bits, so that overflow is detected for either sign.
    constexpr std::int64_t largest = std::numeric_limits<std::uint32_t>::max();
    const std::int64_t number = std::strtoll(text, nullptr, base);
    const bool fits = -largest <= number && number <= largest;
    return static_cast<std::uint32_t>(fits ? number : largest);
}

std::int32_t parseDottedNumbers(const char *text, std::uint32_t *out, std::size_t capacity)
{
    if (text == nullptr || out == nullptr) {
        return -1;
    }
    std::size_t count = 0;
    for (const char *dot = std::strchr(text, '.'); dot != nullptr;
         dot = std::strchr(dot + 1, '.')) {
        if (count < capacity) {
            out[count] = parseUnsigned(dot + 1, decimal);
        }
        ++count;
    }
    return static_cast<std::int32_t>(count);
}
