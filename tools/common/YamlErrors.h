#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <yaml-cpp/yaml.h>

/// An error and its place in a YAML file.
class PlacedError : public std::runtime_error
{
public:
    PlacedError(const YAML::Mark &mark, const std::string &reason);

    /// Counted from 1.
    [[nodiscard]] int line() const noexcept { return _line; }

    [[nodiscard]] int column() const noexcept { return _column; }

private:
    int _line;
    int _column;
};

/// Collects the errors of a YAML file, so that a reader can carry on after each of them and its
/// user sees them all at once.
class YamlErrors
{
public:
    void add(const PlacedError &error) { _all.push_back(error); }

    /// Runs an action; keeps the error that it fails with.
    void collect(const std::function<void()> &action);

    /// The result of an action, or an empty value if it fails.
    template <typename Action>
    auto valueOf(Action action)
    {
        std::invoke_result_t<Action> value{};
        collect([&] { value = action(); });
        return value;
    }

    /// Throws InputError if there are errors: "name:line:column: reason" for each of the first 20,
    /// in the order of their places, and the number of the others.
    void throwAny(const std::string &name);

private:
    std::vector<PlacedError> _all;
};
