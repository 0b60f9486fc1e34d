#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// How a simulated number changes, as a source writes it. Knows the form of every motion of the
/// device simulator, but reads no recording.
namespace deviceMotion
{
/// The lowest and the highest number of a motion.
struct Range {
    std::int64_t low;
    std::int64_t high;
};

/// Whether the simulator takes this text, apart from the contents of a recording.
[[nodiscard]] bool isKnown(std::string_view text);

/// Nothing for a motion that stays within any width, or whose numbers are in a recording.
[[nodiscard]] std::optional<Range> rangeOf(std::string_view text);
} // namespace deviceMotion
