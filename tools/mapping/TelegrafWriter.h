#pragma once

#include "ServedObjects.h"

#include <string>

/// An SNMP input of Telegraf (TOML): every scalar is a field of one measurement, every table a
/// measurement of its own with the row number as tag. Decimal texts become numbers, all else stays
/// as it is served. OIDs are numbers and everything has a name, so Telegraf needs no module.
namespace telegrafWriter
{
[[nodiscard]] std::string write(const ServedMapping &served);
} // namespace telegrafWriter
