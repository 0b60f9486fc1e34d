#include "PublishedObjects.h"

#include "MappingWords.h"
#include "ObjectTypes.h"
#include "SmiText.h"
#include "SnmpObjConvertStrategy.h"

#include <algorithm>
#include <cstdint>
#include <set>

namespace
{
constexpr std::size_t longestText = 64;

using publishedConversion::range;

std::string sized(const std::string &type, std::size_t width)
{
    return type + " (SIZE (0.." + std::to_string(width == 0 ? longestText : width) + "))";
}

/// The module's own name of a convention.
std::string ownName(const ServedMapping &served, const std::string &convention)
{
    return smiText::capitalised(smiText::stem(served.module.name)) + convention;
}

std::string widthSyntax(const DeviceNotes &device)
{
    const std::int64_t values = std::int64_t{1} << (8 * std::min<std::size_t>(device.width, 4));
    const bool isNarrow = device.width == 1 || device.width == 2;
    if (isNarrow && device.kind == "unsigned") {
        return range(0, values - 1);
    }
    return isNarrow && device.kind == "signed" ? range(-values / 2, values / 2 - 1) : "Integer32";
}

/// As narrow as the stated range, or the width of the device's object.
std::string integerSyntax(const ServedMapping &served, const ServedObject &object)
{
    if (!object.notes.labels.empty()) {
        std::string labels;
        for (const auto &[number, label] : object.notes.labels) {
            labels += (labels.empty() ? "" : ", ") + label + '(' + std::to_string(number) + ')';
        }
        return "INTEGER { " + labels + " }";
    }
    const auto &publication = publishedConversion::of(object.info);
    const unsigned places = conversion::placesOf(object.info.valueType);
    auto *const convention = publication.numberConvention;
    const std::string converted = convention == nullptr ? "" : convention(places);
    const auto bounds = mappingWords::rangeIn(object.notes.range);
    if (!converted.empty()) {
        const std::string name = ownName(served, converted);
        return bounds ? name + range(bounds->first, bounds->second).substr(sizeof("Integer32") - 1)
                      : name;
    }
    if (bounds) {
        return range(bounds->first, bounds->second);
    }
    return publication.range == nullptr ? widthSyntax(object.notes.device) : publication.range();
}

std::string textSyntax(const ServedMapping &served, const ServedObject &object)
{
    const auto *const convention = publishedConversion::of(object.info).convention;
    if (convention != nullptr) {
        return ownName(served, convention->name);
    }
    const DeviceNotes &device = object.notes.device;
    return device.kind == "other"
               ? sized(ownName(served, publishedConversion::block().name), device.width)
               : sized("DisplayString", device.width);
}

std::size_t positionOf(const std::string &day, const std::vector<Revision> &revisions)
{
    const auto found = std::find_if(revisions.begin(), revisions.end(),
                                    [&day](const Revision &each) { return each.day == day; });
    return found == revisions.end() ? 0 : static_cast<std::size_t>(found - revisions.begin());
}
} // namespace

bool publishedObjects::isPublished(const ServedObject &object)
{
    return objectType::of(object.info.asnType).service == objectType::Service::sound;
}

std::vector<const ServedObject *> publishedObjects::all(const ServedMapping &served)
{
    std::vector<const ServedObject *> all;
    for (const auto *objects : {&served.objects, &served.retired}) {
        for (const ServedObject &object : *objects) {
            if (isPublished(object)) {
                all.push_back(&object);
            }
        }
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const auto *a, const auto *b) { return a->oid < b->oid; });
    return all;
}

std::string publishedObjects::syntax(const ServedMapping &served, const ServedObject &object)
{
    if (object.isRowNumber()) {
        return range(1, served.rows);
    }
    return object.info.asnType == objectType::integer ? integerSyntax(served, object)
                                                      : textSyntax(served, object);
}

std::string publishedObjects::bare(const std::string &syntax)
{
    return syntax.substr(0, syntax.find_first_of(" ({"));
}

std::vector<publishedConversion::TextualConvention>
publishedObjects::conventions(const ServedMapping &served)
{
    std::set<std::string> used;
    for (const ServedObject *object : all(served)) {
        used.insert(bare(syntax(served, *object)));
    }
    std::vector<publishedConversion::TextualConvention> conventions;
    for (publishedConversion::TextualConvention &each : publishedConversion::conventions()) {
        each.name = ownName(served, each.name);
        if (used.contains(each.name)) {
            conventions.push_back(std::move(each));
        }
    }
    return conventions;
}

const char *publishedObjects::access(const ServedObject &object)
{
    return object.isWritable() ? "read-write" : "read-only";
}

publishedObjects::Life publishedObjects::life(const ModuleNotes &module, const ServedObject &object)
{
    return life(module, object.notes.life);
}

publishedObjects::Life publishedObjects::life(const ModuleNotes &module, const LifeNotes &notes)
{
    Life life{.added = positionOf(notes.since, module.revisions)};
    const std::size_t dropped = positionOf(notes.until, module.revisions);
    if (!notes.status.empty() && dropped > life.added) {
        life.dropped = dropped;
        life.status = notes.status == "obsolete" ? "obsolete" : "deprecated";
    }
    return life;
}
