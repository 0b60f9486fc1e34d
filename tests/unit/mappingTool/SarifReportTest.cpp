#include "SarifReport.h"

#include "Baseline.h"
#include "Checker.h"
#include "InputError.h"
#include "SourceReader.h"
#include "support/TestDirectory.h"

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::json;

constexpr const char *gauge = "scalars:\n  - {name: load, oid: 1.1.7, object: 0x1, type: gauge32";

Findings checked(const std::string &source, const std::string &file = "shelf.yaml")
{
    const auto written = sourceReader::parseWritten(source, file);
    Findings findings = check(MappingDatabase(written.mapping, file), written.places, ".1.3.6");
    findings.setFile(file);
    return findings;
}

Json runOf(const Findings &findings)
{
    return Json::parse(sarifReport::write(findings)).at("runs").at(0);
}

Json resultOf(const Findings &findings)
{
    const Json results = runOf(findings).at("results");
    EXPECT_EQ(results.size(), 1U);
    return results.at(0);
}

std::string uriFor(const std::string &file)
{
    return resultOf(checked(std::string(gauge) + "}", file))
        .at("/locations/0/physicalLocation/artifactLocation/uri"_json_pointer);
}

/// What an earlier check of the source printed, in a file.
class EarlierCheck
{
public:
    explicit EarlierCheck(const std::string &source) : EarlierCheck(checked(source)) {}

    explicit EarlierCheck(const Findings &findings) : _path(_directory.file("known.json"))
    {
        writeContent(_path, findingsReport::json(findings));
    }

    [[nodiscard]] Findings of(const std::string &source) const
    {
        Findings findings = checked(source);
        baseline::apply(_path, findings);
        return findings;
    }

private:
    TestDirectory _directory;
    std::string _path;
};
} // namespace

TEST(SarifReport, HasEveryRuleWithItsLevel)
{
    const Json rules = runOf(Findings()).at("/tool/driver/rules"_json_pointer);
    ASSERT_EQ(rules.size(), checkRules().size());
    EXPECT_EQ(rules[0].at("id"), "TM101");
    EXPECT_EQ(rules[0].at("/shortDescription/text"_json_pointer), "The scalar table is missing.");
    EXPECT_EQ(rules[0].at("/defaultConfiguration/level"_json_pointer), "error");
}

TEST(SarifReport, SaysWhereAFindingOfASourceIs)
{
    const Json result = resultOf(checked(std::string(gauge) + "}"));
    const Json rules = runOf(Findings()).at("/tool/driver/rules"_json_pointer);
    EXPECT_EQ(result.at("ruleId"), "TM402");
    EXPECT_EQ(rules.at(result.at("ruleIndex").get<std::size_t>()).at("id"), "TM402");
    EXPECT_EQ(result.at("level"), "error");
    EXPECT_EQ(result.at("message").at("text").get<std::string>().find("load: type Gauge32. A "),
              0U);
    const Json location = result.at("locations").at(0);
    EXPECT_EQ(location.at("/physicalLocation/region"_json_pointer),
              (Json{{"startLine", 2}, {"startColumn", 49}}));
    EXPECT_EQ(location.at("/logicalLocations/0/name"_json_pointer), "load");
    EXPECT_EQ(location.at("/logicalLocations/0/fullyQualifiedName"_json_pointer), ".1.3.6.1.1.7.0");
    EXPECT_EQ(result.at("suppressions"), Json::array());
    EXPECT_FALSE(result.contains("baselineState"));
}

TEST(SarifReport, HasNoRegionInADatabase)
{
    const auto source = sourceReader::parse(std::string(gauge) + "}", "shelf.yaml");
    Findings findings = check(MappingDatabase(source, "shelf.db"), ".1.3.6");
    findings.setFile("shelf.db");
    const Json location = resultOf(findings).at("locations").at(0);
    EXPECT_EQ(location.at("physicalLocation"), (Json{{"artifactLocation", {{"uri", "shelf.db"}}}}));
    EXPECT_EQ(location.at("/logicalLocations/1/fullyQualifiedName"_json_pointer),
              "SNMP_GENERAL_OBJ_TABLE, row 1, asnType");
}

TEST(SarifReport, SuppressesAcceptedFindingsWithTheirReason)
{
    const Json result = resultOf(checked(std::string(gauge) + ", accept: {TM402: small}}"));
    EXPECT_EQ(
        result.at("suppressions"),
        Json::array({{{"kind", "inSource"}, {"status", "accepted"}, {"justification", "small"}}}));
}

TEST(SarifReport, WritesPathsAsUris)
{
    EXPECT_EQ(uriFor("maps/shelf.yaml"), "maps/shelf.yaml");
    EXPECT_EQ(uriFor("/srv/a b%.yaml"), "file:///srv/a%20b%25.yaml");
    EXPECT_EQ(uriFor("\xC3\xA4.yaml"), "%C3%A4.yaml");
}

TEST(SarifReport, TellsNewFindingsFromKnownOnes)
{
    const std::string source = std::string(gauge) + "}";
    EXPECT_EQ(resultOf(EarlierCheck(source).of(source)).at("baselineState"), "unchanged");
    EXPECT_EQ(resultOf(EarlierCheck("scalars: []").of(source)).at("baselineState"), "new");
}

TEST(Baseline, HidesKnownFindingsWhereverTheyMoved)
{
    const Findings findings = EarlierCheck(std::string(gauge) + "}")
                                  .of("# a new first line\n" + std::string(gauge) + "}");
    EXPECT_EQ(findings.count(Severity::error), 0U);
    EXPECT_EQ(findingsReport::text(findings, false), "0 errors, 0 warnings, 0 notes, 1 known\n");
    const Json json = Json::parse(findingsReport::json(findings));
    EXPECT_EQ(json.at("known"), 1);
    EXPECT_EQ(json.at("/findings/0/known"_json_pointer), true);
}

TEST(Baseline, CountsTheSameFindingOfAnotherObjectAndOfAnotherContent)
{
    const EarlierCheck earlier(std::string(gauge) + "}");
    EXPECT_EQ(earlier.of("scalars: [{name: rate, oid: 1.1.7, object: 0x1, type: gauge32}]")
                  .count(Severity::error),
              1U);
    EXPECT_EQ(earlier.of("scalars: [{name: load, oid: 1.1.7, object: 0x1, type: counter32}]")
                  .count(Severity::error),
              1U);
}

TEST(Baseline, StaysValidIfItsOwnFindingsWereKnown)
{
    const std::string source = std::string(gauge) + "}";
    const EarlierCheck second(EarlierCheck(source).of(source));
    EXPECT_EQ(second.of(source).count(Severity::error), 0U);
}

TEST(Baseline, DoesNotKnowWhatWasAccepted)
{
    const Findings findings =
        EarlierCheck(std::string(gauge) + ", accept: {TM402: small}}").of(std::string(gauge) + "}");
    EXPECT_EQ(findings.count(Severity::error), 1U);
}

TEST(Baseline, LeavesAcceptedFindingsAccepted)
{
    const Findings findings =
        EarlierCheck(std::string(gauge) + "}").of(std::string(gauge) + ", accept: {TM402: small}}");
    EXPECT_EQ(findingsReport::text(findings, false), "0 errors, 0 warnings, 0 notes, 1 accepted\n");
}

TEST(Baseline, IsAnEarlierOutputForPrograms)
{
    const TestDirectory directory;
    Findings findings;
    for (const char *content : {"", "{}", "[]", R"({"findings": [{}]})", R"({"findings": 5})",
                                R"({"findings": [{"accepted": null, "fingerprint": 5}]})"}) {
        writeContent(directory.file("known.json"), content);
        EXPECT_THROW(baseline::apply(directory.file("known.json"), findings), InputError)
            << content;
    }
    EXPECT_THROW(baseline::apply(directory.file("missing.json"), findings), InputError);
}
