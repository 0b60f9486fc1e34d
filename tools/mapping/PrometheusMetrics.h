#pragma once

#include "PublishedConversions.h"
#include "ServedObjects.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The metrics that the Prometheus SNMP exporter makes of one object, for those who write its
/// modules and for those who query it. A number is the value of its metric; a label or a text is a
/// label of a metric that is 1.
namespace prometheusMetrics
{
/// The type in a module.
[[nodiscard]] std::string type(const ServedObject &object);

/// The numbers that it takes from a text; none: the text becomes a label.
[[nodiscard]] std::span<const publishedConversion::Extract> extracts(const ServedObject &object);
/// The names of its metrics: one, or for a date one number per part.
[[nodiscard]] std::vector<std::string> names(const ServedObject &object);
/// Whether its metrics have its value, as against one that has a label with the object's name.
[[nodiscard]] bool isNumber(const ServedObject &object);
/// Whether it is a set of states: a metric per label, 1 while it applies and otherwise 0.
[[nodiscard]] bool isStateSet(const ServedObject &object);

/// The number that one served unit stands for: "0.01"; empty if it is 1. An exporter since 0.25
/// multiplies by it.
[[nodiscard]] std::string scale(const ServedObject &object);
/// How many decimal places the value of a metric has.
[[nodiscard]] unsigned shownPlaces(const ServedObject &object, bool isScaled);
/// Of the metric. Without a scale in the format, they have it: "in 0.1 dBm".
[[nodiscard]] std::string units(const ServedObject &object, bool isScaled);

/// A number in hundredths of what a manager reads, as the metrics have it: its label, or the
/// number.
[[nodiscard]] std::string valueText(const ServedObject &object, std::int64_t hundredths,
                                    bool isScaled);

/// The label with the row number.
[[nodiscard]] std::string rowLabel(const ServedTable &table);
/// The columns whose texts are labels of all metrics of the row.
[[nodiscard]] std::vector<const ServedObject *> namesOfRows(const ServedMapping &served,
                                                            std::size_t table);
} // namespace prometheusMetrics
