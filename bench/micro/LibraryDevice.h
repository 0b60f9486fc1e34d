#pragma once

#include "ServingProcess.h"

#include <cstdint>

/// A device application as a maker writes it: a process of its own that serves one number through
/// the device library. The process lives as long as the object.
class LibraryDevice
{
public:
    LibraryDevice(std::uint16_t objId, std::uint32_t value);

private:
    ServingProcess _process;
};
