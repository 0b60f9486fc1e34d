#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// A number that moves by itself: its value at a time since the start of the simulator. The times
/// asked for never go back. The same start and seed always give the same values at the same times,
/// but for the clock. Copies move on their own.
using Motion = std::function<std::int64_t(std::chrono::milliseconds)>;

/// Where a motion begins.
struct MotionStart {
    std::int64_t value = 0;
    std::uint32_t seed = 0;
    /// Where the recordings of replays are.
    std::string directory;
};

/// What all motions of a device begin with.
struct MotionOrigin {
    std::uint32_t seed = 0;
    /// Where the recordings of replays are.
    std::string directory;
};

namespace motion
{
/// Reads "counter STEP [EVERY]", "ramp FROM TO SECONDS", "sine MIDDLE AMPLITUDE SECONDS",
/// "walk STEP LOW HIGH [EVERY]", "clock" or "replay FILE"; times are seconds. InputError otherwise,
/// and for a recording that cannot be read.
[[nodiscard]] Motion parse(std::string_view text, const MotionStart &start);

/// Recordings are looked for beside the file.
[[nodiscard]] MotionOrigin beside(const std::string &file, std::uint32_t seed);

[[nodiscard]] std::string_view help();
} // namespace motion
