#pragma once

#include <optional>
#include <span>
#include <string_view>

/// The known word that a mistyped one was most likely meant to be: the one with the smallest
/// Damerau-Levenshtein distance, if it is at most 2 and less than the length of the word. Ties
/// go to the first.
[[nodiscard]] std::optional<std::string_view> nearestWord(std::string_view word,
                                                          std::span<const std::string_view> known);
