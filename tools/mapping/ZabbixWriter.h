#pragma once

#include "ServedObjects.h"

#include <string>

/// A template for Zabbix (YAML, as Zabbix 6.0 exports it): an item for each scalar, a discovery
/// rule for each table with prototypes for its columns, value maps of the labels, triggers of the
/// alarms and items for their notifications. OIDs are numeric, so Zabbix needs no MIB. The
/// identifiers depend on names only: importing the template of a later release updates the former
/// one.
namespace zabbixWriter
{
struct Options {
    /// An item for notifications that no other item takes. A host can have only one.
    bool hasFallback = true;
};

[[nodiscard]] std::string write(const ServedMapping &served, const Options &options);
} // namespace zabbixWriter
