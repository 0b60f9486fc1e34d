#include "Parsing.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace
{
constexpr std::string_view blanks = " \t\r";
constexpr std::string_view hexDigits = "0123456789abcdef";

void appendHex(std::string &out, std::uint8_t byte)
{
    out += hexDigits[byte >> 4];
    out += hexDigits[byte & 0xF];
}

bool isNumber(std::string_view text, std::int64_t &result)
{
    const bool negative = text.starts_with('-');
    text.remove_prefix(negative ? 1 : 0);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(hexadecimal ? 2 : 0);
    std::uint64_t magnitude = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, hexadecimal ? 16 : 10);
    if (error != std::errc{} || end != text.data() + text.size() ||
        magnitude > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    result =
        negative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
    return true;
}
} // namespace

std::int64_t parsing::number(std::string_view text, std::int64_t smallest, std::int64_t largest,
                             std::string_view what)
{
    std::int64_t result = 0;
    if (!isNumber(text, result) || result < smallest || result > largest) {
        throw BadInput(std::string(what) + " \"" + oneLine(text) + "\" is not a number from " +
                       std::to_string(smallest) + " to " + std::to_string(largest));
    }
    return result;
}

std::uint16_t parsing::objectId(std::string_view text)
{
    return static_cast<std::uint16_t>(
        number(text, 0, std::numeric_limits<std::uint16_t>::max(), "object id"));
}

std::string parsing::objectIdText(std::uint16_t id)
{
    return hexNumber(id, 4);
}

std::string parsing::hexNumber(std::uint32_t number, int digits)
{
    std::string text = "0x";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        text += "0123456789ABCDEF"[(number >> shift) & 0xF];
    }
    return text;
}

std::vector<std::uint8_t> parsing::hexBytes(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    for (std::string_view word : words(text)) {
        for (; !word.empty(); word.remove_prefix(std::min<std::size_t>(word.size(), 2))) {
            std::uint8_t byte = 0;
            const char *pairEnd = word.data() + 2;
            if (word.size() < 2 || std::from_chars(word.data(), pairEnd, byte, 16).ptr != pairEnd) {
                throw BadInput("\"" + oneLine(text) + "\" is not pairs of hexadecimal digits");
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
        appendHex(text, byte);
    }
    return text;
}

std::string parsing::oneLine(std::string_view text)
{
    std::string line;
    for (const char character : text) {
        const auto byte = static_cast<std::uint8_t>(character);
        if (byte < ' ' || byte > '~' || character == '\\') {
            line += "\\x";
            appendHex(line, byte);
        } else {
            line += character;
        }
    }
    return line;
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
