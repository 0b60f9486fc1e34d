#include "PrometheusRules.h"

#include "AlarmWords.h"
#include "PrometheusMetrics.h"
#include "PrometheusWriter.h"
#include "ServedAlarms.h"
#include "SmiText.h"

#include <map>
#include <string_view>

#include <yaml-cpp/yaml.h>

namespace
{
/// How long a device may be silent: two scrapes of a minute may fail.
constexpr const char *patience = "3m";
constexpr const char *silenceSeverity = "major";
constexpr const char *unknownValue = "unknown";

/// A text that a template leaves as it is.
std::string plain(std::string text)
{
    constexpr std::string_view opening = "{{";
    constexpr std::string_view shown = "{{\"{{\"}}";
    for (std::size_t at = text.find(opening); at != std::string::npos;
         at = text.find(opening, at + shown.size())) {
        text.replace(at, opening.size(), shown);
    }
    return text;
}

std::string labelOf(const std::string &name)
{
    return "{{ $labels." + name + " }}";
}

class Annotations
{
public:
    Annotations(const ServedMapping &served, const ServedAlarm &alarm, bool isScaled)
        : _served(served), _alarm(alarm), _object(servedAlarms::objectOf(served, alarm)),
          _isScaled(isScaled)
    {
    }

    /// By name, with the objects that are sent along and are one metric.
    [[nodiscard]] std::map<std::string, std::string> all() const
    {
        std::map<std::string, std::string> all{{"summary", summary()},
                                               {"description", description()}};
        for (const ServedObject *each : servedAlarms::alongWith(_served, _alarm)) {
            if (each != &_object && isReachable(*each)) {
                all.emplace(each->notes.name, valueOf(*each));
            }
        }
        return all;
    }

private:
    [[nodiscard]] std::string summary() const
    {
        return plain(_alarm.notes.text.empty() ? _alarm.notes.name : _alarm.notes.text);
    }

    /// "shelf.example.net: portReceivedPower of row 3 is -41.2 dBm (alarm below -40 until -38)."
    [[nodiscard]] std::string description() const
    {
        const std::string units = plain(prometheusMetrics::units(_object, _isScaled));
        const std::string value = valueOf(_object) + (units.empty() ? "" : ' ' + units);
        const std::string subject = labelOf("instance") + ": " + _object.notes.name + row();
        if (hasEnd()) {
            return subject + " is " + value + " (" + reason() + ").";
        }
        return subject + " has changed" + (isOneMetric(_object) ? " and is " + value : "") + '.';
    }

    [[nodiscard]] bool isReachable(const ServedObject &object) const
    {
        const bool isNear = !object.table || object.table == _object.table;
        return isNear && !object.instances.empty() && isOneMetric(object);
    }

    static bool isOneMetric(const ServedObject &object)
    {
        return prometheusMetrics::names(object).size() == 1;
    }

    [[nodiscard]] bool hasEnd() const { return servedAlarms::hasClear(_alarm); }

    [[nodiscard]] std::string row() const
    {
        return _object.table ? " of row " + labelOf(rowLabelOf(*_object.table)) : "";
    }

    [[nodiscard]] std::string rowLabelOf(std::size_t table) const
    {
        return prometheusMetrics::rowLabel(_served.tables[table]);
    }

    /// The present value on the device of the alert, and in its row.
    [[nodiscard]] std::string valueOf(const ServedObject &object) const
    {
        const bool isNumber = prometheusMetrics::isNumber(object);
        std::string series = prometheusMetrics::names(object).front() + "{job=%q,instance=%q";
        std::string labels = " $labels.job $labels.instance";
        if (object.table) {
            const std::string label = rowLabelOf(*object.table);
            series += ',' + label + "=%q";
            labels += " $labels." + label;
        }
        series += prometheusMetrics::isStateSet(object) ? "} == 1" : "}";
        const std::string shown =
            isNumber ? "value | printf `%." +
                           std::to_string(prometheusMetrics::shownPlaces(object, _isScaled)) + "f`"
                     : "label `" + object.notes.name + '`';
        return "{{ with printf `" + series + '`' + labels + " | query }}{{ . | first | " + shown +
               " }}{{ else }}" + unknownValue + "{{ end }}";
    }

    [[nodiscard]] std::string reason() const
    {
        std::string values;
        for (const std::int64_t each : _alarm.raise) {
            values += (values.empty() ? "" : " or ") + textOf(each);
        }
        const bool hasOwnEnd = _alarm.clear && _alarm.clear != _alarm.raise.front();
        return plain("alarm " + relation() + ' ' + values +
                     (hasOwnEnd ? " until " + textOf(*_alarm.clear) : ""));
    }

    [[nodiscard]] std::string relation() const
    {
        if (alarmWords::hasLimits(_alarm.notes.condition)) {
            return std::string(alarmWords::word(_alarm.notes.condition));
        }
        return _alarm.notes.condition == AlarmCondition::notEqual ? "unless" : "if";
    }

    [[nodiscard]] std::string textOf(std::int64_t hundredths) const
    {
        return prometheusMetrics::valueText(_object, hundredths, _isScaled);
    }

    const ServedMapping &_served;
    const ServedAlarm &_alarm;
    const ServedObject &_object;
    bool _isScaled;
};

class Writer
{
public:
    Writer(const ServedMapping &served, const PrometheusRuleOptions &options)
        : _served(served), _options(options), _name(metricsName(served.module))
    {
    }

    std::string write()
    {
        _out << YAML::BeginMap << YAML::Key << "groups" << YAML::Value << YAML::BeginSeq;
        writeSilenceGroup();
        std::map<std::uint32_t, std::vector<const ServedAlarm *>> groups;
        for (const ServedAlarm &alarm : _served.alarms) {
            if (servedAlarms::isWatched(alarm)) {
                groups[alarm.notes.every].push_back(&alarm);
            }
        }
        for (const auto &[interval, alarms] : groups) {
            writeGroup(interval, alarms);
        }
        _out << YAML::EndSeq << YAML::EndMap;
        return "# Prometheus alerting rules, for the metrics of SNMP exporter " + _options.release +
               "; generated from a mapping.\n"
               "# Any Prometheus since 2.0 takes them. ALERTS keeps an alarm raised between its "
               "limits and without a value.\n" +
               _out.c_str() + '\n';
    }

private:
    void writeSilenceGroup()
    {
        const std::string stem = smiText::capitalised(smiText::stem(_served.module.name));
        _out << YAML::BeginMap;
        writeField("name", _name);
        _out << YAML::Key << "rules" << YAML::Value << YAML::BeginSeq;
        writeSilence(stem + "Unreachable", prometheusExpressions::unreachable(_options),
                     labelOf("instance") + " does not answer.");
        const std::string expression = prometheusExpressions::withoutValues(_served, _options);
        if (!expression.empty()) {
            writeSilence(stem + "WithoutValues", expression,
                         labelOf("instance") +
                             " answers without values: its agent or its device is silent.");
        }
        _out << YAML::EndSeq << YAML::EndMap;
    }

    void writeSilence(const std::string &name, const std::string &expression,
                      const std::string &summary)
    {
        _out << YAML::BeginMap;
        writeField("alert", name);
        writeField("expr", expression);
        writeField("for", patience);
        writeLabels(silenceSeverity);
        _out << YAML::Key << "annotations" << YAML::Value << YAML::BeginMap;
        writeText("summary", summary);
        _out << YAML::EndMap << YAML::EndMap;
    }

    void writeGroup(std::uint32_t interval, const std::vector<const ServedAlarm *> &alarms)
    {
        const std::string seconds = std::to_string(interval) + 's';
        _out << YAML::BeginMap;
        writeField("name", _name + '_' + seconds);
        writeField("interval", seconds);
        _out << YAML::Key << "rules" << YAML::Value << YAML::BeginSeq;
        for (const ServedAlarm *alarm : alarms) {
            writeAlarm(*alarm);
        }
        _out << YAML::EndSeq << YAML::EndMap;
    }

    void writeAlarm(const ServedAlarm &alarm)
    {
        _out << YAML::BeginMap;
        writeField("alert", alarm.notes.name);
        _out << YAML::Key << "expr" << YAML::Value << YAML::Literal
             << prometheusExpressions::raised(_served, alarm, _options);
        writeLabels(alarm.notes.severity);
        const Annotations annotations(_served, alarm, prometheusWriter::hasScale(_options.release));
        _out << YAML::Key << "annotations" << YAML::Value << YAML::BeginMap;
        for (const auto &[name, text] : annotations.all()) {
            writeText(name, text);
        }
        _out << YAML::EndMap << YAML::EndMap;
    }

    void writeLabels(const std::string &severity)
    {
        _out << YAML::Key << "labels" << YAML::Value << YAML::BeginMap;
        writeField(prometheusExpressions::severityLabel, severity);
        writeField(prometheusExpressions::moduleLabel, _name);
        _out << YAML::EndMap;
    }

    void writeField(const char *key, const std::string &value)
    {
        _out << YAML::Key << key << YAML::Value << value;
    }

    void writeText(const std::string &key, const std::string &text)
    {
        _out << YAML::Key << key << YAML::Value << YAML::DoubleQuoted << text;
    }

    const ServedMapping &_served;
    const PrometheusRuleOptions &_options;
    std::string _name;
    YAML::Emitter _out;
};
} // namespace

std::string prometheusRules::write(const ServedMapping &served,
                                   const PrometheusRuleOptions &options)
{
    return Writer(served, options).write();
}
