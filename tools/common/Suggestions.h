#pragma once

#include <span>
#include <string>
#include <string_view>

/// What an error about an unknown word adds: the word that was probably meant, and all that are
/// allowed.
namespace suggestions
{
/// " (did you mean "text"?)", or nothing if no other word is near.
[[nodiscard]] std::string nearest(std::string_view word, std::span<const std::string_view> known);
/// The same, followed by "; allowed: integer, text".
[[nodiscard]] std::string among(std::string_view word, std::span<const std::string_view> known);
} // namespace suggestions
