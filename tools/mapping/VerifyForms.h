#pragma once

#include "CheckedMapping.h"
#include "DeviceReadings.h"
#include "Findings.h"

/// How the device stores the objects, against what the source says of them; if it says nothing,
/// against what suits type and conversion by the rules of `check`. Objects whose answer has a fault
/// are left out.
namespace verifyForms
{
/// "unsigned", "signed", "string" or "other"
[[nodiscard]] std::string kindOf(const deviceFrame::Answer &answer);

void judge(const CheckedMapping &mapping, const std::map<std::uint16_t, DeviceReading> &readings,
           Findings &findings);
} // namespace verifyForms
