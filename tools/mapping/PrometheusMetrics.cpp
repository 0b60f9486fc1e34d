#include "PrometheusMetrics.h"

#include "Numbers.h"
#include "ObjectTypes.h"
#include "PublishedConversions.h"
#include "SnmpObjConvertStrategy.h"

namespace
{
constexpr unsigned decimalPlaces = 2;
constexpr std::int64_t hundred = 100;
constexpr const char *stateSet = "EnumAsStateSet";
constexpr const char *info = "EnumAsInfo";
} // namespace

std::string prometheusMetrics::type(const ServedObject &object)
{
    if (object.isLabelledNumber()) {
        return object.notes.monitoring.hasStates ? stateSet : info;
    }
    return object.isCounter() ? "counter" : objectType::of(object.info.asnType).metricType;
}

std::vector<std::string> prometheusMetrics::names(const ServedObject &object)
{
    const std::string &name = object.notes.name;
    if (type(object) == info) {
        return {name + "_info"};
    }
    std::vector<std::string> names;
    for (const publishedConversion::Extract &extract : extracts(object)) {
        names.push_back(name + extract.suffix);
    }
    return names.empty() ? std::vector{name} : names;
}

bool prometheusMetrics::isNumber(const ServedObject &object)
{
    const std::string metric = type(object);
    return metric == "gauge" || metric == "counter" || !extracts(object).empty();
}

bool prometheusMetrics::isStateSet(const ServedObject &object)
{
    return type(object) == stateSet;
}

std::span<const publishedConversion::Extract>
prometheusMetrics::extracts(const ServedObject &object)
{
    if (object.info.asnType != objectType::octetString) {
        return {};
    }
    return publishedConversion::of(object.info).extracts;
}

std::string prometheusMetrics::scale(const ServedObject &object)
{
    const unsigned digits = object.decimalPlaces();
    return digits == 0 ? "" : "0." + std::string(digits - 1, '0') + '1';
}

unsigned prometheusMetrics::shownPlaces(const ServedObject &object, bool isScaled)
{
    const auto *const conversion = conversion::find(object.info.valueType);
    const bool isText = object.info.asnType == objectType::octetString;
    return isText && conversion != nullptr ? conversion->shownPlaces
                                           : (isScaled ? object.decimalPlaces() : 0);
}

std::string prometheusMetrics::units(const ServedObject &object, bool isScaled)
{
    const std::string &units = object.notes.units;
    const std::string unscaled = isScaled ? "" : scale(object);
    return unscaled.empty() ? units : "in " + unscaled + (units.empty() ? "" : ' ' + units);
}

std::string prometheusMetrics::valueText(const ServedObject &object, std::int64_t hundredths,
                                         bool isScaled)
{
    for (const auto &[number, label] : object.notes.labels) {
        if (number * hundred == hundredths) {
            return label;
        }
    }
    return numbers::decimalText(hundredths,
                                decimalPlaces + (isScaled ? object.decimalPlaces() : 0));
}

std::string prometheusMetrics::rowLabel(const ServedTable &table)
{
    return tableStem(table) + "Row";
}

std::vector<const ServedObject *> prometheusMetrics::namesOfRows(const ServedMapping &served,
                                                                 std::size_t table)
{
    std::vector<const ServedObject *> names;
    for (const ServedObject &object : served.objects) {
        if (object.table == table && object.isRowLabel()) {
            names.push_back(&object);
        }
    }
    return names;
}
