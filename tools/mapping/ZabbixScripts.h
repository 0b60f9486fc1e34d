#pragma once

#include <string>

/// JavaScript with which Zabbix turns what it has read, `value`, into what it stores.
///
/// Zabbix reads a text that is not plain ASCII as hexadecimal bytes, each with a blank behind it.
/// These scripts make it a text again if it is UTF-8.
namespace zabbixScripts
{
/// For the text of an item.
[[nodiscard]] std::string text();
/// For the rows of a discovery. Their texts become part of names, in which Zabbix must expand
/// nothing: see zabbixItems::plain.
[[nodiscard]] std::string rows();
/// For a number with decimal places, which is served without them. It is divided and not multiplied
/// by 0.01: the result is the number that its digits say, and equals a limit with the same digits.
[[nodiscard]] std::string places(unsigned count);
} // namespace zabbixScripts
