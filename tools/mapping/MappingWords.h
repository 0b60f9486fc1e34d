#pragma once

#include "MappingSource.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Translates between the codes of a mapping and their words in sources, listings and findings.
/// Codes without a word are written as hexadecimal numbers after 0x.
namespace mappingWords
{
/// The most decimal places of a conversion.
inline constexpr unsigned mostPlaces = 15;
/// The placeholder for a value that the author has yet to fill in.
inline constexpr const char *openValue = "TODO";

/// "integer", "text", "counter32", ...
[[nodiscard]] std::string type(std::uint16_t asnType);
[[nodiscard]] std::optional<std::uint16_t> typeCode(std::string_view word);
/// "INTEGER", "OCTET STRING", "Counter32", ...; the number of a type without a name.
[[nodiscard]] std::string snmpType(std::uint16_t asnType);

/// "read-only", "read-write"
[[nodiscard]] std::string access(std::uint16_t code);
[[nodiscard]] std::optional<std::uint16_t> accessCode(std::string_view word);

/// "raw", "ipv4", "ipv4Alternative", "dateTime", "uint16", "decimal PLACES", "scaled PLACES"
[[nodiscard]] std::string conversion(std::uint16_t valueType);
[[nodiscard]] std::optional<std::uint16_t> conversionCode(std::string_view words);

/// "0=down 1=up"
[[nodiscard]] std::string labels(const std::vector<Label> &labels);
/// The labels in a text, without hyphens: "not-there" becomes "notThere". Anything else, and what
/// is a duplicate, is skipped.
[[nodiscard]] std::vector<Label> labelsIn(std::string_view text);

/// Whether SMI allows it as an object name: a lower-case letter, then letters and digits, at most
/// 64 characters.
[[nodiscard]] bool isName(std::string_view text);
/// The same for a module: an upper-case letter, then letters, digits and single hyphens.
[[nodiscard]] bool isModuleName(std::string_view text);
/// As isName, but hyphens are allowed inside, as in old modules.
[[nodiscard]] bool isHyphenated(std::string_view text);
/// The words between the hyphens, joined: "notThere" for "not-there".
[[nodiscard]] std::string withoutHyphens(std::string_view text);
[[nodiscard]] bool isDeviceKind(std::string_view text);

/// The words that a source may use, for suggestions.
[[nodiscard]] std::vector<std::string_view> typeWords();
[[nodiscard]] std::vector<std::string_view> accessWords();
/// Without the numbers of places.
[[nodiscard]] std::vector<std::string_view> conversionWords();
/// The first words of a simulated value's motion.
inline constexpr std::array<std::string_view, 6> motions{"counter", "ramp",  "sine",
                                                         "walk",    "clock", "replay"};
/// Whether it is a day of the calendar, YYYY-MM-DD.
[[nodiscard]] bool isDay(std::string_view text);
/// "deprecated" or "obsolete"
[[nodiscard]] bool isFormerStatus(std::string_view text);
/// The bounds of "-20..60"; nothing for anything else.
[[nodiscard]] std::optional<std::pair<std::int32_t, std::int32_t>> rangeIn(std::string_view text);
} // namespace mappingWords
