#pragma once

#include <string>
#include <string_view>

/// How monitoring systems treat an object.
struct MonitoringNotes {
    /// The number only grows, until it wraps or the device restarts.
    bool isCounter = false;
    /// The text of the column names its row.
    bool isLabel = false;
    /// Every label is a series of its own: 1 while it applies, otherwise 0.
    bool hasStates = false;

    bool operator==(const MonitoringNotes &) const = default;
};

namespace monitoringNotes
{
/// "counter", "label" and "states", separated by blanks.
[[nodiscard]] std::string words(const MonitoringNotes &notes);
/// The words in a text; anything else is skipped.
[[nodiscard]] MonitoringNotes notesIn(std::string_view text);
} // namespace monitoringNotes
