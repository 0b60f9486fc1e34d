#include "MappingWords.h"

#include "Numbers.h"
#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"
#include "ValueKindNames.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <sstream>

namespace
{
constexpr std::uint16_t anyShort = std::numeric_limits<std::uint16_t>::max();

struct CodeWord {
    std::uint16_t code;
    const char *word;
};

constexpr std::array<CodeWord, 2> accessCodes{{{1, "read-only"}, {3, "read-write"}}};

std::optional<std::uint16_t> codeIn(std::string_view text)
{
    const auto code = numbers::unsignedIn(text, anyShort);
    return code ? std::optional(static_cast<std::uint16_t>(*code)) : std::nullopt;
}

bool isWord(const char *word, std::string_view text)
{
    return word != nullptr && word == text;
}

std::string wordOrNumber(const char *word, std::uint16_t code, int digits)
{
    return word == nullptr ? numbers::hexadecimal(code, digits) : word;
}
} // namespace

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
    for (const CodeWord &each : accessCodes) {
        if (each.code == code) {
            return each.word;
        }
    }
    return numbers::hexadecimal(code, 1);
}

std::optional<std::uint16_t> mappingWords::accessCode(std::string_view word)
{
    for (const CodeWord &each : accessCodes) {
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
    return numbers::hexadecimal(valueType, 4);
}

std::optional<std::uint16_t> mappingWords::conversionCode(std::string_view words)
{
    const std::size_t blank = words.find(' ');
    const bool hasPlaces = blank != std::string_view::npos;
    const auto places = hasPlaces ? numbers::unsignedIn(words.substr(blank + 1), mostPlaces)
                                  : std::optional<std::uint64_t>(0);
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
        if (sign == std::string::npos || !isHyphenated(word.substr(sign + 1))) {
            continue;
        }
        const auto number = numbers::signedIn(word.substr(0, sign));
        const std::string label = withoutHyphens(word.substr(sign + 1));
        const bool isTaken = std::any_of(found.begin(), found.end(), [&](const Label &each) {
            return each.first == number || each.second == label;
        });
        if (number && !isTaken) {
            found.emplace_back(*number, label);
        }
    }
    return found;
}

bool mappingWords::isName(std::string_view text)
{
    return isHyphenated(text) && text.find('-') == std::string_view::npos;
}

bool mappingWords::isModuleName(std::string_view text)
{
    return !text.empty() && text.front() >= 'A' && text.front() <= 'Z' &&
           isHyphenated('a' + std::string(text.substr(1)));
}

bool mappingWords::isHyphenated(std::string_view text)
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

std::string mappingWords::withoutHyphens(std::string_view text)
{
    std::string joined;
    bool isWordStart = false;
    for (const char each : text) {
        const bool isUpper = isWordStart && each >= 'a' && each <= 'z';
        isWordStart = each == '-';
        if (!isWordStart) {
            joined += isUpper ? static_cast<char>(each - 'a' + 'A') : each;
        }
    }
    return joined;
}

bool mappingWords::isDay(std::string_view text)
{
    constexpr std::string_view pattern = "dddd-dd-dd";
    const bool hasForm =
        text.size() == pattern.size() &&
        std::equal(text.begin(), text.end(), pattern.begin(), [](char each, char wanted) {
            return wanted == 'd' ? each >= '0' && each <= '9' : each == wanted;
        });
    if (!hasForm) {
        return false;
    }
    const auto number = [&text](std::size_t start, std::size_t length) {
        return static_cast<unsigned>(
            numbers::unsignedIn(text.substr(start, length), anyShort).value_or(0));
    };
    const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(number(0, 4))),
                                          std::chrono::month(number(5, 2)),
                                          std::chrono::day(number(8, 2))};
    return day.ok();
}

bool mappingWords::isFormerStatus(std::string_view text)
{
    return text == "deprecated" || text == "obsolete";
}

std::optional<std::pair<std::int32_t, std::int32_t>> mappingWords::rangeIn(std::string_view text)
{
    const std::size_t dots = text.find("..");
    if (dots == std::string_view::npos) {
        return std::nullopt;
    }
    const auto lowest = numbers::signedIn(text.substr(0, dots));
    const auto highest = numbers::signedIn(text.substr(dots + 2));
    return lowest && highest && *lowest <= *highest
               ? std::optional(std::make_pair(*lowest, *highest))
               : std::nullopt;
}

bool mappingWords::isDeviceKind(std::string_view text)
{
    return std::find(valueKindNames.begin(), valueKindNames.end(), text) != valueKindNames.end();
}

std::vector<std::string_view> mappingWords::typeWords()
{
    std::vector<std::string_view> words;
    for (const objectType::ObjectType &type : objectType::all()) {
        if (type.word != nullptr) {
            words.emplace_back(type.word);
        }
    }
    return words;
}

std::vector<std::string_view> mappingWords::accessWords()
{
    std::vector<std::string_view> words;
    words.reserve(accessCodes.size());
    for (const CodeWord &each : accessCodes) {
        words.emplace_back(each.word);
    }
    return words;
}

std::vector<std::string_view> mappingWords::conversionWords()
{
    std::vector<std::string_view> words;
    for (const conversion::Conversion &each : conversion::all()) {
        for (const char *const word : {each.word, each.wordWithPlaces}) {
            if (word != nullptr) {
                words.emplace_back(word);
            }
        }
    }
    return words;
}
