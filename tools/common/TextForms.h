#pragma once

#include <string>
#include <string_view>

/// Texts from anywhere in a form that can be shown.
namespace textForms
{
enum class HexDigits { lowerCase, upperCase };

/// The text with everything unprintable, and the backslash, as \xNN: always one line.
[[nodiscard]] std::string oneLine(std::string_view text, HexDigits digits = HexDigits::upperCase);
/// The same in double quotes, cut where it is long.
[[nodiscard]] std::string quoted(std::string_view text);

[[nodiscard]] bool isUtf8(std::string_view text);
} // namespace textForms
