#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// A number that changes by itself: returns its value at a time since the start of the simulator.
/// Times must not decrease. Except for the clock, the same start and seed always give the same
/// values at the same times. Copies are independent.
using Motion = std::function<std::int64_t(std::chrono::milliseconds)>;

/// The start of a motion.
struct MotionStart {
    std::int64_t value = 0;
    std::uint32_t seed = 0;
    /// The directory of recordings, with a trailing slash.
    std::string directory;
};

/// What all motions of a device share.
struct MotionOrigin {
    std::uint32_t seed = 0;
    /// The directory of recordings, with a trailing slash.
    std::string directory;
};

namespace motion
{
/// Reads "counter STEP [EVERY]", "ramp FROM TO SECONDS", "sine MIDDLE AMPLITUDE SECONDS",
/// "walk STEP LOW HIGH [EVERY]", "clock" or "replay FILE"; times are in seconds. Throws InputError
/// for anything else and for an invalid recording.
[[nodiscard]] Motion parse(std::string_view text, const MotionStart &start);

/// Recordings are in the directory of the file.
[[nodiscard]] MotionOrigin beside(const std::string &file, std::uint32_t seed);

[[nodiscard]] std::string_view help();
} // namespace motion
