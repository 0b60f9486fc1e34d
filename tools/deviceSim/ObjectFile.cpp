#include "ObjectFile.h"

#include "InputError.h"
#include "MappingDatabase.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "Parsing.h"
#include "Suggestions.h"
#include "TextForms.h"
#include "ValueKindNames.h"
#include "WholeFile.h"
#include "YamlNodes.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace
{
using yamlNodes::at;
using yamlNodes::fail;

constexpr const char *mappingHint = "this is a mapping: use --mapping";

/// Whether this looks like the source of a mapping, which people pass here by mistake.
bool isMappingSource(const YAML::Node &root)
{
    constexpr std::array parts{"module", "scalars", "tables", "cells", "alarms"};
    return root.IsMap() && !root["objects"] &&
           std::any_of(parts.begin(), parts.end(),
                       [&](const char *part) { return root[part].IsDefined(); });
}

/// Without a width in the file, that of the value.
std::size_t widthOf(const YAML::Node &node, const YamlMap &map, ValueKind kind,
                    const std::string &value)
{
    if (map.find("width")) {
        return static_cast<std::size_t>(map.number("width", DeviceObject::widest, 0));
    }
    if (kind == ValueKind::string) {
        return value.size();
    }
    if (kind == ValueKind::other) {
        return parsing::hexBytes(value).size();
    }
    fail(node, "number has no \"width\"");
}

ValueKind kindOf(const YAML::Node &node)
{
    const std::string name = yamlNodes::text(node, "kind");
    const auto kind = valueKindNamed(name);
    if (!kind) {
        fail(node, "kind " + textForms::quoted(name) +
                       " is not one of unsigned, signed, string, other" +
                       suggestions::nearest(name, valueKindNames));
    }
    return *kind;
}

DeviceObject objectOf(const YAML::Node &node, const YamlMap &map, std::uint16_t id)
{
    const ValueKind kind = kindOf(map.required("kind"));
    const YAML::Node valueNode = map.find("value");
    const std::string value = valueNode ? yamlNodes::bytes(valueNode, "value") : std::string();
    const YAML::Node widthNode = map.find("width");
    const YAML::Node &widthPlace = widthNode ? widthNode : valueNode ? valueNode : node;
    DeviceObject object = at(widthPlace, [&] {
        return DeviceObject(id, kind, widthOf(node, map, kind, value), map.flag("writable"),
                            map.text("name"));
    });
    object.setPlaces(static_cast<unsigned>(map.number("places", mappingWords::mostPlaces, 0)));
    if (valueNode) {
        at(valueNode, [&] { object.setText(value); });
    }
    return object;
}

std::vector<Fault> faultsOf(const YamlMap &map)
{
    std::vector<Fault> faults;
    if (const YAML::Node list = map.find("faults")) {
        for (const YAML::Node &entry : yamlNodes::list(list, "faults")) {
            const std::string text = yamlNodes::text(entry, "fault");
            faults.push_back(at(entry, [&] { return Fault::parse(parsing::words(text)); }));
        }
    }
    return faults;
}

void addObject(const YAML::Node &node, YamlErrors &errors, const MotionOrigin &origin,
               SimulatedDevice &device)
{
    const YamlMap map(
        node, errors, "object",
        {"id", "kind", "width", "places", "value", "writable", "name", "faults", "motion"});
    const YAML::Node idNode = map.required("id");
    const std::string idText = yamlNodes::text(idNode, "id");
    const std::uint16_t id = at(idNode, [&] { return parsing::objectId(idText); });
    DeviceObject object = objectOf(node, map, id);
    if (const YAML::Node motion = map.find("motion")) {
        const std::string text = yamlNodes::text(motion, "motion");
        at(motion, [&] { object.startMotion(text, origin); });
    }
    if (!device.objects.emplace(id, std::move(object)).second) {
        fail(idNode, "duplicate object " + numbers::objectIdText(id));
    }
    for (Fault &fault : faultsOf(map)) {
        device.faults.setFor(id, std::move(fault));
    }
}

void addAll(const YAML::Node &root, YamlErrors &errors, const MotionOrigin &origin,
            SimulatedDevice &device)
{
    if (isMappingSource(root)) {
        fail(root, mappingHint);
    }
    const YamlMap map(root, errors, "the object file", {"objects", "faults", "concurrent"});
    device.concurrent = errors.valueOf([&] { return map.flag("concurrent"); });
    for (const YAML::Node &object : yamlNodes::list(map.required("objects"), "objects")) {
        errors.collect([&] { addObject(object, errors, origin, device); });
    }
    for (Fault &fault : faultsOf(map)) {
        device.faults.setForAll(std::move(fault));
    }
}
} // namespace

SimulatedDevice objectFile::read(const std::string &path, std::uint32_t seed)
{
    return parse(readWholeFile(path), path, seed);
}

SimulatedDevice objectFile::parse(const std::string &text, const std::string &name,
                                  std::uint32_t seed)
{
    if (text.starts_with(databaseStart)) {
        throw InputError(name + ": " + mappingHint);
    }
    const MotionOrigin origin = motion::beside(name, seed);
    SimulatedDevice device;
    yamlNodes::read(text, name, [&](const YAML::Node &root, YamlErrors &errors) {
        addAll(root, errors, origin, device);
    });
    return device;
}
