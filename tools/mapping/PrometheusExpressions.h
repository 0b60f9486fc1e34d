#pragma once

#include "ServedObjects.h"

#include <string>
#include <vector>

/// What the rules of a mapping depend on besides it.
struct PrometheusRuleOptions {
    /// The release of the exporter, as for its module.
    std::string release;
    /// The jobs that scrape the devices; none: any job.
    std::vector<std::string> jobs{};
};

/// The PromQL expressions of alerting rules. An alarm that is raised stays while its value is
/// between its limits, and while its value is missing; a device that Prometheus no longer scrapes
/// has no alarms. They need nothing that Prometheus 2.0 does not have.
namespace prometheusExpressions
{
/// The label that tells the alarms of this mapping from those of others.
inline constexpr const char *moduleLabel = "module";
inline constexpr const char *severityLabel = "severity";

/// Has one element for each raised alarm, with the labels of its device and row.
[[nodiscard]] std::string raised(const ServedMapping &served, const ServedAlarm &alarm,
                                 const PrometheusRuleOptions &options);

/// Has one element for each device whose master does not answer.
[[nodiscard]] std::string unreachable(const PrometheusRuleOptions &options);
/// Has one element for each device that answers without values; empty if the mapping has none.
[[nodiscard]] std::string withoutValues(const ServedMapping &served,
                                        const PrometheusRuleOptions &options);
} // namespace prometheusExpressions
