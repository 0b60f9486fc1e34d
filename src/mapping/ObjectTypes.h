#pragma once

#include <cstdint>
#include <span>

/// The SNMP types that a mapping may give an object: the code and names of each, and how well the
/// agent serves it. Codes are BER tags (RFC 2578, RFC 3416; those from 0x78 on are the agent
/// library's).
namespace objectType
{
inline constexpr std::uint16_t integer = 0x02;
inline constexpr std::uint16_t octetString = 0x04;
inline constexpr std::uint16_t ipAddress = 0x40;

/// What a manager gets. Only `sound` is the device's value.
enum class Service { sound, number, address, identifier, nothing, opaque, unknown };

struct ObjectType {
    std::uint16_t code;
    /// In mapping sources; null: written as a number.
    const char *word;
    /// In findings and listings, as the standards spell it; null: shown as a number.
    const char *snmpName;
    /// In a MIB, if its objects may be of this type; null: they are octet strings there.
    const char *smiName;
    /// How the Prometheus SNMP exporter reads it.
    const char *metricType;
    Service service;
};

/// In the order in which a MIB imports them.
[[nodiscard]] std::span<const ObjectType> all() noexcept;

/// The type of this code; an unknown code gives a type without names.
[[nodiscard]] const ObjectType &of(std::uint16_t code) noexcept;
} // namespace objectType
