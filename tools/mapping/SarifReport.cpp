#include "SarifReport.h"

#include <algorithm>
#include <cctype>

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;

constexpr const char *schema =
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/sarif-schema-2.1.0.json";

Json message(const std::string &text)
{
    return {{"text", text}};
}

/// "A number is NULL."
std::string sentence(std::string_view words)
{
    std::string text(words);
    text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
    return text.ends_with('.') ? text : text + '.';
}

Json descriptorOf(const CheckRule &rule)
{
    return {{"id", rule.code},
            {"shortDescription", message(sentence(rule.title))},
            {"fullDescription", message(sentence(rule.effect))},
            {"help", message(sentence(rule.remedy))},
            {"defaultConfiguration", {{"level", severityWord(rule.severity)}}}};
}

/// A relative path stays relative: to the directory that the check ran in.
std::string uriOf(const std::string &path)
{
    constexpr std::string_view plain = "-._~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string uri = path.starts_with('/') ? "file://" : "";
    for (const char each : path) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte < 0x80 &&
            (std::isalnum(byte) != 0 || plain.find(each) != std::string_view::npos)) {
            uri += each;
        } else {
            uri += {'%', digits[byte >> 4], digits[byte & 0xF]};
        }
    }
    return uri;
}

Json objectLocation(const Finding &finding)
{
    Json location{{"kind", "object"}};
    if (!finding.object.empty()) {
        location["name"] = finding.object;
    }
    if (!finding.oid.empty()) {
        location["fullyQualifiedName"] = finding.oid;
    }
    return location;
}

/// The object, and the place in a database.
Json logicalLocationsOf(const Finding &finding)
{
    Json locations = Json::array();
    if (!finding.object.empty() || !finding.oid.empty()) {
        locations.push_back(objectLocation(finding));
    }
    if (!finding.mark.isSomewhere() && !finding.place.table.empty()) {
        locations.push_back({{"kind", "row"}, {"fullyQualifiedName", placeText(finding.place)}});
    }
    return locations;
}

Json locationOf(const Findings &findings, const Finding &finding)
{
    Json physical{{"artifactLocation", {{"uri", uriOf(findings.file())}}}};
    if (finding.mark.isSomewhere()) {
        physical["region"] = {{"startLine", finding.mark.line},
                              {"startColumn", finding.mark.column}};
    }
    Json location{{"physicalLocation", std::move(physical)}};
    Json logical = logicalLocationsOf(finding);
    if (!logical.empty()) {
        location["logicalLocations"] = std::move(logical);
    }
    return location;
}

Json resultOf(const Findings &findings, const Finding &finding)
{
    const auto rules = checkRules();
    const std::string subject = finding.object.empty() ? "" : finding.object + ": ";
    Json suppressions = Json::array();
    if (finding.isAccepted()) {
        suppressions.push_back({{"kind", "inSource"},
                                {"status", "accepted"},
                                {"justification", finding.acceptedBecause}});
    }
    Json result{
        {"ruleId", finding.rule->code},
        {"ruleIndex", finding.rule - rules.data()},
        {"level", severityWord(finding.rule->severity)},
        {"message", message(subject + finding.what + ". " + std::string(effectOf(finding)))},
        {"locations", Json::array({locationOf(findings, finding)})},
        {"partialFingerprints", {{"finding/v1", fingerprintOf(finding)}}},
        {"suppressions", std::move(suppressions)}};
    if (findings.hasBaseline()) {
        result["baselineState"] = finding.isKnown ? "unchanged" : "new";
    }
    return result;
}
} // namespace

std::string sarifReport::write(const Findings &findings)
{
    Json rules = Json::array();
    for (const CheckRule &rule : checkRules()) {
        rules.push_back(descriptorOf(rule));
    }
    Json results = Json::array();
    for (const Finding &finding : findings.all()) {
        results.push_back(resultOf(findings, finding));
    }
    const Json run{{"tool", {{"driver", {{"name", "tarnoMapping"}, {"rules", std::move(rules)}}}}},
                   {"columnKind", "unicodeCodePoints"},
                   {"results", std::move(results)}};
    const Json log{{"$schema", schema}, {"version", "2.1.0"}, {"runs", Json::array({run})}};
    return log.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}
