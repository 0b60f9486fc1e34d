#pragma once

#include "DeviceFrame.h"
#include "MappingRecords.h"

#include <cstdint>
#include <optional>
#include <string>

/// What a manager gets of an answer of the device.
struct ServedValue {
    /// Of an INTEGER.
    std::optional<std::int32_t> number;
    /// The number in decimal, or the text.
    std::string text;
};

/// Nothing if the agent cannot serve it.
[[nodiscard]] std::optional<ServedValue> servedValue(const deviceFrame::Answer &answer,
                                                     const SnmpObjInfo &info);
