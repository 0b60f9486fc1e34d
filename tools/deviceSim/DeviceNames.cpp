#include "DeviceNames.h"

#include "InputError.h"
#include "Numbers.h"
#include "Parsing.h"
#include "Suggestions.h"
#include "TextForms.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <vector>

namespace
{
using Ids = std::vector<std::uint16_t>;

Ids idsNamed(const SimulatedDevice &device, std::string_view name)
{
    Ids ids;
    for (const auto &[id, object] : device.objects) {
        if (object.name() == name) {
            ids.push_back(id);
        }
    }
    return ids;
}

std::string nearestName(const SimulatedDevice &device, std::string_view word)
{
    std::vector<std::string_view> names;
    names.reserve(device.objects.size());
    for (const auto &[id, object] : device.objects) {
        names.emplace_back(object.name());
    }
    return suggestions::nearest(word, names);
}

bool looksLikeAnId(std::string_view word)
{
    return !word.empty() && std::isdigit(static_cast<unsigned char>(word[0])) != 0;
}

} // namespace

std::uint16_t deviceNames::idOf(const SimulatedDevice &device, std::string_view word)
{
    if (const auto id = numbers::unsignedIn(word, std::numeric_limits<std::uint16_t>::max())) {
        return static_cast<std::uint16_t>(*id);
    }
    const Ids ids = idsNamed(device, word);
    if (ids.size() > 1) {
        throw InputError("several objects are named " + textForms::quoted(word) + ": " +
                         numbers::objectIdText(ids[0]) + ", " + numbers::objectIdText(ids[1]) +
                         (ids.size() > 2 ? ", ..." : ""));
    }
    if (!ids.empty()) {
        return ids[0];
    }
    if (looksLikeAnId(word)) {
        return parsing::objectId(word);
    }
    throw InputError("no object " + textForms::quoted(word) + nearestName(device, word));
}

std::string deviceNames::listOf(SimulatedDevice &device)
{
    std::size_t width = 0;
    for (const auto &[id, object] : device.objects) {
        width = std::max(width, textForms::oneLine(object.name()).size());
    }
    std::string lines;
    for (const auto &[id, object] : device.objects) {
        const DeviceObject &current = *device.find(id);
        std::string name = textForms::oneLine(current.name());
        name.resize(width, ' ');
        const std::string decimal = current.decimalText();
        lines += numbers::objectIdText(id) + "  " + name + "  " +
                 textForms::oneLine(current.text(), textForms::HexDigits::lowerCase) +
                 (decimal.empty() ? "" : " (" + decimal + ')') + '\n';
    }
    return lines;
}
