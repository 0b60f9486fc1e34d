#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Input of the user that cannot be taken: `what()` is the reason, without file or line.
class BadInput : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Texts to numbers and bytes and back, as the object file and the commands share them.
/// Readers throw BadInput with the text and what would have been right.
namespace parsing
{
/// Decimal, or hexadecimal after 0x; `what` names the number in the reason.
[[nodiscard]] std::int64_t number(std::string_view text, std::int64_t smallest,
                                  std::int64_t largest, std::string_view what);

/// A device object id.
[[nodiscard]] std::uint16_t objectId(std::string_view text);
[[nodiscard]] std::string objectIdText(std::uint16_t id);
/// The last digits of a number, after 0x.
[[nodiscard]] std::string hexNumber(std::uint32_t number, int digits);

/// Pairs of hexadecimal digits, with or without blanks between the pairs.
[[nodiscard]] std::vector<std::uint8_t> hexBytes(std::string_view text);
/// Pairs of hexadecimal digits with one blank between them.
[[nodiscard]] std::string hexText(std::span<const std::uint8_t> bytes);

/// The text with everything unprintable, and the backslash, as \xNN: always one line.
[[nodiscard]] std::string oneLine(std::string_view text);

/// The words between blanks and tabs.
[[nodiscard]] std::vector<std::string_view> words(std::string_view line);
} // namespace parsing
