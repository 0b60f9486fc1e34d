#pragma once

#include "MappingRecords.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// How the tools publish a converted object: in a MIB, in configurations of monitoring systems, in
/// a simulated device. Everything outside the agent that depends on the kind of a conversion is
/// here.
namespace publishedConversion
{
/// A type that a MIB defines.
template <typename Text>
struct Convention {
    Text name;
    Text displayHint;
    Text description;
    Text syntax;
};

using FixedConvention = Convention<const char *>;
using TextualConvention = Convention<std::string>;

/// A number in a text: a suffix for its name, and its place as a regular expression.
struct Extract {
    const char *suffix;
    const char *regex;
};

/// A device object that the agent converts to what the mapping promises.
struct SuggestedObject {
    const char *kind;
    std::size_t width;
    const char *value;
};

struct Publication {
    std::uint16_t kind;
    /// The name of the type of an INTEGER; null or empty: its range decides.
    std::string (*numberConvention)(unsigned places) = nullptr;
    /// The range of an INTEGER; null: the width of the device's object decides.
    std::string (*range)() = nullptr;
    /// The type of an OCTET STRING.
    const FixedConvention *convention = nullptr;
    /// The numbers that a time series takes from an OCTET STRING.
    std::span<const Extract> extracts{};
    /// The Telegraf conversion of an OCTET STRING.
    const char *telegrafConversion = nullptr;
    std::optional<SuggestedObject> suggestion{};
    /// The SNMP type that authors use for this conversion by mistake.
    std::optional<std::uint16_t> lookAlike{};
};

/// The publication of an object's conversion; for an unknown one, the default.
[[nodiscard]] const Publication &of(const SnmpObjInfo &info);

/// The name of the convention of a conversion; empty if it has none.
[[nodiscard]] std::string nameOf(std::uint16_t valueType);

/// The type of an OCTET STRING that is not text.
[[nodiscard]] const FixedConvention &block() noexcept;

/// How many of the digits that an INTEGER is served with are decimal places.
[[nodiscard]] unsigned decimalPlaces(const SnmpObjInfo &info);

/// All conventions, in the order of a MIB. A module puts its own name before theirs.
[[nodiscard]] std::vector<TextualConvention> conventions();

/// "Integer32 (0..65535)"
[[nodiscard]] std::string range(std::int64_t lowest, std::int64_t highest);
} // namespace publishedConversion
