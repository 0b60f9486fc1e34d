// Prints the results of the decimal conversions for generated numbers and texts: decimalTable
// COUNT. One case per line, and the same cases in every run: builds with the same floating point
// print the same bytes.

#include "SnmpObjConvertStrategy.h"
#include "TextNumbers.h"

#include <array>
#include <bit>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

namespace
{
/// Numbers below a limit that are the same on every platform: the standard specifies the engine's
/// output, but not that of its distributions.
class Dice
{
public:
    std::uint32_t int32() { return static_cast<std::uint32_t>(_engine()); }

    std::uint32_t below(std::uint32_t limit) { return int32() % limit; }

    bool oneIn(std::uint32_t chances) { return below(chances) == 0; }

private:
    std::mt19937 _engine{20260101};
};

/// Numbers of every length and sign, and those at the limits of single precision and of the sign.
std::uint32_t anyNumber(Dice &dice)
{
    constexpr std::array<std::uint32_t, 8> edges{0,          1,          0x00FFFFFF, 0x01000001,
                                                 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF};
    if (dice.oneIn(16)) {
        return edges.at(dice.below(edges.size()));
    }
    const std::uint32_t number = dice.int32() >> dice.below(32);
    return dice.oneIn(2) ? number : 0U - number;
}

void appendDigits(std::string &text, std::uint32_t count, Dice &dice)
{
    for (std::uint32_t place = 0; place < count; ++place) {
        text += static_cast<char>('0' + dice.below(10));
    }
}

/// Mostly decimal numbers; some exceed single precision, are negative or not numbers at all.
std::string anyText(Dice &dice)
{
    std::string text;
    if (dice.oneIn(8)) {
        text = dice.oneIn(2) ? "-" : " \t-";
    }
    appendDigits(text, dice.oneIn(64) ? 42 : dice.below(11), dice);
    if (!dice.oneIn(4)) {
        text += '.';
        appendDigits(text, dice.below(11), dice);
    }
    if (dice.oneIn(32)) {
        text += ".5x";
    }
    return text;
}

void printToManager(std::uint32_t number, ValueKind kind, unsigned scale)
{
    const SnmpObjConvertStrategy strategy;
    DeviceValue shown;
    shown.attr = static_cast<std::uint16_t>(static_cast<unsigned>(kind) << valueKindShift);
    shown.setInt32(number);
    DeviceValue scaled = shown;
    const auto code = static_cast<std::uint16_t>(scale << conversion::scaleShift);
    strategy.toDisplay(code | conversion::decimalText, shown);
    strategy.fromDisplay(code | conversion::scaledInteger, scaled);
    std::printf("%u %2u %08" PRIx32 " '%s' %u %08" PRIx32, static_cast<unsigned>(kind), scale,
                number, std::string(shown.text()).c_str(), static_cast<unsigned>(shown.len),
                scaled.int32());
}

void printFromManager(const std::string &text, unsigned scale)
{
    const char *end = nullptr;
    const float parsed = parseDecimal(text.c_str(), &end);
    DeviceValue set;
    set.setText(text);
    const auto code = static_cast<std::uint16_t>(scale << conversion::scaleShift);
    const std::int32_t status =
        SnmpObjConvertStrategy().fromDisplay(code | conversion::decimalText, set);
    std::printf(" '%s' %08" PRIx32 " %d %" PRId32 " %08" PRIx32 "\n", text.c_str(),
                std::bit_cast<std::uint32_t>(parsed), static_cast<int>(end - text.c_str()), status,
                set.int32());
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: decimalTable COUNT\n");
        return 2;
    }
    Dice dice;
    const unsigned long count = std::strtoul(argv[1], nullptr, 10);
    for (unsigned long index = 0; index < count; ++index) {
        const ValueKind kind =
            dice.oneIn(2) ? ValueKind::unsignedInteger : ValueKind::signedInteger;
        const unsigned scale = dice.below(16);
        printToManager(anyNumber(dice), kind, scale);
        printFromManager(anyText(dice), scale);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
