#pragma once

#include <string>
#include <string_view>

/// Identifiers of the parts of a Zabbix template. Zabbix recognises a part of an earlier import by
/// its identifier, so they depend on names alone and are the same in every release of a mapping.
namespace zabbixUuid
{
/// 32 hexadecimal digits in the form of a random UUID, the only one that Zabbix accepts. `kind`
/// keeps parts apart that have the same name.
[[nodiscard]] std::string of(std::string_view module, std::string_view kind, std::string_view name);
} // namespace zabbixUuid
