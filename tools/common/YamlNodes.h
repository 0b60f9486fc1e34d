#pragma once

#include "InputError.h"
#include "YamlErrors.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include <yaml-cpp/yaml.h>

/// Reads the nodes of a YAML file. Anything unexpected fails with the place of its node and the
/// offending text, as a PlacedError, which callers may collect in order to carry on; `what` names
/// the node in the reason.
namespace yamlNodes
{
/// Passes the root of a text, and where to collect its errors, to the action. If the text is not
/// YAML or has a second document, or if the action fails or collects errors, throws InputError as
/// `YamlErrors::throwAny` does. A text of more than 8 MiB is not parsed at all.
void read(const std::string &text, const std::string &name,
          const std::function<void(const YAML::Node &, YamlErrors &)> &action);

[[noreturn]] void fail(const YAML::Node &node, const std::string &reason);

/// Runs an action and adds the place of the node to its InputError.
template <typename Action>
auto at(const YAML::Node &node, Action action)
{
    try {
        return action();
    } catch (const InputError &error) {
        fail(node, error.what());
    }
}

/// A single value; any bytes.
[[nodiscard]] std::string bytes(const YAML::Node &node, std::string_view what);
/// A single value that is UTF-8 text.
[[nodiscard]] std::string text(const YAML::Node &node, std::string_view what);
[[nodiscard]] std::uint64_t number(const YAML::Node &node, std::string_view what,
                                   std::uint64_t smallest, std::uint64_t largest);
/// The node, if it is a list. By value, so that a loop over it may take a temporary.
[[nodiscard]] YAML::Node list(const YAML::Node &node, std::string_view what);
} // namespace yamlNodes

/// A map. Unknown and duplicate keys are collected as errors.
class YamlMap
{
public:
    YamlMap(const YAML::Node &node, YamlErrors &errors, std::string_view what,
            std::initializer_list<std::string_view> known);

    /// Undefined if the key is missing.
    [[nodiscard]] YAML::Node find(std::string_view key) const;
    [[nodiscard]] YAML::Node required(std::string_view key) const;
    /// Empty if the key is missing.
    [[nodiscard]] std::string text(std::string_view key) const;
    [[nodiscard]] std::uint64_t number(std::string_view key, std::uint64_t largest,
                                       std::uint64_t otherwise) const;
    /// False if the key is missing.
    [[nodiscard]] bool flag(std::string_view key) const;

private:
    void checkKeys(YamlErrors &errors, std::span<const std::string_view> known) const;

    // Const, so that a lookup does not insert the key.
    const YAML::Node _node;
    std::string _what;
};
