#include "ObjectFile.h"

#include "Parsing.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <yaml-cpp/yaml.h>

namespace
{
/// A reason that has its line and column before it.
class PlacedError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

[[noreturn]] void failAt(const YAML::Mark &mark, const std::string &reason)
{
    throw PlacedError(std::to_string(mark.line + 1) + ':' + std::to_string(mark.column + 1) + ": " +
                      reason);
}

/// Runs what may throw a bare reason and puts the place of the node before it.
template <typename Action>
auto at(const YAML::Node &node, Action action)
{
    try {
        return action();
    } catch (const BadInput &error) {
        failAt(node.Mark(), error.what());
    }
}

std::string scalar(const YAML::Node &node, std::string_view what)
{
    if (!node.IsScalar()) {
        failAt(node.Mark(), std::string(what) + " is not a single value");
    }
    return node.Scalar();
}

void checkKeys(const YAML::Node &map, std::initializer_list<std::string_view> known)
{
    std::vector<std::string> seen;
    for (const auto &entry : map) {
        const std::string key = scalar(entry.first, "key");
        if (std::find(known.begin(), known.end(), key) == known.end()) {
            failAt(entry.first.Mark(), "unknown key \"" + parsing::oneLine(key) + '"');
        }
        if (std::find(seen.begin(), seen.end(), key) != seen.end()) {
            failAt(entry.first.Mark(), "second key \"" + key + '"');
        }
        seen.push_back(key);
    }
}

YAML::Node required(const YAML::Node &map, const char *key)
{
    const YAML::Node node = map[key];
    if (!node) {
        failAt(map.Mark(), std::string("\"") + key + "\" is missing");
    }
    return node;
}

ValueKind kindOf(const YAML::Node &node)
{
    const std::string kind = scalar(node, "kind");
    for (const auto &[name, value] :
         {std::pair{"unsigned", ValueKind::unsignedInteger},
          std::pair{"signed", ValueKind::signedInteger}, std::pair{"string", ValueKind::string},
          std::pair{"other", ValueKind::other}}) {
        if (kind == name) {
            return value;
        }
    }
    failAt(node.Mark(),
           "kind \"" + parsing::oneLine(kind) + "\" is none of unsigned, signed, string, other");
}

/// False where the map does not have it.
bool flag(const YAML::Node &map, const char *key)
{
    const YAML::Node node = map[key];
    bool isSet = false;
    if (node && !YAML::convert<bool>::decode(node, isSet)) {
        failAt(node.Mark(), std::string(key) + " is neither true nor false");
    }
    return isSet;
}

/// Where the file gives no width, the value is as wide as it is written.
std::size_t widthOf(const YAML::Node &object, ValueKind kind, const std::string &value)
{
    if (const YAML::Node node = object["width"]) {
        return at(node, [&] {
            return static_cast<std::size_t>(
                parsing::number(scalar(node, "width"), 0, DeviceObject::widest, "width"));
        });
    }
    if (kind == ValueKind::string) {
        return value.size();
    }
    if (kind == ValueKind::other) {
        return parsing::hexBytes(value).size();
    }
    failAt(object.Mark(), "\"width\" of a number is missing");
}

std::vector<Fault> faultsOf(const YAML::Node &parent)
{
    std::vector<Fault> faults;
    const YAML::Node list = parent["faults"];
    if (!list) {
        return faults;
    }
    if (!list.IsSequence()) {
        failAt(list.Mark(), "faults is not a list");
    }
    for (const auto &entry : list) {
        const std::string text = scalar(entry, "fault");
        faults.push_back(at(entry, [&] { return Fault::parse(parsing::words(text)); }));
    }
    return faults;
}

DeviceObject objectOf(const YAML::Node &node, std::uint16_t id)
{
    const ValueKind kind = kindOf(required(node, "kind"));
    const YAML::Node valueNode = node["value"];
    const std::string value = valueNode ? scalar(valueNode, "value") : std::string();
    const std::string name = node["name"] ? scalar(node["name"], "name") : std::string();
    const YAML::Node &place = valueNode ? valueNode : node;
    const std::size_t width = at(place, [&] { return widthOf(node, kind, value); });
    DeviceObject object = at(node["width"] ? node["width"] : place, [&] {
        return DeviceObject(id, kind, width, flag(node, "writable"), name);
    });
    if (valueNode) {
        at(valueNode, [&] { object.setText(value); });
    }
    return object;
}

/// What the whole file is read with.
struct Reading {
    std::string directory;
    std::uint32_t seed;
};

void addMotion(const YAML::Node &node, const Reading &reading, DeviceObject &object)
{
    if (!node) {
        return;
    }
    const std::string text = scalar(node, "motion");
    at(node, [&] {
        const bool isText = object.kind() == ValueKind::string || object.kind() == ValueKind::other;
        const MotionStart start{.value = isText ? 0 : std::stoll(object.text()),
                                .seed = reading.seed * 0x10000U + object.id() + 1U,
                                .directory = reading.directory};
        object.setMotion(motion::parse(text, start));
    });
}

void addObject(const YAML::Node &node, const Reading &reading, SimulatedDevice &device)
{
    if (!node.IsMap()) {
        failAt(node.Mark(), "object is not a map of keys and values");
    }
    checkKeys(node, {"id", "kind", "width", "value", "writable", "name", "faults", "motion"});
    const YAML::Node idNode = required(node, "id");
    const std::uint16_t id = at(idNode, [&] { return parsing::objectId(scalar(idNode, "id")); });
    const auto [object, isNew] = device.objects.emplace(id, objectOf(node, id));
    if (!isNew) {
        failAt(idNode.Mark(), "second object " + parsing::objectIdText(id));
    }
    addMotion(node["motion"], reading, object->second);
    for (Fault &fault : faultsOf(node)) {
        device.faults.setFor(id, std::move(fault));
    }
}

SimulatedDevice deviceOf(const YAML::Node &root, const Reading &reading)
{
    if (!root.IsMap()) {
        failAt(root.Mark().is_null() ? YAML::Mark() : root.Mark(),
               "not a map with the key \"objects\"");
    }
    checkKeys(root, {"objects", "faults", "concurrent"});
    const YAML::Node objects = required(root, "objects");
    if (!objects.IsSequence()) {
        failAt(objects.Mark(), "objects is not a list");
    }
    SimulatedDevice device;
    device.concurrent = flag(root, "concurrent");
    for (const auto &object : objects) {
        addObject(object, reading, device);
    }
    for (Fault &fault : faultsOf(root)) {
        device.faults.setForAll(std::move(fault));
    }
    return device;
}
} // namespace

SimulatedDevice objectFile::read(const std::string &path, std::uint32_t seed)
{
    std::ifstream file(path, std::ios::binary);
    file.peek(); // a directory opens; it is the first read that fails
    if (!file.is_open() || file.bad()) {
        throw BadInput(path + ": cannot be read: " + std::strerror(errno));
    }
    std::ostringstream text;
    text << file.rdbuf();
    return parse(text.str(), path, seed);
}

SimulatedDevice objectFile::parse(const std::string &text, const std::string &name,
                                  std::uint32_t seed)
{
    const Reading reading{.directory = name.substr(0, name.rfind('/') + 1), .seed = seed};
    try {
        return deviceOf(YAML::Load(text), reading);
    } catch (const PlacedError &error) {
        throw BadInput(name + ':' + error.what());
    } catch (const YAML::Exception &error) {
        throw BadInput(name + ':' + std::to_string(error.mark.line + 1) + ':' +
                       std::to_string(error.mark.column + 1) + ": " + error.msg);
    }
}
