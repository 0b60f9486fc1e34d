#include "PublishedConversions.h"

#include "MappingWords.h"
#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"

#include <algorithm>
#include <array>
#include <limits>

namespace
{
using mappingWords::mostPlaces;
using publishedConversion::Extract;
using publishedConversion::FixedConvention;
using publishedConversion::Publication;
using publishedConversion::SuggestedObject;
using publishedConversion::TextualConvention;

constexpr FixedConvention decimalText{
    .name = "DecimalText",
    .displayHint = "64a",
    .description = "A decimal number as text. It may be negative. Reads return two decimal\n"
                   "        places; sets take digits and a period only.",
    .syntax = "OCTET STRING (SIZE (0..64))"};
constexpr FixedConvention ipv4Text{
    .name = "Ipv4Text",
    .displayHint = "15a",
    .description = "An IPv4 address as text: four decimal numbers separated by periods.",
    .syntax = "OCTET STRING (SIZE (7..15))"};
constexpr FixedConvention dateTimeText{
    .name = "DateTimeText",
    .displayHint = "19a",
    .description = "The agent's date and time as text: hour, minute, second, month, day\n"
                   "        and year, without leading zeros, such as 9:5:7 3/14/2026.",
    .syntax = "OCTET STRING (SIZE (0..19))"};
constexpr FixedConvention blockOfBytes{.name = "Block",
                                       .displayHint = "1x:",
                                       .description = "A block of bytes of the device.",
                                       .syntax = "OCTET STRING (SIZE (0..64))"};

std::string scaledName(unsigned places)
{
    return "Scaled" + std::to_string(places);
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

std::string scaledConvention(unsigned places)
{
    return places == 0 ? std::string() : scaledName(places);
}

std::string unsigned16Range()
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
    Publication{.kind = conversion::scaledInteger, .numberConvention = scaledConvention},
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
                .range = unsigned16Range,
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

std::string publishedConversion::nameOf(std::uint16_t valueType)
{
    SnmpObjInfo info;
    info.valueType = valueType;
    const Publication &publication = of(info);
    if (publication.convention != nullptr) {
        return publication.convention->name;
    }
    return publication.numberConvention == nullptr
               ? std::string()
               : publication.numberConvention(conversion::placesOf(valueType));
}

const FixedConvention &publishedConversion::block() noexcept
{
    return blockOfBytes;
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
    for (const FixedConvention *each : {&decimalText, &ipv4Text, &dateTimeText, &blockOfBytes}) {
        all.push_back({.name = each->name,
                       .displayHint = each->displayHint,
                       .description = each->description,
                       .syntax = each->syntax});
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
