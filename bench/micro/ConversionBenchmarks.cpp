#include "Measuring.h"
#include "SnmpObjConvertStrategy.h"

#include <benchmark/benchmark.h>

namespace
{
using measuring::measure;

constexpr std::uint16_t unsignedAttribute = 0;
constexpr std::uint16_t textAttribute = 0x0200;
/// A kind that leaves every value unchanged: the cost of copying the value, which is part of all
/// others.
constexpr std::uint16_t asItIs = 5;
constexpr std::uint16_t twoPlaces = 2U << conversion::scaleShift;

DeviceValue integer(std::uint32_t word)
{
    DeviceValue value;
    value.len = 7;
    value.attr = unsignedAttribute;
    value.setInt32(word);
    return value;
}

DeviceValue text(const char *text)
{
    DeviceValue value;
    value.attr = textAttribute;
    value.setText(text);
    return value;
}

void toDisplay(benchmark::State &state, std::uint16_t valueType, const DeviceValue &raw,
               const char *shown)
{
    const SnmpObjConvertStrategy strategy;
    DeviceValue value;
    measure(
        state,
        [&] {
            value = raw;
            benchmark::DoNotOptimize(strategy.toDisplay(valueType, value));
            benchmark::ClobberMemory();
        },
        [&] { return shown == nullptr || value.text() == shown; });
}

void fromDisplay(benchmark::State &state, std::uint16_t valueType, const DeviceValue &given,
                 std::uint32_t word)
{
    const SnmpObjConvertStrategy strategy;
    DeviceValue value;
    measure(
        state,
        [&] {
            value = given;
            benchmark::DoNotOptimize(strategy.fromDisplay(valueType, value));
            benchmark::ClobberMemory();
        },
        [&] { return value.int32() == word; });
}

const auto anInteger = integer(0x64646464);

BENCHMARK_CAPTURE(toDisplay, asItIs, asItIs, text("ready"), "ready");
BENCHMARK_CAPTURE(toDisplay, ipv4Text, conversion::ipv4Text, anInteger, "100.100.100.100");
// The time of day cannot be predicted.
BENCHMARK_CAPTURE(toDisplay, dateTimeText, conversion::dateTimeText, anInteger, nullptr);
BENCHMARK_CAPTURE(toDisplay, decimalText, conversion::decimalText | twoPlaces, integer(4820),
                  "48.20");
BENCHMARK_CAPTURE(toDisplay, unsigned16, conversion::unsigned16, anInteger, "dd");

BENCHMARK_CAPTURE(fromDisplay, asItIs, asItIs, integer(42), 42);
BENCHMARK_CAPTURE(fromDisplay, scaledInteger, conversion::scaledInteger | twoPlaces, integer(42),
                  4200);
BENCHMARK_CAPTURE(fromDisplay, decimalText, conversion::decimalText | twoPlaces, text("48.25"),
                  4825);
} // namespace
