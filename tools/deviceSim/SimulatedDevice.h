#pragma once

#include "DeviceObject.h"
#include "Faults.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

/// What was asked of the device and how often it answered.
struct RequestCounts {
    std::uint64_t reads = 0;
    std::uint64_t writes = 0;
    std::uint64_t answers = 0;

    /// "reads=N writes=N answers=N"
    [[nodiscard]] std::string text() const;
};

/// The state of the simulated device: its objects, the faults in force, and what happened so far.
/// Plain data without a lock; whoever shares it between threads guards it.
struct SimulatedDevice {
    std::map<std::uint16_t, DeviceObject> objects;
    Faults faults;
    /// Whether answers that are held up let others pass; fixed from the start.
    bool concurrent = false;

    RequestCounts total;
    /// Also of ids that no object has.
    std::map<std::uint16_t, RequestCounts> perId;
    std::uint64_t unknown = 0;
    std::uint64_t malformed = 0;
    /// Answers that the queue did not take.
    std::uint64_t lost = 0;

    /// The time since the start, by which values move.
    std::function<std::chrono::milliseconds()> elapsed = sinceNow();

    /// The object with the value that it has by now, or null.
    [[nodiscard]] DeviceObject *find(std::uint16_t id);

    /// A clock that starts now.
    [[nodiscard]] static std::function<std::chrono::milliseconds()> sinceNow();
};
