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

/// One request, the faults that it meets, and what it leads to.
struct Exchange {
    RequestKind request = RequestKind::malformed;
    std::uint16_t id = 0;
    std::vector<std::uint8_t> frame;
    Faults::Active faults;
    /// The time before the request is carried out.
    std::chrono::milliseconds pause{0};
    /// The time after that, before the answer is sent.
    std::chrono::milliseconds delay{0};
    std::vector<std::uint8_t> answer;
    /// How often the answer is sent: 0 for none.
    std::uint32_t copies = 0;

    [[nodiscard]] bool isHeldUp() const { return (pause + delay).count() > 0; }
};

/// Turns request frames into answers: the device's behaviour, without queues and clocks.
/// A right request to a known object is carried out; an unknown id, a write to an object that is
/// not writable and a write of the wrong length are refused with an error command. A frame that is
/// no request gets no answer. Faults then spoil the answer; the `error` fault also refuses the
/// request. Whoever uses it waits for pauses and delays.
class FrameAnswerer
{
public:
    /// The device outlives the answerer; `seed` makes the garbage of the `size` fault repeatable.
    FrameAnswerer(SimulatedDevice &device, std::uint32_t seed);

    /// Takes a request, counts it, and finds the faults that it meets.
    [[nodiscard]] Exchange take(std::span<const std::uint8_t> frame);
    /// Carries it out with the values of this moment, and fills in the answer.
    void carryOut(Exchange &exchange);

private:
    [[nodiscard]] std::vector<std::uint8_t> rightAnswer(const Exchange &exchange);
    void spoil(Exchange &exchange);
    void count(const Exchange &exchange);
    [[nodiscard]] std::vector<std::uint8_t> garbage(std::size_t size);

    SimulatedDevice &_device;
    std::minstd_rand _random;
};
