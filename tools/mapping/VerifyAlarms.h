#pragma once

#include "DeviceReadings.h"
#include "Findings.h"
#include "ServedObjects.h"

/// Reports the alarms that are polled more often than the device can answer, by the time that it
/// took to answer for their objects.
void verifyAlarms(const ServedMapping &served, const DeviceReadings &readings, Findings &findings);
