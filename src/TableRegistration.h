#pragma once

#include "DeviceValue.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/// What every table needs from the agent library, whatever its class: owners of structures until
/// the library takes them over, and setters of varbinds.
namespace tableRegistration
{
struct FreeMemory {
    void operator()(void *memory) const { std::free(memory); }
};

struct FreeRegistration {
    void operator()(netsnmp_handler_registration *registration) const
    {
        netsnmp_handler_registration_free(registration);
    }
};

/// Also frees the table info in it.
struct FreeIterator {
    void operator()(netsnmp_iterator_info *iterator) const
    {
        netsnmp_iterator_delete_table(iterator);
    }
};

using Registration = std::unique_ptr<netsnmp_handler_registration, FreeRegistration>;
using Iterator = std::unique_ptr<netsnmp_iterator_info, FreeIterator>;

/// Null if the allocation fails. The library frees such structures with `free`.
template <typename Structure>
std::unique_ptr<Structure, FreeMemory> allocateZeroed()
{
    return std::unique_ptr<Structure, FreeMemory>(
        static_cast<Structure *>(std::calloc(1, sizeof(Structure))));
}

/// Null if the library cannot create it, or if the node's OID leaves no room for a cell's.
[[nodiscard]] Registration makeRegistration(const char *name, Netsnmp_Node_Handler *handler,
                                            const std::string &nodeText);

void setInteger(netsnmp_variable_list &variable, std::int32_t number);

/// Sets the value as its SNMP type serves it: the integer for an INTEGER, the text for any other.
void setAnswer(netsnmp_variable_list &variable, std::uint16_t asnType, const DeviceValue &value);

/// Sets the row as the first component of a cell's index.
void setIndex(netsnmp_variable_list *indexData, std::int32_t index);
} // namespace tableRegistration
