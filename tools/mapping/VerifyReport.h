#pragma once

#include "Findings.h"

#include <chrono>
#include <string>
#include <vector>

/// What a verification has read, for the end of its report.
struct VerifySummary {
    /// The names of all objects that were asked for, as in findings.
    std::vector<std::string> asked;
    std::size_t answered = 0;
    std::chrono::microseconds median{};
    std::chrono::microseconds worst{};
    /// The object with the worst time.
    std::string slowest;
    /// Program and process of the device application, as far as known.
    std::string device;
    /// With --snmp and --write: how many objects were set, and the names of the others.
    std::size_t set = 0;
    std::vector<std::string> notSet{};
};

/// Findings as `check` reports them, followed by what was read.
namespace verifyReport
{
[[nodiscard]] std::string text(const Findings &findings, const VerifySummary &summary,
                               bool inColour);
[[nodiscard]] std::string json(const Findings &findings, const VerifySummary &summary);
} // namespace verifyReport
