#include "MappingWords.h"

#include "ObjectTypes.h"
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

struct CodeWord {
    std::uint16_t code;
    const char *word;
};

constexpr std::array<CodeWord, 2> accessWords{{{1, "read-only"}, {3, "read-write"}}};

std::optional<std::uint16_t> codeIn(std::string_view text)
{
    const auto code = mappingWords::number(text, anyShort);
    return code ? std::optional(static_cast<std::uint16_t>(*code)) : std::nullopt;
}

bool isWord(const char *word, std::string_view text)
{
    return word != nullptr && word == text;
}

std::string wordOrNumber(const char *word, std::uint16_t code, int digits)
{
    return word == nullptr ? mappingWords::hexadecimal(code, digits) : word;
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
    return wordOrNumber(objectType::of(asnType).word, asnType, 2);
}

std::optional<std::uint16_t> mappingWords::typeCode(std::string_view word)
{
    for (const objectType::ObjectType &type : objectType::all()) {
        if (isWord(type.word, word)) {
            return type.code;
        }
    }
    return codeIn(word);
}

std::string mappingWords::snmpType(std::uint16_t asnType)
{
    return wordOrNumber(objectType::of(asnType).snmpName, asnType, 2);
}

std::string mappingWords::access(std::uint16_t code)
{
    for (const CodeWord &each : accessWords) {
        if (each.code == code) {
            return each.word;
        }
    }
    return hexadecimal(code, 1);
}

std::optional<std::uint16_t> mappingWords::accessCode(std::string_view word)
{
    for (const CodeWord &each : accessWords) {
        if (isWord(each.word, word)) {
            return each.code;
        }
    }
    return codeIn(word);
}

std::string mappingWords::conversion(std::uint16_t valueType)
{
    const conversion::Conversion *const found = conversion::find(valueType);
    const unsigned places = conversion::placesOf(valueType);
    if (found != nullptr && places == 0 && found->word != nullptr) {
        return found->word;
    }
    if (found != nullptr && found->usesPlaces()) {
        return std::string(found->wordWithPlaces) + ' ' + std::to_string(places);
    }
    return hexadecimal(valueType, 4);
}

std::optional<std::uint16_t> mappingWords::conversionCode(std::string_view words)
{
    const std::size_t blank = words.find(' ');
    const bool hasPlaces = blank != std::string_view::npos;
    const auto places =
        hasPlaces ? number(words.substr(blank + 1), mostPlaces) : std::optional<std::uint64_t>(0);
    for (const conversion::Conversion &each : conversion::all()) {
        if (places && isWord(hasPlaces ? each.wordWithPlaces : each.word, words.substr(0, blank))) {
            return static_cast<std::uint16_t>((*places << conversion::scaleShift) | each.kind);
        }
    }
    return hasPlaces ? std::nullopt : codeIn(words);
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
