#include "PublishedConversions.h"

#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"

#include <algorithm>
#include <array>
#include <limits>

namespace
{
using publishedConversion::Extract;
using publishedConversion::FixedConvention;
using publishedConversion::Publication;
using publishedConversion::SuggestedObject;
using publishedConversion::TextualConvention;

constexpr unsigned mostPlaces = 15;

constexpr FixedConvention decimalText{
    .name = "TarnoDecimalText",
    .displayHint = "64a",
    .description = "A decimal number as text. Reads return two decimal places.",
    .syntax = "OCTET STRING (SIZE (0..64))"};
constexpr FixedConvention ipv4Text{
    .name = "TarnoIpv4Text",
    .displayHint = "15a",
    .description = "An IPv4 address as text: four decimal numbers separated by periods.",
    .syntax = "OCTET STRING (SIZE (7..15))"};
constexpr FixedConvention dateTimeText{
    .name = "TarnoDateTimeText",
    .displayHint = "19a",
    .description = "The agent's date and time as text: hour, minute, second, month, day\n"
                   "        and year, without leading zeros, such as 9:5:7 3/14/2026.",
    .syntax = "OCTET STRING (SIZE (0..19))"};

std::string scaledName(unsigned places)
{
    return "TarnoScaled" + std::to_string(places);
}

TextualConvention scaled(unsigned places)
{
    const std::string number = std::to_string(places);
    const std::string zeros(places, '0');
    return {.name = scaledName(places),
            .displayHint = "d-" + number,
            .description = "A number that reads back with " + number +
                           " more decimal places than it is set with:\n"
                           "        set to 13, it reads as 13" +
                           zeros + " and is shown as 13." + zeros + '.',
            .syntax = "Integer32"};
}

std::string scaledSyntax(unsigned places)
{
    return places == 0 ? std::string() : scaledName(places);
}

std::string unsigned16Syntax(unsigned /*places*/)
{
    return publishedConversion::range(0, std::numeric_limits<std::uint16_t>::max());
}

constexpr std::array decimalExtracts{Extract{"", "(-?[0-9]+\\.?[0-9]*)"}};
constexpr std::array dateTimeExtracts{
    Extract{"Hour", "([0-9]+):.*"},
    Extract{"Minute", "[0-9]+:([0-9]+):.*"},
    Extract{"Second", "[0-9]+:[0-9]+:([0-9]+) .*"},
    Extract{"Month", ".* ([0-9]+)/.*"},
    Extract{"Day", ".*/([0-9]+)/.*"},
    Extract{"Year", ".*/([0-9]+)"},
};

constexpr SuggestedObject address{"other", 4, "C0 00 02 01"};

constexpr std::array publications{
    Publication{.kind = conversion::scaledInteger, .integerSyntax = scaledSyntax},
    Publication{.kind = conversion::decimalText,
                .convention = &decimalText,
                .extracts = decimalExtracts,
                .telegrafConversion = "float",
                .suggestion = SuggestedObject{"signed", 4, "0"}},
    Publication{.kind = conversion::ipv4Text,
                .convention = &ipv4Text,
                .suggestion = address,
                .lookAlike = objectType::ipAddress},
    Publication{.kind = conversion::ipv4TextAlternative,
                .convention = &ipv4Text,
                .suggestion = address,
                .lookAlike = objectType::ipAddress},
    Publication{.kind = conversion::dateTimeText,
                .convention = &dateTimeText,
                .extracts = dateTimeExtracts,
                .suggestion = SuggestedObject{"unsigned", 4, "0"}},
    Publication{.kind = conversion::unsigned16,
                .integerSyntax = unsigned16Syntax,
                .suggestion = SuggestedObject{"unsigned", 2, "0"}},
};

constexpr Publication nothingSpecial{};
} // namespace

const Publication &publishedConversion::of(const SnmpObjInfo &info)
{
    const std::uint16_t kind = conversion::kindOf(info.valueType);
    const auto *const found =
        std::find_if(publications.begin(), publications.end(),
                     [kind](const Publication &each) { return each.kind == kind; });
    return found == publications.end() ? nothingSpecial : *found;
}

unsigned publishedConversion::decimalPlaces(const SnmpObjInfo &info)
{
    const bool isScaled = info.asnType == objectType::integer &&
                          conversion::kindOf(info.valueType) == conversion::scaledInteger;
    return isScaled ? conversion::placesOf(info.valueType) : 0;
}

std::vector<TextualConvention> publishedConversion::conventions()
{
    std::vector<TextualConvention> all;
    const FixedConvention *latest = nullptr;
    for (const Publication &each : publications) {
        if (each.convention != nullptr && each.convention != latest) {
            all.push_back({.name = each.convention->name,
                           .displayHint = each.convention->displayHint,
                           .description = each.convention->description,
                           .syntax = each.convention->syntax});
            latest = each.convention;
        }
    }
    for (unsigned places = 1; places <= mostPlaces; ++places) {
        all.push_back(scaled(places));
    }
    return all;
}

std::string publishedConversion::range(std::int64_t lowest, std::int64_t highest)
{
    return "Integer32 (" + std::to_string(lowest) + ".." + std::to_string(highest) + ')';
}
