#include "Findings.h"

#include "Numbers.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <tuple>

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;

constexpr int withWarnings = 1;
constexpr int withErrors = 2;

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
    return std::to_string(count) + ' ' + std::string(severityWord(severity)) +
           (count == 1 ? "" : "s");
}

std::string shownPlace(const Findings &findings, const Finding &finding)
{
    return finding.mark.isSomewhere() ? findings.file() + ':' + std::to_string(finding.mark.line) +
                                            ':' + std::to_string(finding.mark.column)
                                      : placeText(finding.place);
}

Json textOrNull(const std::string &text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

/// Where the source says it; nothing in a database.
Json sourceOf(const Findings &findings, const Finding &finding)
{
    return finding.mark.isSomewhere() ? Json{{"file", findings.file()},
                                             {"line", finding.mark.line},
                                             {"column", finding.mark.column}}
                                      : Json(nullptr);
}
} // namespace

std::string_view severityWord(Severity severity)
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

std::string fingerprintOf(const Finding &finding)
{
    const FindingPlace &place = finding.place;
    const std::string row = place.table + '/' + std::to_string(place.row);
    const std::string &object = !finding.object.empty() ? finding.object
                                : !finding.oid.empty()  ? finding.oid
                                                        : row;
    // FNV-1a
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char each : std::string(finding.rule->code) + '\n' + object + '\n' + place.column +
                               '\n' + finding.what) {
        hash = (hash ^ static_cast<std::uint8_t>(each)) * 0x100000001B3U;
    }
    return numbers::hexadecimal(hash, 16).substr(2);
}

const CheckRule &checkRule(std::string_view code)
{
    for (const auto rules : {checkRules(), verifyRules()}) {
        const auto found = std::find_if(rules.begin(), rules.end(), [code](const CheckRule &each) {
            return each.code == code;
        });
        if (found != rules.end()) {
            return *found;
        }
    }
    throw std::logic_error("no rule " + std::string(code));
}

Finding &Findings::add(std::string_view code, FindingPlace place, std::string what,
                       std::string effect)
{
    return _all.emplace_back(Finding{.rule = &checkRule(code),
                                     .place = std::move(place),
                                     .what = std::move(what),
                                     .effect = std::move(effect)});
}

std::size_t Findings::count(Severity severity) const
{
    return static_cast<std::size_t>(
        std::count_if(_all.begin(), _all.end(), [severity](const Finding &each) {
            return each.rule->severity == severity && each.counts();
        }));
}

std::size_t Findings::countAccepted() const
{
    return static_cast<std::size_t>(std::count_if(
        _all.begin(), _all.end(), [](const Finding &each) { return each.isAccepted(); }));
}

std::size_t Findings::countKnown() const
{
    return static_cast<std::size_t>(
        std::count_if(_all.begin(), _all.end(), [](const Finding &each) { return each.isKnown; }));
}

void Findings::markKnown(const std::set<std::string> &fingerprints)
{
    _hasBaseline = true;
    for (Finding &finding : _all) {
        finding.isKnown = !finding.isAccepted() && fingerprints.contains(fingerprintOf(finding));
    }
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
    const auto order = [](const Finding &each) {
        return std::tie(each.mark.line, each.mark.column, each.place.table, each.place.row,
                        each.rule->code);
    };
    std::stable_sort(_all.begin(), _all.end(),
                     [order](const Finding &a, const Finding &b) { return order(a) < order(b); });
    std::set<std::tuple<std::size_t, std::size_t, std::string_view, std::string, std::string>> seen;
    std::erase_if(_all, [&seen](const Finding &each) {
        return each.mark.isSomewhere() && !seen.emplace(each.mark.line, each.mark.column,
                                                        each.rule->code, each.object, each.what)
                                               .second;
    });
}

std::string findingsReport::text(const Findings &findings, bool inColour, Severity least)
{
    std::string text;
    for (const Finding &finding : findings.all()) {
        const Severity severity = finding.rule->severity;
        if (severity < least || !finding.counts()) {
            continue;
        }
        const std::string place = shownPlace(findings, finding);
        const std::string shown = std::string(severityWord(severity));
        text += place.empty() ? "" : place + ": ";
        text += inColour ? std::string(colour(severity)) + shown + "\033[0m" : shown;
        text += ' ' + std::string(finding.rule->code) + ": ";
        text += (finding.object.empty() ? "" : finding.object + ": ") + finding.what;
        text += "\n    effect: " + std::string(effectOf(finding)) + "\n    remedy: ";
        text += std::string(finding.rule->remedy) + '\n';
        text += finding.oid.empty() ? "" : "    OID: " + finding.oid + '\n';
    }
    const auto further = [](std::size_t count, const char *what) {
        return count == 0 ? "" : ", " + std::to_string(count) + what;
    };
    return text + counted(findings.count(Severity::error), Severity::error) + ", " +
           counted(findings.count(Severity::warning), Severity::warning) + ", " +
           counted(findings.count(Severity::note), Severity::note) +
           further(findings.countAccepted(), " accepted") +
           further(findings.countKnown(), " known") + '\n';
}

std::string findingsReport::json(const Findings &findings)
{
    Json entries = Json::array();
    for (const Finding &finding : findings.all()) {
        const FindingPlace &place = finding.place;
        entries.push_back({{"code", finding.rule->code},
                           {"severity", severityWord(finding.rule->severity)},
                           {"table", textOrNull(place.table)},
                           {"row", place.row == 0 ? Json(nullptr) : Json(place.row)},
                           {"column", textOrNull(place.column)},
                           {"source", sourceOf(findings, finding)},
                           {"object", textOrNull(finding.object)},
                           {"oid", textOrNull(finding.oid)},
                           {"what", finding.what},
                           {"effect", effectOf(finding)},
                           {"remedy", finding.rule->remedy},
                           {"accepted", textOrNull(finding.acceptedBecause)},
                           {"known", finding.isKnown},
                           {"fingerprint", fingerprintOf(finding)}});
    }
    const Json all{{"file", findings.file()},
                   {"errors", findings.count(Severity::error)},
                   {"warnings", findings.count(Severity::warning)},
                   {"notes", findings.count(Severity::note)},
                   {"accepted", findings.countAccepted()},
                   {"known", findings.countKnown()},
                   {"findings", std::move(entries)}};
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

int findingsReport::exitStatus(const Findings &findings)
{
    return findings.count(Severity::error) != 0     ? withErrors
           : findings.count(Severity::warning) != 0 ? withWarnings
                                                    : 0;
}

std::string findingsReport::rules(std::span<const CheckRule> rules)
{
    std::string text;
    for (const CheckRule &rule : rules) {
        text += std::string(rule.code) + "  " + std::string(severityWord(rule.severity));
        text.append(9 - severityWord(rule.severity).size(), ' ');
        text += std::string(rule.title) + '\n';
    }
    return text;
}
