#include "SimulatedDevice.h"

std::string RequestCounts::text() const
{
    return "reads=" + std::to_string(reads) + " writes=" + std::to_string(writes) +
           " answers=" + std::to_string(answers);
}

DeviceObject *SimulatedDevice::find(std::uint16_t id)
{
    const auto found = objects.find(id);
    if (found == objects.end()) {
        return nullptr;
    }
    found->second.moveTo(elapsed());
    return &found->second;
}

std::function<std::chrono::milliseconds()> SimulatedDevice::sinceNow()
{
    const auto start = std::chrono::steady_clock::now();
    return [start] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start);
    };
}
