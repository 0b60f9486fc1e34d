#include "SimulatedDevice.h"

std::string RequestCounts::text() const
{
    return "reads=" + std::to_string(reads) + " writes=" + std::to_string(writes) +
           " answers=" + std::to_string(answers);
}

DeviceObject *SimulatedDevice::find(std::uint16_t id)
{
    const auto found = objects.find(id);
    return found == objects.end() ? nullptr : &found->second;
}
