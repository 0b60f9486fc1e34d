#pragma once

#include "ServedObjects.h"
#include "SnmpManager.h"

/// Whether a set of the value that was read leaves the object of the device as it is, although the
/// agent converts what it reads and what it writes.
///
/// Only if that is certain: not if the source does not say how the device stores the object, and
/// not for addresses and times, texts that may be cut off, rounded decimals, scaled numbers and
/// negative numbers in cells.
[[nodiscard]] bool canBeWrittenBack(const ServedObject &object, const ServedInstance &instance,
                                    const SnmpValue &read);
