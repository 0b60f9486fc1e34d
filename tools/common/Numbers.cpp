#include "Numbers.h"

#include "InputError.h"
#include "TextForms.h"

#include <array>
#include <charconv>
#include <cstdio>

std::optional<std::uint64_t> numbers::unsignedIn(std::string_view text, std::uint64_t largest)
{
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHexadecimal ? 2 : 0);
    std::uint64_t number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, isHexadecimal ? 16 : 10);
    if (error != std::errc{} || end != text.data() + text.size() || number > largest) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::int32_t> numbers::signedIn(std::string_view text)
{
    std::int32_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

std::int64_t numbers::within(std::string_view text, std::int64_t smallest, std::int64_t largest,
                             std::string_view what)
{
    const bool isNegative = smallest < 0 && text.starts_with('-');
    const auto magnitude = unsignedIn(text.substr(isNegative ? 1 : 0),
                                      static_cast<std::uint64_t>(isNegative ? -smallest : largest));
    const auto number = static_cast<std::int64_t>(magnitude.value_or(0));
    if (!magnitude || (!isNegative && number < smallest)) {
        throw InputError(std::string(what) + ' ' + textForms::quoted(text) +
                         " is not a number from " + std::to_string(smallest) + " to " +
                         std::to_string(largest));
    }
    return isNegative ? -number : number;
}

std::string numbers::decimalText(std::int64_t digits, unsigned places)
{
    std::string text = std::to_string(digits < 0 ? -digits : digits);
    if (text.size() <= places) {
        text.insert(0, places + 1 - text.size(), '0');
    }
    std::string fraction = text.substr(text.size() - places);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    text.resize(text.size() - places);
    return (digits < 0 ? "-" : "") + text + (fraction.empty() ? "" : '.' + fraction);
}

std::string numbers::hexadecimal(std::uint64_t number, int digits)
{
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "0x%0*llX", digits,
                  static_cast<unsigned long long>(number));
    return text.data();
}

std::string numbers::objectIdText(std::uint16_t id)
{
    return hexadecimal(id, 4);
}
