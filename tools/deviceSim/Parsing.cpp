#include "Parsing.h"

#include "InputError.h"
#include "Numbers.h"
#include "TextForms.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace
{
constexpr std::string_view blanks = " \t\r";
constexpr std::string_view hexDigits = "0123456789abcdef";
} // namespace

std::uint16_t parsing::objectId(std::string_view text)
{
    return static_cast<std::uint16_t>(
        numbers::within(text, 0, std::numeric_limits<std::uint16_t>::max(), "object id"));
}

std::vector<std::uint8_t> parsing::hexBytes(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    for (std::string_view word : words(text)) {
        for (; !word.empty(); word.remove_prefix(std::min<std::size_t>(word.size(), 2))) {
            std::uint8_t byte = 0;
            const char *pairEnd = word.data() + 2;
            if (word.size() < 2 || std::from_chars(word.data(), pairEnd, byte, 16).ptr != pairEnd) {
                throw InputError(textForms::quoted(text) + " is not pairs of hexadecimal digits");
            }
            bytes.push_back(byte);
        }
    }
    return bytes;
}

std::string parsing::hexText(std::span<const std::uint8_t> bytes)
{
    std::string text;
    text.reserve(bytes.size() * 3);
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += hexDigits[byte >> 4];
        text += hexDigits[byte & 0xF];
    }
    return text;
}

std::vector<std::string_view> parsing::words(std::string_view line)
{
    std::vector<std::string_view> found;
    for (std::size_t start = line.find_first_not_of(blanks); start != std::string_view::npos;) {
        const std::size_t end = std::min(line.find_first_of(blanks, start), line.size());
        found.push_back(line.substr(start, end - start));
        start = line.find_first_not_of(blanks, end);
    }
    return found;
}
