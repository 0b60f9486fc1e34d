#pragma once

#include "ServedObjects.h"

#include <string>

/// An SNMP input for Telegraf (TOML): the scalars are fields of one measurement, and each table is
/// a measurement with the row number, and the texts that name rows, as its tags. Decimal text and
/// scaled numbers become numbers with their decimal places; everything else stays as it is served.
/// OIDs are numeric and all fields have names, so Telegraf needs no MIB.
namespace telegrafWriter
{
[[nodiscard]] std::string write(const ServedMapping &served);
} // namespace telegrafWriter
