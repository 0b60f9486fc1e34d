#include "Baseline.h"

#include "InputError.h"
#include "WholeFile.h"

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::json;

std::set<std::string> fingerprintsIn(const std::string &text)
{
    const Json earlier = Json::parse(text);
    std::set<std::string> fingerprints;
    for (const Json &finding : earlier.at("findings")) {
        if (finding.at("accepted").is_null()) {
            fingerprints.insert(finding.at("fingerprint").get<std::string>());
        }
    }
    return fingerprints;
}
} // namespace

void baseline::apply(const std::string &path, Findings &findings)
{
    const std::string text = readWholeFile(path);
    try {
        findings.markKnown(fingerprintsIn(text));
    } catch (const Json::exception &) {
        throw InputError(path + ": is not output of tarnoMapping check --json");
    }
}
