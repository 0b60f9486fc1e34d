#include "MappedDevice.h"

#include "InputError.h"
#include "MappingDatabase.h"
#include "Numbers.h"
#include "SimulatorObjects.h"
#include "TextForms.h"

#include <utility>

namespace
{
DeviceObject objectOf(std::uint16_t id, const SimulatedObject &described,
                      const MotionOrigin &origin)
{
    const DeviceNotes &device = described.device;
    // Every kind in a mapping has a name.
    const ValueKind kind = valueKindNamed(device.kind).value_or(ValueKind::other);
    DeviceObject object(id, kind, device.width, described.isWritable, described.name);
    object.setText(device.value);
    object.setPlaces(described.places);
    if (!device.motion.empty()) {
        object.startMotion(device.motion, origin);
    }
    return object;
}

std::string shown(std::uint16_t id, const SimulatedObject &described)
{
    return "object " + numbers::objectIdText(id) +
           (described.name.empty() ? "" : ' ' + textForms::quoted(described.name));
}
} // namespace

SimulatedDevice mappedDevice::of(const MappingDatabase &database, const std::string &path,
                                 std::uint32_t seed)
{
    const MappingSource mapping = database.source();
    if (mapping.scalars.empty() && mapping.cells.empty()) {
        throw InputError(textForms::oneLine(path) + ": the mapping has no objects");
    }
    const MotionOrigin origin = motion::beside(path, seed);
    SimulatedDevice device;
    for (const auto &[id, described] : simulatorObjects::of(database, {})) {
        try {
            device.objects.emplace(id, objectOf(id, described, origin));
        } catch (const InputError &error) {
            throw InputError(textForms::oneLine(path) + ": " + shown(id, described) + ": " +
                             error.what());
        }
    }
    return device;
}
