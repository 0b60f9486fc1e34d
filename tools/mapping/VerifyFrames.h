#pragma once

#include "DeviceReadings.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// A fault of an answer: the code of its rule, and what is wrong.
struct FrameFault {
    std::string_view code;
    std::string what;
};

/// The strict reading of answers: everything that deviates from the frames of the link, even if the
/// agent puts up with it.
namespace verifyFrames
{
/// The first fault of the answer to a read. `width` is what the source states, 0 if nothing.
[[nodiscard]] std::optional<FrameFault> faultOfRead(std::span<const std::uint8_t> frame,
                                                    std::uint16_t linkId, std::size_t width);
/// The same of the answer to a write.
[[nodiscard]] std::optional<FrameFault> faultOfWrite(std::span<const std::uint8_t> frame,
                                                     std::span<const std::uint8_t> request);
/// "13 03 00 00 10 00", cut if it is long.
[[nodiscard]] std::string hexadecimal(std::span<const std::uint8_t> frame);
} // namespace verifyFrames
