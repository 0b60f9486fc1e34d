#include "ObjectTypes.h"

#include <algorithm>
#include <array>

namespace
{
using objectType::ObjectType;
using objectType::Service;

constexpr const char *octets = "OctetString";

constexpr std::array types{
    ObjectType{objectType::integer, "integer", "INTEGER", nullptr, "gauge", Service::sound},
    ObjectType{0x03, "bitString", "BIT STRING", nullptr, octets, Service::unknown},
    ObjectType{objectType::octetString, "text", "OCTET STRING", nullptr, "DisplayString",
               Service::sound},
    ObjectType{0x05, "null", "NULL", nullptr, octets, Service::nothing},
    ObjectType{0x06, "objectIdentifier", "OBJECT IDENTIFIER", nullptr, octets, Service::identifier},
    ObjectType{0x41, "counter32", "Counter32", "Counter32", "counter", Service::number},
    ObjectType{0x42, "gauge32", "Gauge32", "Gauge32", "gauge", Service::number},
    ObjectType{0x43, "timeTicks", "TimeTicks", "TimeTicks", "gauge", Service::number},
    ObjectType{0x46, "counter64", "Counter64", "Counter64", "counter", Service::number},
    ObjectType{objectType::ipAddress, "ipAddress", "IpAddress", "IpAddress", "InetAddressIPv4",
               Service::address},
    ObjectType{0x44, "opaque", "Opaque", "Opaque", octets, Service::opaque},
    // Unsigned32 of SNMPv2p, floating-point numbers, and the exceptions of a response.
    ObjectType{0x47, nullptr, nullptr, nullptr, octets, Service::number},
    ObjectType{0x78, nullptr, nullptr, nullptr, octets, Service::number},
    ObjectType{0x79, nullptr, nullptr, nullptr, octets, Service::number},
    ObjectType{0x80, nullptr, nullptr, nullptr, octets, Service::nothing},
    ObjectType{0x81, nullptr, nullptr, nullptr, octets, Service::nothing},
    ObjectType{0x82, nullptr, nullptr, nullptr, octets, Service::nothing},
};

constexpr ObjectType unknownType{0, nullptr, nullptr, nullptr, octets, Service::unknown};
} // namespace

std::span<const ObjectType> objectType::all() noexcept
{
    return types;
}

const ObjectType &objectType::of(std::uint16_t code) noexcept
{
    const auto *const found = std::find_if(
        types.begin(), types.end(), [code](const ObjectType &type) { return type.code == code; });
    return found == types.end() ? unknownType : *found;
}
