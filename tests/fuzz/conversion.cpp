// Arbitrary: the conversion code, the whole record, the direction and the time of day.
// Must hold: each conversion gives the result of exact arithmetic on the same value, within the
// rounding of single precision where the conversion uses it; unknown kinds, rejected texts and
// fields that a conversion does not name stay unchanged.

#include "SnmpObjConvertStrategy.h"
#include "support/Invariant.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
std::time_t s_now = 0;

constexpr unsigned isText = 2;
constexpr unsigned isSigned = 1;
/// Single precision rounds each of at most 15 divisions, or each of at most 64 digits twice.
constexpr double rounding = 2 * 65 * 1.2e-7;

unsigned kindBits(const DeviceValue &value)
{
    return (value.attr >> 8U) & 3U;
}

std::int64_t integerIn(const DeviceValue &value)
{
    std::uint32_t word = 0;
    std::memcpy(&word, value.data.data(), sizeof word);
    return kindBits(value) == isSigned ? static_cast<std::int32_t>(word) : std::int64_t{word};
}

bool isSame(const DeviceValue &one, const DeviceValue &other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

/// The text in the record, which must be followed by zeros only.
std::string shownText(const DeviceValue &value)
{
    const auto end = std::find(value.data.begin(), value.data.end(), std::uint8_t{0});
    mustHold(end != value.data.end(), "a shown text is terminated");
    mustHold(std::all_of(end, value.data.end(), [](std::uint8_t byte) { return byte == 0; }),
             "nothing follows a shown text");
    return {value.data.begin(), end};
}

void checkIpv4(const DeviceValue &before, const DeviceValue &after)
{
    const auto &bytes = before.data;
    const std::string expected = std::to_string(bytes[0]) + '.' + std::to_string(bytes[1]) + '.' +
                                 std::to_string(bytes[2]) + '.' + std::to_string(bytes[3]);
    mustHold(shownText(after) == expected, "an address is its four bytes");
    mustHold(after.len == expected.size(), "an address has its bare length");
}

void checkDateTime(const DeviceValue &after)
{
    using namespace std::chrono;
    const std::string text = shownText(after);
    mustHold(after.len == text.size() + 3, "a time has its length plus three");
    constexpr std::time_t calendarEnd = 900'000'000'000;
    if (s_now < -calendarEnd || s_now > calendarEnd) {
        return;
    }
    const sys_seconds now{seconds(s_now)};
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss clock(now - day);
    const auto number = [](auto of) { return std::to_string(of); };
    mustHold(text == number(clock.hours().count()) + ':' + number(clock.minutes().count()) + ':' +
                         number(clock.seconds().count()) + ' ' +
                         number(static_cast<unsigned>(date.month())) + '/' +
                         number(static_cast<unsigned>(date.day())) + '/' +
                         number(static_cast<int>(date.year())),
             "a time is the clock's");
}

void checkDecimalShown(unsigned scale, const DeviceValue &before, const DeviceValue &after)
{
    const std::string text = shownText(after);
    mustHold(after.len == text.size(), "a decimal has its bare length");
    mustHold(text.size() > 3 && text[text.size() - 3] == '.', "a decimal has two places");
    const double exact = static_cast<double>(integerIn(before)) / std::pow(10.0, scale);
    const double shown = std::strtod(text.c_str(), nullptr);
    mustHold(std::abs(shown - exact) <= std::abs(exact) * rounding + 0.00501,
             "a decimal is close to the exact one");
}

void checkToDisplay(std::uint16_t code, const DeviceValue &before, const DeviceValue &after)
{
    switch (code & 0x0FFFU) {
    case 1:
    case 2:
        checkIpv4(before, after);
        break;
    case 3:
        checkDateTime(after);
        break;
    case 4:
        checkDecimalShown(code >> 12U, before, after);
        break;
    case 11: {
        DeviceValue expected = before;
        expected.data[2] = expected.data[3] = 0;
        mustHold(isSame(after, expected), "16 bits stay");
        break;
    }
    default:
        mustHold(isSame(after, before), "a kind without conversion changes nothing");
        break;
    }
}

void checkScaled(unsigned scale, const DeviceValue &before, const DeviceValue &after)
{
    constexpr auto most = static_cast<__int128>(std::numeric_limits<std::uint32_t>::max());
    __int128 exact = integerIn(before);
    for (unsigned place = 0; place < scale; ++place) {
        exact *= 10;
    }
    mustHold(after.int32() == static_cast<std::uint32_t>(std::clamp(exact, __int128{0}, most)),
             "a scaled integer is exact");
}

/// The second period of a text ends the number.
void checkDecimalRead(unsigned scale, const std::string &text, const DeviceValue &after)
{
    const double exact = std::strtod(text.c_str(), nullptr) * std::pow(10.0, scale);
    constexpr double most = std::numeric_limits<std::uint32_t>::max();
    const double tolerance = 1.0 + std::min(exact, most) * rounding;
    mustHold(std::abs(static_cast<double>(after.int32()) - std::min(exact, most)) <= tolerance,
             "a decimal is read closely");
}

void checkFromDisplay(std::uint16_t code, const DeviceValue &before, const DeviceValue &after,
                      std::int32_t status)
{
    const unsigned kind = code & 0x0FFFU;
    const std::string text(before.text());
    const bool refused =
        kind == 4 && (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos);
    mustHold(status == (refused ? -1 : 0), "only what is no decimal is refused");
    const bool converts = kind == 4 || (kind == 0 && kindBits(before) != isText);
    if (refused || !converts) {
        mustHold(isSame(after, before), "without conversion nothing changes");
    } else if (kind == 0) {
        checkScaled(code >> 12U, before, after);
    } else {
        checkDecimalRead(code >> 12U, text, after);
    }
    mustHold(after.len == before.len &&
                 std::equal(after.data.begin() + 4, after.data.end(), before.data.begin() + 4),
             "a conversion for the device changes the word alone");
}
} // namespace

// The linker's name for a wrapped call is fixed.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" std::time_t __wrap_time(std::time_t *out)
{
    if (out != nullptr) {
        *out = s_now;
    }
    return s_now;
}

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    setenv("TZ", "UTC", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    const SnmpObjConvertStrategy strategy;
    const bool toDisplay = input.ConsumeBool();
    auto code = input.ConsumeIntegral<std::uint16_t>();
    // Few of all codes convert: use these in every other input.
    if (input.ConsumeBool()) {
        code &= 0xF00F;
    }
    s_now = input.ConsumeIntegral<std::time_t>();
    if (input.ConsumeBool()) {
        s_now %= 0x100000000;
    }
    DeviceValue before;
    input.ConsumeData(&before, sizeof before);
    DeviceValue after = before;
    if (toDisplay) {
        mustHold(strategy.toDisplay(code, after) == 0, "everything can be shown");
        checkToDisplay(code, before, after);
    } else {
        checkFromDisplay(code, before, after, strategy.fromDisplay(code, after));
    }
    mustHold(after.oid == before.oid && after.attr == before.attr && after.spare == before.spare,
             "object, attribute and spare byte are left alone");
    return 0;
}
