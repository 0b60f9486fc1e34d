#pragma once

#include "MappingSource.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The words for the codes of a mapping, as sources, listings and findings write them, and the
/// codes for the words. Codes without a word are written as hexadecimal numbers after 0x.
namespace mappingWords
{
/// "integer", "text", "counter32", ...
[[nodiscard]] std::string type(std::uint16_t asnType);
[[nodiscard]] std::optional<std::uint16_t> typeCode(std::string_view word);
/// "INTEGER", "OCTET STRING", "Counter32", ...; the tag of a type without a name.
[[nodiscard]] std::string snmpType(std::uint16_t asnType);

/// "read-only", "read-write"
[[nodiscard]] std::string access(std::uint16_t code);
[[nodiscard]] std::optional<std::uint16_t> accessCode(std::string_view word);

/// "raw", "ipv4", "ipv4Alternative", "dateTime", "uint16", "decimal PLACES", "scaled PLACES"
[[nodiscard]] std::string conversion(std::uint16_t valueType);
[[nodiscard]] std::optional<std::uint16_t> conversionCode(std::string_view words);

/// "0=down 1=up"
[[nodiscard]] std::string labels(const std::vector<Label> &labels);
/// What of the text is labels; anything else in it is left out.
[[nodiscard]] std::vector<Label> labelsIn(std::string_view text);

/// What SMI takes for the name of an object: a lower-case letter, then letters and digits, 64 in
/// all.
[[nodiscard]] bool isName(std::string_view text);
/// The same with hyphens inside.
[[nodiscard]] bool isLabel(std::string_view text);
[[nodiscard]] bool isDeviceKind(std::string_view text);
} // namespace mappingWords
