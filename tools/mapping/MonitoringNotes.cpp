#include "MonitoringNotes.h"

#include <array>
#include <sstream>
#include <utility>

namespace
{
constexpr std::array<std::pair<const char *, bool MonitoringNotes::*>, 3> knownWords{
    {{"counter", &MonitoringNotes::isCounter},
     {"label", &MonitoringNotes::isLabel},
     {"states", &MonitoringNotes::hasStates}}};
} // namespace

std::string monitoringNotes::words(const MonitoringNotes &notes)
{
    std::string text;
    for (const auto &[word, member] : knownWords) {
        if (notes.*member) {
            text += (text.empty() ? "" : " ") + std::string(word);
        }
    }
    return text;
}

MonitoringNotes monitoringNotes::notesIn(std::string_view text)
{
    MonitoringNotes notes;
    std::istringstream words{std::string(text)};
    for (std::string each; words >> each;) {
        for (const auto &[word, member] : knownWords) {
            notes.*member = notes.*member || each == word;
        }
    }
    return notes;
}
