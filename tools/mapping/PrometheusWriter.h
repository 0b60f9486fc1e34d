#pragma once

#include "ServedObjects.h"

#include <string>

/// A module for the Prometheus SNMP exporter (format of release 0.21): every scalar and column is a
/// metric, columns with the row number as a label. Decimal text becomes a number, a date one number
/// per part; labelled numbers and other text become info metrics with the value 1.
namespace prometheusWriter
{
[[nodiscard]] std::string write(const ServedMapping &served);
} // namespace prometheusWriter
