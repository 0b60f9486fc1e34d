#include "SourceNodes.h"

#include "MappingWords.h"

#include <algorithm>
#include <limits>
#include <vector>

void sourceNodes::fail(const YAML::Mark &mark, const std::string &reason)
{
    const YAML::Mark place = mark.is_null() ? YAML::Mark() : mark;
    throw PlacedError(std::to_string(place.line + 1) + ':' + std::to_string(place.column + 1) +
                      ": " + reason);
}

void sourceNodes::fail(const YAML::Node &node, const std::string &reason)
{
    fail(node.Mark(), reason);
}

std::string sourceNodes::text(const YAML::Node &node, std::string_view what)
{
    if (!node.IsScalar()) {
        fail(node, std::string(what) + " is not a single value");
    }
    const std::string &text = node.Scalar();
    if (!mappingWords::isUtf8(text) || text.find('\0') != std::string::npos) {
        fail(node, std::string(what) + ' ' + mappingWords::quoted(text) + " is not UTF-8 text");
    }
    return text;
}

std::uint64_t sourceNodes::number(const YAML::Node &node, std::string_view what,
                                  std::uint64_t smallest, std::uint64_t largest)
{
    const std::string written = text(node, what);
    const auto number = mappingWords::number(written, largest);
    if (!number || *number < smallest) {
        fail(node, std::string(what) + ' ' + mappingWords::quoted(written) +
                       " is not a number from " + std::to_string(smallest) + " to " +
                       std::to_string(largest));
    }
    return *number;
}

std::uint16_t sourceNodes::objectId(const YAML::Node &node)
{
    const std::string written = text(node, "object id");
    const auto number = mappingWords::number(written, std::numeric_limits<std::uint16_t>::max());
    if (!number || written.size() < 3 || (written[1] != 'x' && written[1] != 'X')) {
        fail(node, "object id " + mappingWords::quoted(written) +
                       " is not a hexadecimal number from 0x0000 to 0xFFFF");
    }
    return static_cast<std::uint16_t>(*number);
}

const YAML::Node &sourceNodes::list(const YAML::Node &node, std::string_view what)
{
    if (!node.IsSequence()) {
        fail(node, std::string(what) + " is not a list");
    }
    return node;
}

SourceMap::SourceMap(const YAML::Node &node, std::string_view what,
                     std::initializer_list<std::string_view> known)
    : _node(node), _what(what)
{
    if (!node.IsMap()) {
        sourceNodes::fail(node, _what + " is not a map of keys and values");
    }
    std::vector<std::string> seen;
    for (const auto &entry : node) {
        const std::string key = sourceNodes::text(entry.first, "key");
        if (std::find(known.begin(), known.end(), key) == known.end()) {
            sourceNodes::fail(entry.first,
                              "unknown key " + mappingWords::quoted(key) + " of " + _what);
        }
        if (std::find(seen.begin(), seen.end(), key) != seen.end()) {
            sourceNodes::fail(entry.first,
                              "second key " + mappingWords::quoted(key) + " of " + _what);
        }
        seen.push_back(key);
    }
}

YAML::Node SourceMap::find(std::string_view key) const
{
    return _node[std::string(key)];
}

YAML::Node SourceMap::required(std::string_view key) const
{
    YAML::Node node = find(key);
    if (!node) {
        sourceNodes::fail(_node, _what + " has no " + mappingWords::quoted(key));
    }
    return node;
}

std::string SourceMap::text(std::string_view key) const
{
    const YAML::Node node = find(key);
    return node ? sourceNodes::text(node, key) : std::string();
}

std::uint64_t SourceMap::number(std::string_view key, std::uint64_t largest,
                                std::uint64_t otherwise) const
{
    const YAML::Node node = find(key);
    return node ? sourceNodes::number(node, key, 0, largest) : otherwise;
}
