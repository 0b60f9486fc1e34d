#pragma once

#include "SimulatedDevice.h"

#include <chrono>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

/// The error commands of refused reads and writes.
namespace refusal
{
inline constexpr std::uint8_t ofRead = 0x13;
inline constexpr std::uint8_t ofWrite = 0x14;
} // namespace refusal

enum class RequestKind { read, write, malformed };

/// One request, the faults that affect it, and its answer.
struct Exchange {
    RequestKind request = RequestKind::malformed;
    std::uint16_t id = 0;
    std::vector<std::uint8_t> frame;
    Faults::Active faults;
    /// The time before the request is processed.
    std::chrono::milliseconds pause{0};
    /// The time from then until the answer is sent.
    std::chrono::milliseconds delay{0};
    std::vector<std::uint8_t> answer;
    /// How often the answer is sent; 0: never.
    std::uint32_t copies = 0;

    [[nodiscard]] bool isHeldUp() const { return (pause + delay).count() > 0; }
};

/// Turns request frames into answers: the behaviour of the device without queues and clocks.
/// Processes valid requests for known objects; refuses unknown ids, writes to read-only objects and
/// writes of the wrong length with an error command. A frame that is not a request gets no answer.
/// Faults are then applied to the answer; the fault `error` also refuses the request. Callers wait
/// for pauses and delays.
class FrameAnswerer
{
public:
    /// The device must outlive the answerer; `seed` makes the garbage of the fault `size`
    /// repeatable.
    FrameAnswerer(SimulatedDevice &device, std::uint32_t seed);

    /// Takes a request, counts it, and finds the faults that affect it.
    [[nodiscard]] Exchange take(std::span<const std::uint8_t> frame);
    /// Processes it with the current values, and fills in the answer.
    void carryOut(Exchange &exchange);

private:
    [[nodiscard]] std::vector<std::uint8_t> correctAnswer(const Exchange &exchange);
    void applyFaults(Exchange &exchange);
    void count(const Exchange &exchange);
    [[nodiscard]] std::vector<std::uint8_t> garbage(std::size_t size);

    SimulatedDevice &_device;
    std::minstd_rand _random;
};
