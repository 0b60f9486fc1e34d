#pragma once

#include "VerifyExchange.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What a device application has answered, by the ids on the link. Plain data.

struct DeviceReading {
    VerifyExchange::Outcome outcome = VerifyExchange::Outcome::unknown;
    std::vector<std::uint8_t> frame;
    /// The shortest time, and the longest one.
    std::chrono::microseconds time{};
    std::chrono::microseconds worst{};
    /// Further answers to one request.
    unsigned again = 0;
    /// A later request was answered first.
    bool isOutOfOrder = false;

    [[nodiscard]] bool isAnswered() const noexcept
    {
        return outcome == VerifyExchange::Outcome::answered;
    }
};

/// A value that was written back, with the answers to the reads before and after.
struct DeviceWriting {
    std::vector<std::uint8_t> request;
    DeviceReading answer;
    std::vector<std::uint8_t> before;
    std::vector<std::uint8_t> after;
};

/// A request that the agent does not send.
struct DeviceProbe {
    std::uint16_t linkId = 0;
    DeviceReading answer;
};

struct DeviceReadings {
    bool hasQueues = false;
    bool areQueuesRemoved = false;
    /// Requests of an earlier program that the device does not take.
    std::size_t neverTaken = 0;
    /// The limit came before every object was read.
    bool isCutShort = false;
    std::map<std::uint16_t, DeviceReading> objects;
    std::map<std::uint16_t, DeviceWriting> writings;
    VerifyExchange::Row row;
    std::optional<DeviceProbe> unknownId;
    std::optional<DeviceProbe> readOnly;
    /// Program and process of the device application, as far as known.
    std::string device;
};
