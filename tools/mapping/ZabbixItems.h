#pragma once

#include "ServedObjects.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// How an object is an item of a Zabbix template: its key, its name, its type. A column is a
/// prototype of items, with macros for the number and the name of its row.
namespace zabbixItems
{
/// Of scalars and columns of the MIB, except row numbers.
[[nodiscard]] bool isItem(const ServedObject &object);

/// "sample_shelf_mib.supplyVoltage", "sample_shelf_mib.portState[{#PORTROW}]"
[[nodiscard]] std::string key(const ServedMapping &served, const ServedObject &object);
/// "supplyVoltage", "port {#PORTROW} {#PORTNAME}: portState"
[[nodiscard]] std::string name(const ServedMapping &served, const ServedObject &object);
/// "UNSIGNED", "FLOAT" or "CHAR"
[[nodiscard]] const char *valueType(const ServedObject &object);

/// "{#PORTROW}"
[[nodiscard]] std::string macro(const ServedObject &column);
/// The row number and up to three columns that name a row: Zabbix limits the length of what it asks
/// for.
[[nodiscard]] std::vector<const ServedObject *> rowNames(const ServedMapping &served,
                                                         std::size_t table);
/// "port {#PORTROW} {#PORTNAME}"
[[nodiscard]] std::string row(const ServedMapping &served, std::size_t table);

/// Whether it is a text that people read, and not the bytes of a block or a number.
[[nodiscard]] bool isPlainText(const ServedObject &object);

/// A text in which Zabbix expands nothing: a blank follows every brace that could begin a macro,
/// and every dollar sign in front of a digit, which stands for a number of the expression.
[[nodiscard]] std::string plain(std::string_view text);
} // namespace zabbixItems
