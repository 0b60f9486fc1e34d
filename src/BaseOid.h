#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/library/oid.h>

/// The dotted text under which everything is registered: what the device application holds in its
/// base OID object, or the default where that cannot be read. One device exchange a call.
[[nodiscard]] std::string readBaseOidText();

/// The sub-identifiers of a dotted text (see `parseDottedNumbers`), each widened to the library's
/// width; nothing when there are more than `most`.
[[nodiscard]] std::optional<std::vector<oid>> toOid(const std::string &text, std::size_t most);
