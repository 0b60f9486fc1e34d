#pragma once

#include "MappingRecords.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// What a conversion makes of an object in what the tools publish: in a MIB, in the configurations
/// of monitoring systems, in a simulated device. All that a conversion's kind decides outside of
/// the agent stands here.
namespace publishedConversion
{
/// A type that a MIB defines (RFC 2579).
struct TextualConvention {
    std::string name;
    std::string displayHint;
    std::string description;
    std::string syntax;
};

/// A number in a text: a suffix for its name, and where it stands.
struct Extract {
    const char *suffix;
    const char *regex;
};

/// A device object of which the agent makes what the mapping promises.
struct SuggestedObject {
    const char *kind;
    std::size_t width;
    const char *value;
};

struct Publication {
    std::uint16_t kind;
    /// The syntax of an INTEGER, or nothing where the device's width decides.
    std::string (*integerSyntax)(unsigned places) = nullptr;
    /// The type of an OCTET STRING.
    const TextualConvention *convention = nullptr;
    /// What a time series takes of an OCTET STRING.
    std::span<const Extract> extracts{};
    /// The name of a Telegraf conversion of an OCTET STRING.
    const char *telegrafConversion = nullptr;
    std::optional<SuggestedObject> suggestion{};
    /// Another SNMP type that authors take for this conversion's.
    std::optional<std::uint16_t> lookAlike{};
};

/// What is published of an object's conversion; of an unknown one, nothing special.
[[nodiscard]] const Publication &of(const SnmpObjInfo &info);

/// Every convention, in the order in which a MIB has those that it needs.
[[nodiscard]] std::vector<TextualConvention> conventions();

/// "Integer32 (0..65535)"
[[nodiscard]] std::string range(std::int64_t lowest, std::int64_t highest);
} // namespace publishedConversion
