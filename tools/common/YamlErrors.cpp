#include "YamlErrors.h"

#include "InputError.h"
#include "TextForms.h"

#include <algorithm>
#include <tuple>

namespace
{
constexpr std::size_t mostShown = 20;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isFirstByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}
} // namespace

YamlErrors::YamlErrors(std::string_view text)
{
    text.remove_prefix(text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        _lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
}

void YamlErrors::add(const PlacedError &error)
{
    _all.push_back({.place = placeOf(error.mark()), .reason = error.what()});
}

YamlPlace YamlErrors::placeOf(const YAML::Mark &mark) const
{
    if (mark.is_null()) {
        return {};
    }
    const auto line = static_cast<std::size_t>(mark.line);
    const auto column = static_cast<std::size_t>(mark.column);
    const std::string_view before =
        line < _lines.size() ? _lines[line].substr(0, column) : std::string_view();
    const auto further = static_cast<std::size_t>(
        std::count_if(before.begin(), before.end(), [](char each) { return !isFirstByte(each); }));
    return {.line = line + 1, .column = column - further + 1};
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
    const auto whole = [](const Error &each) {
        return std::tie(each.place.line, each.place.column, each.reason);
    };
    const auto position = [](const Error &each) {
        return std::tie(each.place.line, each.place.column);
    };
    std::stable_sort(_all.begin(), _all.end(),
                     [&](const Error &a, const Error &b) { return position(a) < position(b); });
    // An aliased node is read once for each alias.
    const auto last = std::unique(_all.begin(), _all.end(), [&](const Error &a, const Error &b) {
        return whole(a) == whole(b);
    });
    _all.erase(last, _all.end());
    const std::string file = textForms::oneLine(name) + ':';
    std::string lines;
    for (std::size_t index = 0; index < std::min(_all.size(), mostShown); ++index) {
        const Error &error = _all[index];
        lines += (index == 0 ? "" : "\n") + file + std::to_string(error.place.line) + ':' +
                 std::to_string(error.place.column) + ": " + error.reason;
    }
    if (_all.size() > mostShown) {
        lines += '\n' + file + " and " + std::to_string(_all.size() - mostShown) + " more";
    }
    throw InputError(lines);
}
