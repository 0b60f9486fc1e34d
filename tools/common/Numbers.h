#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Numbers as the users of the tools write and read them: decimal, or hexadecimal after 0x.
namespace numbers
{
/// A number without a sign; nothing for any other text, or beyond `largest`.
[[nodiscard]] std::optional<std::uint64_t> unsignedIn(std::string_view text, std::uint64_t largest);
/// A number in a range, with a sign only where the range goes below zero. InputError otherwise;
/// `what` names the number in the reason.
[[nodiscard]] std::int64_t within(std::string_view text, std::int64_t smallest,
                                  std::int64_t largest, std::string_view what);

/// At least `digits` upper-case hexadecimal digits after 0x.
[[nodiscard]] std::string hexadecimal(std::uint64_t number, int digits);
/// A device object id: "0x0110".
[[nodiscard]] std::string objectIdText(std::uint16_t id);
} // namespace numbers
