#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/library/oid.h>

/// The dotted OID under which everything is registered: the text of the device's base OID object,
/// or the default if that cannot be read. One device exchange per call.
[[nodiscard]] std::string readBaseOidText();

/// The sub-identifiers of a dotted text (see `parseDottedNumbers`), each widened to `oid`; nullopt
/// if there are more than `most`.
[[nodiscard]] std::optional<std::vector<oid>> toOid(const std::string &text, std::size_t most);
