#pragma once

#include "InputError.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include <yaml-cpp/yaml.h>

/// Reading the nodes of a YAML file. Whatever is not as wanted fails with the place of its node and
/// its text; `what` names it in the reason. `read` makes an InputError of that.
namespace yamlNodes
{
/// Hands the root of a text to the action. What is no YAML, or fails in the action, throws
/// InputError with "name:line:column: reason".
void read(const std::string &text, const std::string &name,
          const std::function<void(const YAML::Node &)> &action);

[[noreturn]] void fail(const YAML::Node &node, const std::string &reason);

/// Runs what throws InputError without a place, and fails at the node instead.
template <typename Action>
auto at(const YAML::Node &node, Action action)
{
    try {
        return action();
    } catch (const InputError &error) {
        fail(node, error.what());
    }
}

/// A single value, whatever its bytes.
[[nodiscard]] std::string bytes(const YAML::Node &node, std::string_view what);
/// A single value that is UTF-8 text.
[[nodiscard]] std::string text(const YAML::Node &node, std::string_view what);
[[nodiscard]] std::uint64_t number(const YAML::Node &node, std::string_view what,
                                   std::uint64_t smallest, std::uint64_t largest);
/// The node, which is a list.
[[nodiscard]] const YAML::Node &list(const YAML::Node &node, std::string_view what);
} // namespace yamlNodes

/// A map, of which all keys are known and none stands twice.
class YamlMap
{
public:
    YamlMap(const YAML::Node &node, std::string_view what,
            std::initializer_list<std::string_view> known);

    /// Not defined when the key is not there.
    [[nodiscard]] YAML::Node find(std::string_view key) const;
    [[nodiscard]] YAML::Node required(std::string_view key) const;
    /// Empty when the key is not there.
    [[nodiscard]] std::string text(std::string_view key) const;
    [[nodiscard]] std::uint64_t number(std::string_view key, std::uint64_t largest,
                                       std::uint64_t otherwise) const;
    /// False when the key is not there.
    [[nodiscard]] bool flag(std::string_view key) const;

private:
    // Looking a key up in it makes none: it is const.
    const YAML::Node _node;
    std::string _what;
};
