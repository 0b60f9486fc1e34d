#include "VerifyReport.h"

#include <array>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace
{
double milliseconds(std::chrono::microseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

std::string shown(std::chrono::microseconds time)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f ms", milliseconds(time));
    return text.data();
}

std::string setText(const VerifySummary &summary)
{
    if (summary.set == 0 && summary.notSet.empty()) {
        return "";
    }
    const std::string others =
        summary.notSet.empty()
            ? ""
            : ", " + std::to_string(summary.notSet.size()) + " not (--json names them)";
    return std::to_string(summary.set) + " objects set to what they have" + others + '\n';
}
} // namespace

std::string verifyReport::text(const Findings &findings, const VerifySummary &summary,
                               bool inColour)
{
    std::string text = findingsReport::text(findings, inColour);
    if (!summary.device.empty()) {
        text += "device application: " + summary.device + '\n';
    }
    text += std::to_string(summary.answered) + " of " + std::to_string(summary.asked.size()) +
            " objects read";
    if (summary.answered != 0) {
        text += ", median " + shown(summary.median) + ", worst " + shown(summary.worst) + " (" +
                summary.slowest + ')';
    }
    return text + '\n' + setText(summary);
}

std::string verifyReport::json(const Findings &findings, const VerifySummary &summary)
{
    auto all = nlohmann::ordered_json::parse(findingsReport::json(findings));
    all["device"] = summary.device;
    all["asked"] = summary.asked.size();
    all["answered"] = summary.answered;
    all["medianMilliseconds"] = milliseconds(summary.median);
    all["worstMilliseconds"] = milliseconds(summary.worst);
    all["slowest"] = summary.slowest;
    all["set"] = summary.set;
    all["notSet"] = summary.notSet;
    return all.dump(2) + '\n';
}
