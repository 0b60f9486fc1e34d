#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Numbers as users of the tools write and read them: decimal, or hexadecimal after 0x.
namespace numbers
{
/// A number without a sign; nothing for any other text or a number above `largest`.
[[nodiscard]] std::optional<std::uint64_t> unsignedIn(std::string_view text, std::uint64_t largest);
/// A 32-bit decimal number, with a sign if it is negative; nothing for any other text.
[[nodiscard]] std::optional<std::int32_t> signedIn(std::string_view text);
/// A number within a range, with a sign only if the range includes negative numbers. Otherwise
/// throws InputError, in which `what` names the number.
[[nodiscard]] std::int64_t within(std::string_view text, std::int64_t smallest,
                                  std::int64_t largest, std::string_view what);

/// The shortest text of a number whose last `places` digits are decimal places: "46.5" for 4650
/// with two of them.
[[nodiscard]] std::string decimalText(std::int64_t digits, unsigned places);

/// At least `digits` upper-case hexadecimal digits after 0x.
[[nodiscard]] std::string hexadecimal(std::uint64_t number, int digits);
/// A device object id: "0x0110".
[[nodiscard]] std::string objectIdText(std::uint16_t id);
} // namespace numbers
