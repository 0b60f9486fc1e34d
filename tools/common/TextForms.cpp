#include "TextForms.h"

#include <cstddef>
#include <cstdint>

#include <utf8.h>

std::string textForms::oneLine(std::string_view text, HexDigits digits)
{
    const std::string_view hexDigits =
        digits == HexDigits::upperCase ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string line;
    for (const char character : text) {
        const auto byte = static_cast<std::uint8_t>(character);
        if (byte < ' ' || byte > '~' || character == '\\') {
            line += {'\\', 'x', hexDigits[byte >> 4], hexDigits[byte & 0xF]};
        } else {
            line += character;
        }
    }
    return line;
}

std::string textForms::quoted(std::string_view text)
{
    constexpr std::size_t longest = 60;
    return '"' + oneLine(text.substr(0, longest)) + (text.size() > longest ? "...\"" : "\"");
}

bool textForms::isUtf8(std::string_view text)
{
    return utf8::is_valid(text.begin(), text.end());
}
