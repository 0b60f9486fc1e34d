#include "MappingWords.h"

#include "SnmpObjConvertStrategy.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <limits>
#include <sstream>

namespace
{
constexpr std::uint16_t anyShort = std::numeric_limits<std::uint16_t>::max();
constexpr unsigned mostPlaces = 15;

struct TypeWord {
    std::uint16_t code;
    std::string_view word;
    std::string_view snmp;
};

constexpr std::array<TypeWord, 11> typeWords{{
    {0x02, "integer", "INTEGER"},
    {0x03, "bitString", "BIT STRING"},
    {0x04, "text", "OCTET STRING"},
    {0x05, "null", "NULL"},
    {0x06, "objectIdentifier", "OBJECT IDENTIFIER"},
    {0x40, "ipAddress", "IpAddress"},
    {0x41, "counter32", "Counter32"},
    {0x42, "gauge32", "Gauge32"},
    {0x43, "timeTicks", "TimeTicks"},
    {0x44, "opaque", "Opaque"},
    {0x46, "counter64", "Counter64"},
}};

struct CodeWord {
    std::uint16_t code;
    std::string_view word;
};

constexpr std::array<CodeWord, 2> accessWords{{{1, "read-only"}, {3, "read-write"}}};

constexpr std::array<CodeWord, 5> conversionWords{{
    {conversion::scaledInteger, "raw"},
    {conversion::ipv4Text, "ipv4"},
    {conversion::ipv4TextAlternative, "ipv4Alternative"},
    {conversion::dateTimeText, "dateTime"},
    {conversion::unsigned16, "uint16"},
}};

/// The conversions that a number of decimal places belongs to.
constexpr std::array<CodeWord, 2> placesWords{{
    {conversion::decimalText, "decimal"},
    {conversion::scaledInteger, "scaled"},
}};

template <typename Words>
std::optional<std::uint16_t> codeOf(const Words &words, std::string_view wanted)
{
    const auto *const found = std::find_if(
        words.begin(), words.end(), [wanted](const auto &each) { return each.word == wanted; });
    if (found != words.end()) {
        return found->code;
    }
    const auto code = mappingWords::number(wanted, anyShort);
    return code ? std::optional(static_cast<std::uint16_t>(*code)) : std::nullopt;
}

template <typename Words>
std::string_view wordOf(const Words &words, std::uint16_t code)
{
    const auto *const found = std::find_if(words.begin(), words.end(),
                                           [code](const auto &each) { return each.code == code; });
    return found == words.end() ? std::string_view() : found->word;
}

std::string wordOrNumber(std::string_view word, std::uint16_t code, int digits)
{
    return word.empty() ? mappingWords::hexadecimal(code, digits) : std::string(word);
}

std::size_t utf8Length(unsigned char lead)
{
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return 2;
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return 3;
    }
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}
} // namespace

std::optional<std::uint64_t> mappingWords::number(std::string_view text, std::uint64_t largest)
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

std::string mappingWords::hexadecimal(std::uint64_t number, int digits)
{
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "0x%0*llX", digits,
                  static_cast<unsigned long long>(number));
    return text.data();
}

std::string mappingWords::objectId(std::uint16_t objId)
{
    return hexadecimal(objId, 4);
}

std::string mappingWords::type(std::uint16_t asnType)
{
    return wordOrNumber(wordOf(typeWords, asnType), asnType, 2);
}

std::optional<std::uint16_t> mappingWords::typeCode(std::string_view word)
{
    return codeOf(typeWords, word);
}

std::string mappingWords::snmpType(std::uint16_t asnType)
{
    const auto *const found =
        std::find_if(typeWords.begin(), typeWords.end(),
                     [asnType](const TypeWord &each) { return each.code == asnType; });
    return found == typeWords.end() ? hexadecimal(asnType, 2) : std::string(found->snmp);
}

std::string mappingWords::access(std::uint16_t code)
{
    return wordOrNumber(wordOf(accessWords, code), code, 1);
}

std::optional<std::uint16_t> mappingWords::accessCode(std::string_view word)
{
    return codeOf(accessWords, word);
}

std::string mappingWords::conversion(std::uint16_t valueType)
{
    const std::string_view word = wordOf(conversionWords, valueType);
    if (!word.empty()) {
        return std::string(word);
    }
    const std::string_view withPlaces = wordOf(placesWords, valueType & conversion::kindMask);
    if (!withPlaces.empty()) {
        return std::string(withPlaces) + ' ' + std::to_string(valueType >> conversion::scaleShift);
    }
    return hexadecimal(valueType, 4);
}

std::optional<std::uint16_t> mappingWords::conversionCode(std::string_view words)
{
    const std::size_t blank = words.find(' ');
    if (blank == std::string_view::npos) {
        return codeOf(conversionWords, words);
    }
    const std::string_view word = words.substr(0, blank);
    const auto places = number(words.substr(blank + 1), mostPlaces);
    for (const CodeWord &each : placesWords) {
        if (each.word == word && places) {
            return static_cast<std::uint16_t>((*places << conversion::scaleShift) | each.code);
        }
    }
    return std::nullopt;
}

std::string mappingWords::labels(const std::vector<Label> &labels)
{
    std::string text;
    for (const auto &[number, label] : labels) {
        text += (text.empty() ? "" : " ") + std::to_string(number) + '=' + label;
    }
    return text;
}

std::vector<Label> mappingWords::labelsIn(std::string_view text)
{
    std::vector<Label> found;
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        const std::size_t sign = word.find('=');
        std::int32_t number = 0;
        const char *const end = word.data() + std::min(sign, word.size());
        if (sign != std::string::npos && sign > 0 && isLabel(word.substr(sign + 1)) &&
            std::from_chars(word.data(), end, number).ptr == end) {
            found.emplace_back(number, word.substr(sign + 1));
        }
    }
    return found;
}

std::string mappingWords::oneLine(std::string_view text)
{
    std::string line;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < ' ' || byte > '~') {
            std::array<char, 8> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\x%02X", byte);
            line += escaped.data();
        } else {
            line += character;
        }
    }
    return line;
}

std::string mappingWords::quoted(std::string_view text)
{
    constexpr std::size_t longest = 60;
    std::string line = oneLine(text.substr(0, longest));
    return '"' + line + (text.size() > longest ? "...\"" : "\"");
}

bool mappingWords::isUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8Length(static_cast<unsigned char>(text[at]));
        if (length == 0 || at + length > text.size()) {
            return false;
        }
        for (std::size_t next = at + 1; next < at + length; ++next) {
            if ((static_cast<unsigned char>(text[next]) & 0xC0U) != 0x80) {
                return false;
            }
        }
        at += length;
    }
    return true;
}

bool mappingWords::isName(std::string_view text)
{
    return isLabel(text) && text.find('-') == std::string_view::npos;
}

bool mappingWords::isLabel(std::string_view text)
{
    constexpr std::size_t longest = 64;
    constexpr std::string_view starts = "abcdefghijklmnopqrstuvwxyz";
    constexpr std::string_view others =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-";
    return !text.empty() && text.size() <= longest &&
           starts.find(text.front()) != std::string_view::npos &&
           text.find_first_not_of(others) == std::string_view::npos && text.back() != '-' &&
           text.find("--") == std::string_view::npos;
}

bool mappingWords::isDeviceKind(std::string_view text)
{
    return text == "unsigned" || text == "signed" || text == "string" || text == "other";
}
