#pragma once

#include "ServedObjects.h"

#include <string>

/// A module for the Prometheus SNMP exporter (format of release 0.21): every scalar and column is a
/// metric, columns with the row number as label. Decimal texts become numbers, dates their parts;
/// numbers with labels and other texts become info metrics of value 1.
namespace prometheusWriter
{
[[nodiscard]] std::string write(const ServedMapping &served);
} // namespace prometheusWriter
