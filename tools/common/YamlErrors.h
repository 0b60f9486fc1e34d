#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <yaml-cpp/yaml.h>

/// A line and a column, counted from 1.
struct YamlPlace {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// An error and its place in a YAML file.
class PlacedError : public std::runtime_error
{
public:
    PlacedError(const YAML::Mark &mark, const std::string &reason)
        : std::runtime_error(reason), _mark(mark)
    {
    }

    [[nodiscard]] const YAML::Mark &mark() const noexcept { return _mark; }

private:
    YAML::Mark _mark;
};

/// Collects the errors of a YAML file, so that a reader can carry on after each of them and its
/// user sees them all at once.
class YamlErrors
{
public:
    /// The text of the file, which must outlive the errors.
    explicit YamlErrors(std::string_view text);

    void add(const PlacedError &error);

    /// The place of a mark, whose column counts bytes, in characters. The start for a null mark.
    [[nodiscard]] YamlPlace placeOf(const YAML::Mark &mark) const;

    [[nodiscard]] bool isEmpty() const noexcept { return _all.empty(); }

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
    struct Error {
        YamlPlace place;
        std::string reason;
    };

    std::vector<std::string_view> _lines;
    std::vector<Error> _all;
};
