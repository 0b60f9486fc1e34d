// Arbitrary: a text, and the capacity for the numbers in it.
// Must hold: a decimal ends where its grammar says and is close to what the C library reads there;
// an integer equals what reading it digit by digit gives, and so does the one after each period;
// nothing is stored beyond the capacity, and nothing is read beyond the end of the text.

#include "TextNumbers.h"
#include "support/Invariant.h"
#include "support/UnsignedText.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
constexpr std::uint32_t untouched = 0xA5A5A5A5;

/// "blanks - digits . digits": where the digits begin and where it all ends.
struct Extent {
    std::size_t begin;
    std::size_t end;
};

Extent extentOf(const std::string &text)
{
    const auto skip = [&text](std::size_t from, const char *characters) {
        const std::size_t end = text.find_first_not_of(characters, from);
        return end == std::string::npos ? text.size() : end;
    };
    const std::size_t begin = skip(0, " \t\n\v\f\r");
    std::size_t end = begin + (text.compare(begin, 1, "-") == 0 ? 1 : 0);
    end = skip(end, "0123456789");
    if (text.compare(end, 1, ".") == 0) {
        end = skip(end + 1, "0123456789");
    }
    return {begin, end};
}

void checkDecimal(const std::string &text)
{
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    const char *end = nullptr;
    const auto read = static_cast<double>(parseDecimal(exact.data(), &end));
    const Extent extent = extentOf(text);
    mustHold(end == exact.data() + extent.end, "a decimal ends where its grammar says");
    const double expected =
        std::strtod(text.substr(extent.begin, extent.end - extent.begin).c_str(), nullptr);
    if (std::abs(expected) > static_cast<double>(std::numeric_limits<float>::max()) * 0.99) {
        mustHold(!std::isnan(read) && std::abs(read) > 1e38, "what is too large is the largest");
        return;
    }
    // Every digit rounds once or twice.
    const double roundings = 2.0 * static_cast<double>(text.size() + 1);
    const double tolerance = std::abs(expected) * roundings * 1.2e-7 + 1e-40;
    mustHold(std::abs(read - expected) <= tolerance, "a decimal is close to the exact one");
}

void checkUnsigned(const std::string &text)
{
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    for (const int base : {10, 16}) {
        mustHold(parseUnsigned(exact.data(), base) == unsignedAt(text, 0, base),
                 "a whole number is the one in front");
    }
}

void checkDottedNumbers(const std::string &text, std::size_t room)
{
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    std::vector<std::uint32_t> numbers(room, untouched);
    std::uint32_t none = untouched;
    const std::int32_t count =
        parseDottedNumbers(exact.data(), room == 0 ? &none : numbers.data(), room);
    std::size_t found = 0;
    for (std::size_t dot = text.find('.'); dot != std::string::npos;
         dot = text.find('.', dot + 1)) {
        mustHold(found >= room || numbers[found] == unsignedAt(text, dot + 1, 10),
                 "a number is the one behind its period");
        ++found;
    }
    mustHold(count == static_cast<std::int32_t>(found), "each period counts");
    for (std::size_t rest = found; rest < room; ++rest) {
        mustHold(numbers[rest] == untouched, "no number is stored without a period");
    }
    mustHold(none == untouched, "nothing is stored without room");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    const std::size_t room = input.ConsumeIntegralInRange(0U, 40U);
    // As in the agent: up to the first NUL.
    const std::string text = input.ConsumeRemainingBytesAsString().c_str();
    checkDecimal(text);
    checkUnsigned(text);
    checkDottedNumbers(text, room);
    return 0;
}
