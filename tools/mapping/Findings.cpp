#include "Findings.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;

std::string_view word(Severity severity)
{
    switch (severity) {
    case Severity::error:
        return "error";
    case Severity::warning:
        return "warning";
    case Severity::note:
        break;
    }
    return "note";
}

std::string_view colour(Severity severity)
{
    switch (severity) {
    case Severity::error:
        return "\033[31m";
    case Severity::warning:
        return "\033[33m";
    case Severity::note:
        break;
    }
    return "\033[36m";
}

std::string counted(std::size_t count, Severity severity)
{
    return std::to_string(count) + ' ' + std::string(word(severity)) + (count == 1 ? "" : "s");
}

std::string placeText(const FindingPlace &place)
{
    std::string text = place.table;
    if (place.row != 0) {
        text += (text.empty() ? "row " : ", row ") + std::to_string(place.row);
    }
    if (!place.column.empty()) {
        text += (text.empty() ? "" : ", ") + place.column;
    }
    return text;
}

std::string_view effectOf(const Finding &finding)
{
    return finding.effect.empty() ? finding.rule->effect : std::string_view(finding.effect);
}
} // namespace

const CheckRule &checkRule(std::string_view code)
{
    const auto rules = checkRules();
    const auto found = std::find_if(rules.begin(), rules.end(),
                                    [code](const CheckRule &each) { return each.code == code; });
    if (found == rules.end()) {
        throw std::logic_error("no rule " + std::string(code));
    }
    return *found;
}

void Findings::add(std::string_view code, FindingPlace place, std::string what, std::string effect)
{
    _all.push_back({.rule = &checkRule(code),
                    .place = std::move(place),
                    .what = std::move(what),
                    .effect = std::move(effect)});
}

std::size_t Findings::count(Severity severity) const
{
    return static_cast<std::size_t>(
        std::count_if(_all.begin(), _all.end(),
                      [severity](const Finding &each) { return each.rule->severity == severity; }));
}

void Findings::keepOnly(std::string_view code, std::string_view table)
{
    const auto isOther = [&](const Finding &each) {
        return each.place.table == table && each.rule->code != code;
    };
    _all.erase(std::remove_if(_all.begin(), _all.end(), isOther), _all.end());
}

void Findings::sort()
{
    std::stable_sort(_all.begin(), _all.end(), [](const Finding &a, const Finding &b) {
        return std::tie(a.place.table, a.place.row, a.rule->code) <
               std::tie(b.place.table, b.place.row, b.rule->code);
    });
}

std::string findingsReport::text(const Findings &findings, bool inColour)
{
    std::string text;
    for (const Finding &finding : findings.all()) {
        const Severity severity = finding.rule->severity;
        const std::string place = placeText(finding.place);
        const std::string shown = std::string(word(severity));
        text += place.empty() ? "" : place + ": ";
        text += inColour ? std::string(colour(severity)) + shown + "\033[0m" : shown;
        text += ' ' + std::string(finding.rule->code) + ": " + finding.what + "\n    effect: ";
        text += std::string(effectOf(finding)) + "\n    remedy: ";
        text += std::string(finding.rule->remedy) + '\n';
    }
    return text + counted(findings.count(Severity::error), Severity::error) + ", " +
           counted(findings.count(Severity::warning), Severity::warning) + ", " +
           counted(findings.count(Severity::note), Severity::note) + '\n';
}

std::string findingsReport::json(const Findings &findings)
{
    Json entries = Json::array();
    for (const Finding &finding : findings.all()) {
        const FindingPlace &place = finding.place;
        entries.push_back({{"code", finding.rule->code},
                           {"severity", word(finding.rule->severity)},
                           {"table", place.table.empty() ? Json(nullptr) : Json(place.table)},
                           {"row", place.row == 0 ? Json(nullptr) : Json(place.row)},
                           {"column", place.column.empty() ? Json(nullptr) : Json(place.column)},
                           {"what", finding.what},
                           {"effect", effectOf(finding)},
                           {"remedy", finding.rule->remedy}});
    }
    const Json all{{"errors", findings.count(Severity::error)},
                   {"warnings", findings.count(Severity::warning)},
                   {"notes", findings.count(Severity::note)},
                   {"findings", std::move(entries)}};
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string findingsReport::rules()
{
    std::string text;
    for (const CheckRule &rule : checkRules()) {
        text += std::string(rule.code) + "  " + std::string(word(rule.severity));
        text.append(9 - word(rule.severity).size(), ' ');
        text += std::string(rule.title) + '\n';
    }
    return text;
}
