#include "VerifyForms.h"

#include "DeviceObjects.h"
#include "Numbers.h"
#include "ValueKindNames.h"
#include "VerifyFrames.h"

#include <optional>

namespace
{
using Readings = std::map<std::uint16_t, DeviceReading>;

/// Kind and width as an answer shows them.
struct Form {
    std::string kind;
    std::size_t width = 0;
};

std::optional<Form> formOf(const Readings &readings, std::uint16_t objId, std::size_t stated)
{
    const std::uint16_t linkId = deviceObject::onLink(objId);
    const auto found = readings.find(linkId);
    if (found == readings.end() || !found->second.isAnswered() ||
        verifyFrames::faultOfRead(found->second.frame, linkId, stated)) {
        return std::nullopt;
    }
    const auto answer = deviceFrame::decodeAnswer(found->second.frame);
    return Form{.kind = verifyForms::kindOf(answer), .width = answer.value.size()};
}

/// Adds what differs from the source; true if the source leaves something open.
template <typename Entry>
bool compare(const Entry &entry, const Form &form, Findings &findings)
{
    const DeviceNotes &stated = entry.notes.device;
    const std::string object = numbers::objectIdText(entry.record.objId);
    if (!stated.kind.empty() && stated.kind != form.kind) {
        findings.add("TV301", placeOf(entry, "deviceKind"),
                     object + ": kind " + form.kind + ", in the source " + stated.kind);
        return false;
    }
    if (stated.width != 0 && stated.width != form.width) {
        findings.add("TV302", placeOf(entry, "deviceWidth"),
                     object + ": width " + std::to_string(form.width) + ", in the source " +
                         std::to_string(stated.width));
        return false;
    }
    return stated.kind.empty() || stated.width == 0;
}

/// The entries of which the source leaves the form open, with the form of the device.
template <typename Entry>
std::vector<Entry> openEntries(const std::vector<Entry> &entries, const Readings &readings,
                               Findings &findings)
{
    std::vector<Entry> open;
    for (const Entry &entry : entries) {
        const auto form = formOf(readings, entry.record.objId, entry.notes.device.width);
        if (form && compare(entry, *form, findings)) {
            open.push_back(entry);
            open.back().notes.device = {
                .kind = form->kind, .width = form->width, .value = {}, .motion = {}};
        }
    }
    return open;
}
} // namespace

std::string verifyForms::kindOf(const deviceFrame::Answer &answer)
{
    DeviceValue value;
    value.attr = answer.attribute;
    return std::string(valueKindNames.at(static_cast<std::size_t>(value.kind())));
}

void verifyForms::judge(const CheckedMapping &mapping, const Readings &readings, Findings &findings)
{
    CheckedMapping open{.database = mapping.database,
                        .source = mapping.source,
                        .allCells = {},
                        .baseText = {},
                        .base = {},
                        .badBase = {},
                        .tables = {}};
    open.source.scalars = openEntries(mapping.source.scalars, readings, findings);
    open.source.cells = openEntries(mapping.source.cells, readings, findings);
    Findings unsuited;
    checkDevices(open, unsuited);
    for (const Finding &finding : unsuited.all()) {
        if (finding.rule->severity == Severity::error) {
            findings.add("TV303", finding.place,
                         std::string(finding.rule->title) + ": " + finding.what,
                         std::string(finding.rule->effect));
        }
    }
}
