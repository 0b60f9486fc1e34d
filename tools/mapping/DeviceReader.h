#pragma once

#include "DeviceReadings.h"

#include <chrono>
#include <cstdint>
#include <set>
#include <vector>

/// What to ask a device application for.
struct DeviceQuestions {
    /// By ids on the link.
    std::vector<std::uint16_t> objects;
    /// Those that may be written back.
    std::set<std::uint16_t> writable;
    bool isWriting = false;
    bool isProbing = false;
    /// After this time no further object is asked for.
    std::chrono::seconds limit{};
};

/// Plays the agent towards the device application: reads every object, and those again that are
/// slow or that a silence hid. Leaves no request and no answer behind. Throws UnusableLink, and
/// Interrupted after a signal, which must be deferred.
[[nodiscard]] DeviceReadings readDevice(const DeviceQuestions &questions);
