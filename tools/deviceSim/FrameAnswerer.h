#pragma once

#include "SimulatedDevice.h"

#include <chrono>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

/// Error commands of a read and of a write that the device refuses.
namespace refusal
{
inline constexpr std::uint8_t ofRead = 0x13;
inline constexpr std::uint8_t ofWrite = 0x14;
} // namespace refusal

enum class RequestKind { read, write, malformed };

/// What one request leads to.
struct Exchange {
    RequestKind request = RequestKind::malformed;
    std::uint16_t id = 0;
    std::vector<std::uint8_t> answer;
    /// How often the answer is sent: 0 for none.
    std::uint32_t copies = 0;
    std::chrono::milliseconds delay{0};
};

/// Turns request frames into answers: the device's behaviour, without queues and clocks.
/// A right request to a known object is carried out; an unknown id, a write to an object that is
/// not writable and a write of the wrong length are refused with an error command. A frame that is
/// no request gets no answer. Faults then spoil the answer; the `error` fault also refuses the
/// request.
class FrameAnswerer
{
public:
    /// The device outlives the answerer; `seed` makes the garbage of the `size` fault repeatable.
    FrameAnswerer(SimulatedDevice &device, std::uint32_t seed);

    [[nodiscard]] Exchange answer(std::span<const std::uint8_t> request);

private:
    [[nodiscard]] std::vector<std::uint8_t> carryOut(const Exchange &exchange,
                                                     std::span<const std::uint8_t> request,
                                                     const Faults::Active &faults);
    void spoil(Exchange &exchange, const Faults::Active &faults);
    void count(const Exchange &exchange);
    [[nodiscard]] std::vector<std::uint8_t> garbage(std::size_t size);

    SimulatedDevice &_device;
    std::minstd_rand _random;
};
