#include "ZabbixUuid.h"

#include <array>
#include <cstddef>
#include <stdexcept>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace
{
constexpr std::size_t longestDigest = 64;
constexpr std::size_t uuidBytes = 16;

std::array<unsigned char, longestDigest> digestOf(const std::string &text)
{
    std::array<unsigned char, longestDigest> digest{};
    std::size_t length = digest.size();
    if (sc_hash_type(NETSNMP_USMAUTH_HMACSHA1, reinterpret_cast<const unsigned char *>(text.data()),
                     text.size(), digest.data(), &length) != SNMPERR_SUCCESS) {
        throw std::runtime_error("the SNMP library has no SHA-1");
    }
    return digest;
}
} // namespace

std::string zabbixUuid::of(std::string_view module, std::string_view kind, std::string_view name)
{
    constexpr std::string_view digits = "0123456789abcdef";
    // None of the three can contain the separator, unlike a blank or a period.
    auto bytes =
        digestOf(std::string(module) + '\n' + std::string(kind) + '\n' + std::string(name));
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0FU) | 0x40U);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3FU) | 0x80U);
    std::string text;
    for (std::size_t index = 0; index < uuidBytes; ++index) {
        text += digits[bytes[index] >> 4U];
        text += digits[bytes[index] & 0x0FU];
    }
    return text;
}
