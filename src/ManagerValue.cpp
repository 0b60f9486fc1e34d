#include "ManagerValue.h"

#include <algorithm>
#include <cstring>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace
{
bool isNumberTag(std::uint8_t tag) noexcept
{
    switch (tag) {
    case ASN_INTEGER:
    case ASN_COUNTER:
    case ASN_GAUGE:
    case ASN_TIMETICKS:
    case ASN_COUNTER64:
    case ASN_UINTEGER:
    case ASN_OPAQUE_FLOAT:
    case ASN_OPAQUE_DOUBLE:
    case ASN_OPAQUE_COUNTER64:
    case ASN_OPAQUE_I64:
    case ASN_OPAQUE_U64:
        return true;
    default:
        return false;
    }
}
} // namespace

std::size_t managerValue::servedLength(std::uint8_t tag, const DeviceValue &value) noexcept
{
    const std::size_t length = value.text().size();
    return isNumberTag(tag) && length > sizeof(netsnmp_variable_list::buf) ? 0 : length;
}

void managerValue::takeInteger(const unsigned char *bytes, std::size_t length,
                               DeviceValue &value) noexcept
{
    std::uint32_t number = 0;
    if (bytes != nullptr) {
        std::memcpy(&number, bytes, std::min(length, sizeof number));
    }
    value.setInt32(number);
}

std::size_t managerValue::textLength(const unsigned char *bytes, std::size_t length) noexcept
{
    return bytes == nullptr ? 0 : strnlen(reinterpret_cast<const char *>(bytes), length);
}

void managerValue::takeText(const unsigned char *bytes, std::size_t length,
                            DeviceValue &value) noexcept
{
    value.setText({reinterpret_cast<const char *>(bytes), textLength(bytes, length)});
}
