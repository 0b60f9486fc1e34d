#include "DeviceExchanges.h"

#include "DeviceFrame.h"
#include "DeviceValue.h"
#include "EchoDevice.h"
#include "LibraryDevice.h"
#include "RawQueues.h"

#include <chrono>
#include <stdexcept>

namespace
{
constexpr std::uint16_t objId = 0x0106;
constexpr std::uint32_t value = 0x04030201;

Frame readRequest()
{
    const auto request = deviceFrame::makeReadRequest(objId);
    return {request.begin(), request.end()};
}

Frame readAnswer()
{
    return {static_cast<std::uint8_t>(deviceFrame::Command::readAnswer),
            deviceFrame::int32Length,
            0,
            0,
            static_cast<std::uint8_t>(objId),
            static_cast<std::uint8_t>(objId >> 8),
            1,
            2,
            3,
            4};
}

double nanosecondsOfExchange(std::uint32_t exchanges)
{
    using Nanoseconds = std::chrono::duration<double, std::nano>;
    RawQueues queues;
    const Frame request = readRequest();
    const auto expected = static_cast<std::ptrdiff_t>(readAnswer().size());
    // The first one waits for the device to start.
    bool isRight = queues.exchange(request) == expected;
    const auto start = std::chrono::steady_clock::now();
    for (std::uint32_t left = exchanges; left > 0; --left) {
        isRight &= queues.exchange(request) == expected;
    }
    const Nanoseconds passed = std::chrono::steady_clock::now() - start;
    if (!isRight) {
        throw std::runtime_error("a device gave a wrong answer");
    }
    return passed.count() / exchanges;
}

double raw(std::uint32_t exchanges)
{
    const EchoDevice device({{objId, readAnswer()}});
    return nanosecondsOfExchange(exchanges);
}

double library(std::uint32_t exchanges)
{
    const LibraryDevice device(objId, value);
    return nanosecondsOfExchange(exchanges);
}
} // namespace

std::vector<deviceExchanges::Round> deviceExchanges::measure(unsigned rounds,
                                                             std::uint32_t exchangesEach)
{
    std::vector<Round> all(rounds);
    bool rawIsFirst = true;
    for (Round &round : all) {
        // In turn first: what slows the machine down meanwhile slows both.
        if (rawIsFirst) {
            round.raw = raw(exchangesEach);
        }
        round.library = library(exchangesEach);
        if (!rawIsFirst) {
            round.raw = raw(exchangesEach);
        }
        rawIsFirst = !rawIsFirst;
    }
    return all;
}
