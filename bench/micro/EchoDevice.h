#pragma once

#include "ServingProcess.h"
#include "support/LinkQueues.h"

#include <cstdint>
#include <map>

/// A device application that costs as little as possible: a process of its own that answers each
/// read with a prepared frame and accepts each write without storing anything. The process lives as
/// long as the object. Ids are those on the link; other objects are answered with an error.
class EchoDevice
{
public:
    explicit EchoDevice(const std::map<std::uint16_t, Frame> &readAnswers);

private:
    ServingProcess _process;
};
