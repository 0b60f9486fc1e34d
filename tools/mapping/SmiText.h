#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Texts of any language as a MIB module may have them: ASCII without quotes.
namespace smiText
{
/// The text in double quotes. Signs of units and punctuation are spelled out, as in "degrees
/// Celsius"; every other character becomes a question mark and is added to `lost`.
[[nodiscard]] std::string quoted(std::string_view text, std::vector<std::string> &lost);

/// "sampleShelfMIB" for SAMPLE-SHELF-MIB.
[[nodiscard]] std::string identity(const std::string &module);
/// The start of the module's own names: "sampleShelf".
[[nodiscard]] std::string stem(const std::string &module);
[[nodiscard]] std::string capitalised(std::string name);
} // namespace smiText
