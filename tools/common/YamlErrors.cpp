#include "YamlErrors.h"

#include "InputError.h"
#include "TextForms.h"

#include <algorithm>
#include <tuple>

namespace
{
constexpr std::size_t mostShown = 20;

auto placeOf(const PlacedError &error)
{
    return std::tuple(error.line(), error.column());
}

/// An aliased node is read once for each alias.
bool areSame(const PlacedError &a, const PlacedError &b)
{
    return placeOf(a) == placeOf(b) && std::string_view(a.what()) == b.what();
}
} // namespace

PlacedError::PlacedError(const YAML::Mark &mark, const std::string &reason)
    : std::runtime_error(reason), _line(mark.is_null() ? 1 : mark.line + 1),
      _column(mark.is_null() ? 1 : mark.column + 1)
{
}

void YamlErrors::collect(const std::function<void()> &action)
{
    try {
        action();
    } catch (const PlacedError &error) {
        add(error);
    }
}

void YamlErrors::throwAny(const std::string &name)
{
    if (_all.empty()) {
        return;
    }
    std::stable_sort(_all.begin(), _all.end(), [](const PlacedError &a, const PlacedError &b) {
        return placeOf(a) < placeOf(b);
    });
    _all.erase(std::unique(_all.begin(), _all.end(), areSame), _all.end());
    const std::string file = textForms::oneLine(name) + ':';
    std::string lines;
    for (std::size_t index = 0; index < std::min(_all.size(), mostShown); ++index) {
        const PlacedError &error = _all[index];
        lines += (index == 0 ? "" : "\n") + file + std::to_string(error.line()) + ':' +
                 std::to_string(error.column()) + ": " + error.what();
    }
    if (_all.size() > mostShown) {
        lines += '\n' + file + " and " + std::to_string(_all.size() - mostShown) + " more";
    }
    throw InputError(lines);
}
