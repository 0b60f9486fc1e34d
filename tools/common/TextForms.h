#pragma once

#include <string>
#include <string_view>

/// Makes text of any origin printable.
namespace textForms
{
enum class HexDigits { lowerCase, upperCase };

/// The text with unprintable bytes and backslashes as \xNN: always one line.
[[nodiscard]] std::string oneLine(std::string_view text, HexDigits digits = HexDigits::upperCase);
/// The same in double quotes, cut if it is long.
[[nodiscard]] std::string quoted(std::string_view text);

[[nodiscard]] bool isUtf8(std::string_view text);
} // namespace textForms
