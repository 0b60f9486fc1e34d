#pragma once

#include "PrometheusExpressions.h"
#include "ServedObjects.h"

#include <string>

/// Alerting rules for Prometheus, on the metrics of the exporter's module: one for each alarm of
/// the mapping, with its name, limits, severity and text, and two for devices that are silent. A
/// rule holds for every device and row by itself.
namespace prometheusRules
{
[[nodiscard]] std::string write(const ServedMapping &served, const PrometheusRuleOptions &options);
} // namespace prometheusRules
