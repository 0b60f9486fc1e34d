#include "SimulatorObjects.h"

#include "DeviceObjects.h"
#include "DeviceValue.h"
#include "Numbers.h"
#include "ObjectTypes.h"
#include "PublishedConversions.h"
#include "SnmpObjConvertStrategy.h"

#include <yaml-cpp/yaml.h>

namespace
{
constexpr std::size_t usualTextWidth = 32;
constexpr std::size_t wordWidth = 4;
constexpr std::size_t baseWidth = sizeof(DeviceValue::data);

/// A kind and width that the agent converts to what the mapping promises.
DeviceNotes suggested(const SnmpObjInfo &info)
{
    const auto &suggestion = publishedConversion::of(info).suggestion;
    if (suggestion) {
        return {.kind = suggestion->kind,
                .width = suggestion->width,
                .value = suggestion->value,
                .motion = {}};
    }
    const bool isNumber = info.asnType == objectType::integer;
    return {.kind = isNumber ? "unsigned" : "string",
            .width = isNumber ? wordWidth : usualTextWidth,
            .value = isNumber ? "0" : "",
            .motion = {}};
}

std::size_t usualWidth(const std::string &kind)
{
    return kind == "string" ? usualTextWidth : wordWidth;
}

std::string usualValue(const DeviceNotes &device)
{
    if (device.kind == "string") {
        return "";
    }
    if (device.kind != "other") {
        return "0";
    }
    std::string zeros;
    for (std::size_t byte = 0; byte < device.width; ++byte) {
        zeros += zeros.empty() ? "00" : " 00";
    }
    return zeros;
}

/// Fills in what was not given.
DeviceNotes completed(DeviceNotes said, const SnmpObjInfo &info)
{
    const DeviceNotes usual = suggested(info);
    const bool isOfUsualKind = said.kind.empty() || said.kind == usual.kind;
    said.kind = said.kind.empty() ? usual.kind : said.kind;
    if (said.width == 0) {
        said.width = isOfUsualKind ? usual.width : usualWidth(said.kind);
    }
    if (said.value.empty()) {
        said.value = isOfUsualKind && said.width == usual.width ? usual.value : usualValue(said);
    }
    return said;
}

/// Of the decimal text that a manager sees.
unsigned placesOf(const SnmpObjInfo &info)
{
    const conversion::Conversion *const found = conversion::find(info.valueType);
    const bool isDecimal = found != nullptr && found->usesPlaces() && found->shownPlaces > 0;
    return isDecimal ? conversion::placesOf(info.valueType) : 0;
}

void add(SimulatedObjects &objects, std::uint16_t objId, const SnmpObjInfo &info,
         const ObjectNotes &notes, bool isWritable)
{
    SimulatedObject &object =
        objects
            .try_emplace(deviceObject::onLink(objId),
                         SimulatedObject{.device = completed(notes.device, info),
                                         .isWritable = false,
                                         .name = notes.name.empty() ? info.text : notes.name,
                                         .places = placesOf(info)})
            .first->second;
    object.isWritable = object.isWritable || isWritable;
}

SimulatedObjects objectsOf(const MappingSource &mapping)
{
    SimulatedObjects objects;
    for (const ScalarEntry &entry : mapping.scalars) {
        add(objects, entry.record.objId, entry.record, entry.notes,
            (entry.record.access & scalarWriteBit) != 0);
    }
    for (const CellEntry &entry : mapping.cells) {
        add(objects, entry.record.objId, entry.record, entry.notes,
            entry.record.access == columnReadWrite);
    }
    return objects;
}

void writeObject(YAML::Emitter &out, std::uint16_t objId, const SimulatedObject &object)
{
    const auto key = [&out](const char *name) -> YAML::Emitter & {
        return out << YAML::Key << name << YAML::Value;
    };
    out << YAML::Flow << YAML::BeginMap;
    key("id") << numbers::objectIdText(objId);
    key("kind") << object.device.kind;
    key("width") << object.device.width;
    key("value") << YAML::DoubleQuoted << object.device.value;
    if (object.isWritable) {
        key("writable") << true;
    }
    if (!object.device.motion.empty()) {
        key("motion") << YAML::DoubleQuoted << object.device.motion;
    }
    if (object.places > 0 && object.device.kind != "string" && object.device.kind != "other") {
        key("places") << object.places;
    }
    if (!object.name.empty()) {
        key("name") << YAML::DoubleQuoted << object.name;
    }
    out << YAML::EndMap;
}
} // namespace

SimulatedObjects simulatorObjects::of(const MappingDatabase &database, const ServedOptions &options)
{
    const ServedMapping served = servedBy(database, options);
    SimulatedObjects objects = objectsOf(database.source());
    objects.insert_or_assign(deviceObject::baseOid,
                             SimulatedObject{.device = {.kind = "string",
                                                        .width = baseWidth,
                                                        .value = oidText(served.base),
                                                        .motion = {}},
                                             .isWritable = false,
                                             .name = "base OID",
                                             .places = 0});
    objects.insert_or_assign(
        deviceObject::tableRows,
        SimulatedObject{.device = {.kind = "unsigned",
                                   .width = 1,
                                   .value = served.rows == manyRows ? "1" : "0",
                                   .motion = {}},
                        .isWritable = false,
                        .name = "table rows (0: 4 rows, 1: 8 rows)",
                        .places = 0});
    return objects;
}

std::string simulatorObjects::write(const MappingDatabase &database, const ServedOptions &options)
{
    YAML::Emitter out;
    out << YAML::BeginMap << YAML::Key << "objects" << YAML::Value << YAML::BeginSeq;
    for (const auto &[objId, object] : of(database, options)) {
        writeObject(out, objId, object);
    }
    out << YAML::EndSeq << YAML::EndMap;
    return std::string("# Device objects for tarnoDeviceSim; generated from a mapping.\n") +
           out.c_str() + '\n';
}
