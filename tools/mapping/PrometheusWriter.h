#pragma once

#include "ServedObjects.h"

#include <array>
#include <string>

/// A module for the Prometheus SNMP exporter: every scalar and column is a metric, columns with the
/// row number as a label and, on request, with the texts of other columns. Decimal
/// text becomes a number, a date one number per part; labelled numbers and other text become info
/// metrics with the value 1.
namespace prometheusWriter
{
/// The releases of the exporter that changed the format: since 0.23 credentials are apart from the
/// modules, and since 0.25 a metric can have a scale.
inline constexpr std::array<const char *, 3> releases{"0.21", "0.23", "0.25"};

/// Whether an exporter of this release scales metrics.
[[nodiscard]] bool hasScale(const std::string &release);

/// A module for one of these releases, and for later ones up to the next.
[[nodiscard]] std::string write(const ServedMapping &served, const std::string &release);
} // namespace prometheusWriter
