#pragma once

#include "FrameAnswerer.h"
#include "InputError.h"
#include "SimulatedDevice.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

/// A simulated device with one object of each kind, and verbs that exchange hexadecimal frames with
/// it.
class SimulatorFixture : public testing::Test
{
protected:
    static constexpr std::uint16_t textId = 0x0101;
    static constexpr std::uint16_t byteId = 0x0102;
    static constexpr std::uint16_t longId = 0x0103;
    static constexpr std::uint16_t blockId = 0x0104;
    static constexpr std::uint16_t fixedId = 0x0105;
    static constexpr std::uint16_t unknownId = 0x0199;

    SimulatorFixture();

    /// The answer to one request, as in "12 04 …"; empty for an empty answer or none.
    std::string answerTo(std::string_view request);
    Exchange exchange(std::string_view request);
    static Exchange exchangeWith(FrameAnswerer &answerer, std::string_view request);
    /// The two halves of an exchange, for tests that act in between.
    Exchange take(std::string_view request);
    void carryOut(Exchange &exchange);
    std::string read(std::uint16_t id);

    /// Sets a fault, as in "delay 50".
    void spoil(std::uint16_t id, std::string_view fault);
    void spoilAll(std::string_view fault);

    std::string valueOf(std::uint16_t id);

    SimulatedDevice device;

private:
    void add(std::uint16_t id, ValueKind kind, std::size_t width, bool writable,
             std::string_view value);

    FrameAnswerer _answerer{device, 1};
};

/// The reason for which an action is rejected; fails the test if it is not.
template <typename Action>
std::string reasonOf(Action action)
{
    try {
        action();
    } catch (const InputError &error) {
        return error.what();
    }
    ADD_FAILURE() << "was not refused";
    return {};
}
