#include "VerifyTable.h"

#include "DeviceObjects.h"
#include "Listing.h"
#include "ServedValue.h"
#include "TextForms.h"

#include <algorithm>

namespace
{
std::string onOneLine(const std::string &text)
{
    const bool hasControl = std::any_of(
        text.begin(), text.end(), [](char each) { return static_cast<unsigned char>(each) < ' '; });
    return hasControl ? textForms::oneLine(text) : text;
}

/// With its label: "2 (running)".
std::string shown(const ServedValue &value, const ObjectNotes &notes)
{
    const auto label = std::find_if(notes.labels.begin(), notes.labels.end(),
                                    [&](const Label &each) { return each.first == value.number; });
    return label == notes.labels.end() ? onOneLine(value.text)
                                       : value.text + " (" + label->second + ')';
}

std::string valueOf(const ServedInstance &instance, const SnmpObjInfo &info,
                    const DeviceReadings &readings)
{
    if (!instance.objId) {
        return std::to_string(instance.row);
    }
    const std::uint16_t linkId = deviceObject::onLink(*instance.objId);
    const auto found = readings.objects.find(linkId);
    if (found == readings.objects.end() || !found->second.isAnswered()) {
        return "-";
    }
    const auto answer = deviceFrame::decodeAnswer(found->second.frame);
    const bool isRead =
        answer.command == static_cast<std::uint8_t>(deviceFrame::Command::readAnswer);
    const auto served = isRead ? servedValue(answer, info) : std::nullopt;
    return served ? shown(*served, instance.notes) : "-";
}
} // namespace

std::string verifyTable::write(const ServedMapping &served, const DeviceReadings &readings,
                               bool inColour)
{
    std::vector<std::string> values;
    for (const ServedObject &object : served.objects) {
        std::string all;
        for (const ServedInstance &instance : object.instances) {
            all += (&instance == &object.instances.front() ? "" : ", ") +
                   valueOf(instance, object.info, readings);
        }
        values.push_back(std::move(all));
    }
    return listing::table(served, inColour, values);
}
