#pragma once

#include "DeviceObject.h"
#include "Faults.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

/// How many requests the device received, and how many answers it sent.
struct RequestCounts {
    std::uint64_t reads = 0;
    std::uint64_t writes = 0;
    std::uint64_t answers = 0;

    /// "reads=N writes=N answers=N"
    [[nodiscard]] std::string text() const;
};

/// The state of the simulated device: its objects, active faults and counters. Plain data without a
/// lock; threads that share it must lock.
struct SimulatedDevice {
    std::map<std::uint16_t, DeviceObject> objects;
    Faults faults;
    /// Whether requests may overtake those that are held up; fixed at startup.
    bool concurrent = false;

    RequestCounts total;
    /// Includes ids without an object.
    std::map<std::uint16_t, RequestCounts> perId;
    std::uint64_t unknown = 0;
    std::uint64_t malformed = 0;
    /// Answers that did not fit into the queue.
    std::uint64_t lost = 0;

    /// The time since the start, which drives all motions.
    std::function<std::chrono::milliseconds()> elapsed = sinceNow();

    /// The object with its current value, or null.
    [[nodiscard]] DeviceObject *find(std::uint16_t id);

    /// A clock that starts now.
    [[nodiscard]] static std::function<std::chrono::milliseconds()> sinceNow();
};
