#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <yaml-cpp/yaml.h>

/// A reason that has "line:column: " before it.
class PlacedError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reading the nodes of a source. Whatever is not as wanted throws PlacedError with the place of
/// the node and its text.
namespace sourceNodes
{
[[noreturn]] void fail(const YAML::Mark &mark, const std::string &reason);
[[noreturn]] void fail(const YAML::Node &node, const std::string &reason);

/// The UTF-8 text of a single value; `what` names it in the reason.
[[nodiscard]] std::string text(const YAML::Node &node, std::string_view what);
[[nodiscard]] std::uint64_t number(const YAML::Node &node, std::string_view what,
                                   std::uint64_t smallest, std::uint64_t largest);
/// A device object id: hexadecimal, and said to be so by its 0x.
[[nodiscard]] std::uint16_t objectId(const YAML::Node &node);
/// The node, which is a list.
[[nodiscard]] const YAML::Node &list(const YAML::Node &node, std::string_view what);
} // namespace sourceNodes

/// A map of a source, of which all keys are known and none stands twice.
class SourceMap
{
public:
    SourceMap(const YAML::Node &node, std::string_view what,
              std::initializer_list<std::string_view> known);

    [[nodiscard]] const YAML::Node &node() const noexcept { return _node; }

    /// Not defined when the key is not there.
    [[nodiscard]] YAML::Node find(std::string_view key) const;
    [[nodiscard]] YAML::Node required(std::string_view key) const;
    /// Empty when the key is not there.
    [[nodiscard]] std::string text(std::string_view key) const;
    [[nodiscard]] std::uint64_t number(std::string_view key, std::uint64_t largest,
                                       std::uint64_t otherwise) const;

private:
    // Looking a key up in it makes none: it is const.
    const YAML::Node _node;
    std::string _what;
};
