#include "SourceLife.h"

#include "MappingWords.h"
#include "Suggestions.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace
{
using yamlNodes::fail;

std::string dayOf(const YAML::Node &node, std::string_view what)
{
    std::string day = yamlNodes::text(node, what);
    if (!mappingWords::isDay(day)) {
        fail(node, std::string(what) + ' ' + textForms::quoted(day) +
                       " is not a day in the form YYYY-MM-DD");
    }
    return day;
}

/// The day of a revision of the module.
std::string revisionOf(const YAML::Node &node, std::string_view what, const ModuleNotes &module)
{
    std::string day = dayOf(node, what);
    if (std::none_of(module.revisions.begin(), module.revisions.end(),
                     [&day](const Revision &each) { return each.day == day; })) {
        fail(node, std::string(what) + ' ' + day + " is not the day of a revision of the module");
    }
    return day;
}

/// An OID below the base with a leading period, written with or without it.
std::string nodeOf(const YAML::Node &node, std::string_view what)
{
    const std::string written = yamlNodes::text(node, what);
    std::string oid = written.starts_with('.') ? written : '.' + written;
    const bool isDotted = !oid.ends_with('.') && oid.find("..") == std::string::npos &&
                          oid.find_first_not_of(".0123456789") == std::string::npos;
    if (!isDotted) {
        fail(node, std::string(what) + ' ' + textForms::quoted(written) + " is not dotted numbers");
    }
    return oid;
}

void readRevisions(const YAML::Node &node, YamlErrors &errors, std::vector<Revision> &revisions)
{
    for (const YAML::Node &each : yamlNodes::list(node, "revisions")) {
        const YamlMap map(each, errors, "revision", {"day", "text"});
        const Revision revision{
            .day = dayOf(map.required("day"), "day"),
            .text = yamlNodes::text(map.required("text"), "text"),
        };
        const auto place =
            std::lower_bound(revisions.begin(), revisions.end(), revision,
                             [](const auto &a, const auto &b) { return a.day < b.day; });
        if (place != revisions.end() && place->day == revision.day) {
            fail(map.find("day"), "duplicate revision " + revision.day);
        }
        revisions.insert(place, revision);
    }
}

void readGroups(const YAML::Node &node, YamlErrors &errors, std::vector<NodeName> &groups)
{
    std::set<std::string> taken;
    for (const YAML::Node &each : yamlNodes::list(node, "groups")) {
        const YamlMap map(each, errors, "group", {"node", "name"});
        groups.push_back({.node = nodeOf(map.required("node"), "node"),
                          .name = yamlNodes::text(map.required("name"), "name")});
        const NodeName &group = groups.back();
        if (!mappingWords::isName(group.name)) {
            fail(map.find("name"), "name " + textForms::quoted(group.name) +
                                       " is not a lower-case letter followed by at most 63 "
                                       "letters and digits");
        }
        if (!taken.insert(group.name).second || !taken.insert(group.node).second) {
            fail(each, "duplicate group " + group.node + ' ' + group.name);
        }
    }
}

/// If the source does not say which revision dropped an object, only one may have done so.
std::string onlyRevisionAfter(const YAML::Node &status, const std::string &since,
                              const ModuleNotes &module)
{
    std::vector<std::string> days;
    for (const Revision &revision : module.revisions) {
        if (revision.day > std::max(since, module.revisions.front().day)) {
            days.push_back(revision.day);
        }
    }
    if (days.size() != 1) {
        fail(status, days.empty() ? "status needs a revision after the one that added the object"
                                  : "status needs \"until\": the day of the revision that dropped "
                                    "the object");
    }
    return days.front();
}
} // namespace

void sourceLife::readModule(const YamlMap &map, YamlErrors &errors, ModuleNotes &module)
{
    if (const YAML::Node revisions = map.find("revisions")) {
        readRevisions(revisions, errors, module.revisions);
    }
    if (const YAML::Node reserved = map.find("reserved")) {
        for (const YAML::Node &each : yamlNodes::list(reserved, "reserved")) {
            module.reserved.push_back(nodeOf(each, "reserved number"));
        }
    }
    if (const YAML::Node groups = map.find("groups")) {
        readGroups(groups, errors, module.groups);
    }
    if (!module.revisions.empty() && !module.updated.empty() &&
        module.updated != module.revisions.back().day) {
        yamlNodes::fail(map.find("updated"), "updated " + module.updated +
                                                 " is not the day of the latest revision, " +
                                                 module.revisions.back().day);
    }
}

LifeNotes sourceLife::life(const YamlMap &map, const ModuleNotes &module, const std::string &since)
{
    LifeNotes life;
    const YAML::Node status = map.find("status");
    const YAML::Node until = map.find("until");
    life.since = map.find("since") ? revisionOf(map.find("since"), "since", module) : since;
    if (!status || yamlNodes::text(status, "status") == "current") {
        if (until) {
            fail(until, "until needs status deprecated or obsolete");
        }
        return life;
    }
    life.status = yamlNodes::text(status, "status");
    if (!mappingWords::isFormerStatus(life.status)) {
        constexpr std::array<std::string_view, 3> known{"current", "deprecated", "obsolete"};
        fail(status, "unknown status " + textForms::quoted(life.status) +
                         suggestions::among(life.status, known));
    }
    life.until =
        until ? revisionOf(until, "until", module) : onlyRevisionAfter(status, life.since, module);
    if (life.until <= std::max(life.since, module.revisions.front().day)) {
        fail(until, "until " + life.until + " is not after the revision that added the object");
    }
    return life;
}

std::string sourceLife::since(const YamlMap &map, const ModuleNotes &module)
{
    const YAML::Node node = map.find("since");
    return node ? revisionOf(node, "since", module) : std::string();
}

std::string sourceLife::range(const YamlMap &map, const std::vector<Label> &labels)
{
    const YAML::Node node = map.find("range");
    std::string range = map.text("range");
    if (!node) {
        return range;
    }
    if (!mappingWords::rangeIn(range)) {
        fail(node, "range " + textForms::quoted(range) +
                       " is not a range of 32-bit decimal numbers, such as -20..60");
    }
    if (!labels.empty() || map.text("type") != "integer") {
        fail(node, "range needs type integer without labels");
    }
    return range;
}

void sourceLife::checkFree(const YAML::Node &node, const std::string &oid,
                           const ModuleNotes &module)
{
    const auto taken = std::find_if(
        module.reserved.begin(), module.reserved.end(),
        [&oid](const std::string &each) { return (oid + '.').starts_with(each + '.'); });
    if (taken != module.reserved.end()) {
        fail(node, "number " + oid + " is reserved (" + *taken + "): it must not be used again");
    }
}
