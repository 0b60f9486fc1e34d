#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Texts to object ids and bytes and back, as the object file and the commands share them.
/// Readers throw InputError with the text and what would have been right.
namespace parsing
{
/// A device object id: decimal, or hexadecimal after 0x.
[[nodiscard]] std::uint16_t objectId(std::string_view text);
/// Pairs of hexadecimal digits, with or without blanks between the pairs.
[[nodiscard]] std::vector<std::uint8_t> hexBytes(std::string_view text);
/// Pairs of hexadecimal digits with one blank between them.
[[nodiscard]] std::string hexText(std::span<const std::uint8_t> bytes);

/// The words between blanks and tabs.
[[nodiscard]] std::vector<std::string_view> words(std::string_view line);
} // namespace parsing
