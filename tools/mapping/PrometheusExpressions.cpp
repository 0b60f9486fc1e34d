#include "PrometheusExpressions.h"

#include "AlarmWords.h"
#include "PrometheusMetrics.h"
#include "PrometheusWriter.h"
#include "PublishedObjects.h"
#include "ServedAlarms.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace
{
using Texts = std::vector<std::string>;

/// Prometheus looks back five minutes for the latest sample. An interval up to half of that still
/// sees the state of an alarm if one evaluation was missed; with a longer one the rule looks back
/// by itself, but not as far as the evaluation before the last.
constexpr std::uint32_t longestLookBack = 150;
/// Seconds that a change is reported for at least, and evaluations that it is reported for.
constexpr std::uint32_t shortestReport = 300;
constexpr std::uint32_t looksOfReport = 2;
/// Objects that are looked for before a device counts as silent: one alone may fail.
constexpr std::size_t signsOfLife = 8;
constexpr std::int64_t hundred = 100;

std::string joined(const Texts &texts, const std::string &separator)
{
    std::string all;
    for (const std::string &text : texts) {
        all += (all.empty() ? "" : separator) + text;
    }
    return all;
}

std::string escaped(const std::string &text, std::string_view special)
{
    std::string all;
    for (const char each : text) {
        all += special.find(each) == std::string_view::npos ? "" : "\\";
        all += each;
    }
    return all;
}

std::string quoted(const std::string &text)
{
    return '"' + escaped(text, "\\\"") + '"';
}

/// `state="up"`, or `state=~"up|down"`
std::string isOneOf(const std::string &label, const Texts &texts)
{
    if (texts.size() == 1) {
        return label + '=' + quoted(texts.front());
    }
    Texts patterns;
    for (const std::string &text : texts) {
        patterns.push_back(escaped(text, "\\.+*?()|[]{}^$"));
    }
    return label + "=~" + quoted(joined(patterns, "|"));
}

/// The series of a metric that the jobs have scraped.
std::string series(const std::string &metric, const Texts &jobs, Texts matchers = {})
{
    if (!jobs.empty()) {
        matchers.push_back(isOneOf("job", jobs));
    }
    return matchers.empty() ? metric : metric + '{' + joined(matchers, ",") + '}';
}

class Alarm
{
public:
    Alarm(const ServedMapping &served, const ServedAlarm &alarm,
          const PrometheusRuleOptions &options)
        : _alarm(alarm), _object(servedAlarms::objectOf(served, alarm)), _jobs(options.jobs),
          _module(metricsName(served.module)), _name(_object.notes.name),
          _isScaled(prometheusWriter::hasScale(options.release))
    {
        if (_object.table) {
            for (const auto *each : prometheusMetrics::namesOfRows(served, *_object.table)) {
                _rowNames.push_back(each->notes.name);
            }
        }
    }

    [[nodiscard]] std::string expression() const
    {
        if (_alarm.notes.condition == AlarmCondition::changed) {
            return prometheusMetrics::isNumber(_object) ? changedNumber() : changedText();
        }
        std::string text = holds(_alarm.raise);
        if (_alarm.clear && _alarm.clear != _alarm.raise.front()) {
            text += "\nor " + holds({*_alarm.clear}) + " and" +
                    ignoring(with(ruleLabels(), _rowNames)) + firing();
        }
        return text + "\nor (max" + without(ruleLabels()) + '(' + firing() + ") unless" +
               ignoring(labelsOfValue()) + series(metric(), _jobs) + ") and on (job, instance) " +
               series("up", _jobs);
    }

private:
    [[nodiscard]] std::string metric() const { return prometheusMetrics::names(_object).front(); }

    /// Those that a rule adds to the labels of its expression.
    static Texts ruleLabels()
    {
        return {"alertname", "alertstate", prometheusExpressions::moduleLabel,
                prometheusExpressions::severityLabel};
    }

    static Texts with(Texts texts, const Texts &more)
    {
        texts.insert(texts.end(), more.begin(), more.end());
        return texts;
    }

    /// Those of the metric that may differ while the row has the same alarm.
    [[nodiscard]] Texts labelsOfValue() const
    {
        return prometheusMetrics::isNumber(_object) ? _rowNames : with({_name}, _rowNames);
    }

    static std::string ignoring(const Texts &labels)
    {
        return labels.empty() ? " " : " ignoring (" + joined(labels, ", ") + ") ";
    }

    static std::string without(const Texts &labels)
    {
        return " without (" + joined(labels, ", ") + ") ";
    }

    /// The alarms that were raised at the evaluation before.
    [[nodiscard]] std::string firing() const
    {
        const std::string alerts =
            series("ALERTS", _jobs,
                   {isOneOf("alertname", {_alarm.notes.name}), isOneOf("alertstate", {"firing"}),
                    isOneOf(prometheusExpressions::moduleLabel, {_module})});
        const std::uint32_t interval = _alarm.notes.every;
        return interval <= longestLookBack ? alerts
                                           : "max_over_time(" + alerts + '[' +
                                                 std::to_string(interval + interval / 2) + "s])";
    }

    /// Whether the condition of the alarm holds with these limits, values or labels.
    [[nodiscard]] std::string holds(const std::vector<std::int64_t> &numbers) const
    {
        if (!prometheusMetrics::isNumber(_object)) {
            return hasState(numbers);
        }
        Texts texts;
        for (const std::int64_t each : numbers) {
            texts.push_back(value() + ' ' + sign() + ' ' + textOf(each));
        }
        return joined(texts, " or ");
    }

    [[nodiscard]] const char *sign() const
    {
        switch (_alarm.notes.condition) {
        case AlarmCondition::above:
            return ">";
        case AlarmCondition::below:
            return "<";
        case AlarmCondition::notEqual:
            return "!=";
        default:
            return "==";
        }
    }

    [[nodiscard]] std::string hasState(const std::vector<std::int64_t> &numbers) const
    {
        const std::string matcher = _alarm.notes.condition == AlarmCondition::notEqual
                                        ? _name + "!=" + quoted(textOf(numbers.front()))
                                        : isOneOf(_name, statesOf(numbers));
        return "max" + without({_name}) + '(' + series(metric(), _jobs, {matcher}) +
               (prometheusMetrics::isStateSet(_object) ? " == 1)" : ")");
    }

    /// Of limits, the labels of all numbers beyond.
    [[nodiscard]] Texts statesOf(const std::vector<std::int64_t> &numbers) const
    {
        Texts states;
        if (!alarmWords::hasLimits(_alarm.notes.condition)) {
            std::transform(numbers.begin(), numbers.end(), std::back_inserter(states),
                           [this](std::int64_t each) { return textOf(each); });
            return states;
        }
        const bool isAbove = _alarm.notes.condition == AlarmCondition::above;
        for (const auto &[number, label] : _object.notes.labels) {
            const std::int64_t beyond = number * hundred - numbers.front();
            if (isAbove ? beyond > 0 : beyond < 0) {
                states.push_back(label);
            }
        }
        return states;
    }

    /// Rounded if it is scaled: as binary fractions, 3 times 0.1 is more than 0.3.
    [[nodiscard]] std::string value() const
    {
        const std::string scale = _isScaled ? prometheusMetrics::scale(_object) : "";
        const std::string value = series(metric(), _jobs);
        return scale.empty() ? value : "round(" + value + ", " + scale + ')';
    }

    [[nodiscard]] std::string textOf(std::int64_t hundredths) const
    {
        return prometheusMetrics::valueText(_object, hundredths, _isScaled);
    }

    [[nodiscard]] std::string duringReport(const std::string &metric) const
    {
        const std::uint32_t seconds = std::max(looksOfReport * _alarm.notes.every, shortestReport);
        return series(metric, _jobs) + '[' + std::to_string(seconds) + "s]";
    }

    [[nodiscard]] std::string changedNumber() const
    {
        Texts changes;
        for (const std::string &metric : prometheusMetrics::names(_object)) {
            changes.push_back("changes(" + duringReport(metric) + ") > 0");
        }
        return joined(changes, "\nor ");
    }

    /// Each text has a series of its own: more than one in the same time is a change.
    [[nodiscard]] std::string changedText() const
    {
        const std::string texts = prometheusMetrics::isStateSet(_object)
                                      ? "max_over_time(" + duringReport(metric()) + ") == 1"
                                      : "count_over_time(" + duringReport(metric()) + ')';
        Texts others = _rowNames;
        const bool isRowName = std::erase(others, _name) != 0;
        return "count" + without({_name}) +
               (isRowName && !others.empty() ? "(max" + without(others) + '(' + texts + "))"
                                             : '(' + texts + ')') +
               " > 1";
    }

    const ServedAlarm &_alarm;
    const ServedObject &_object;
    const Texts &_jobs;
    std::string _module;
    std::string _name;
    bool _isScaled;
    /// Labels of all metrics of the row.
    Texts _rowNames;
};
} // namespace

std::string prometheusExpressions::raised(const ServedMapping &served, const ServedAlarm &alarm,
                                          const PrometheusRuleOptions &options)
{
    return Alarm(served, alarm, options).expression();
}

std::string prometheusExpressions::unreachable(const PrometheusRuleOptions &options)
{
    return series("up", options.jobs) + " == 0";
}

std::string prometheusExpressions::withoutValues(const ServedMapping &served,
                                                 const PrometheusRuleOptions &options)
{
    // Row numbers come from the agent, whatever the device does.
    Texts signs;
    for (const ServedObject &object : served.objects) {
        if (signs.size() < signsOfLife && !object.isRowNumber() &&
            publishedObjects::isPublished(object)) {
            signs.push_back(prometheusMetrics::names(object).front());
        }
    }
    if (signs.empty()) {
        return "";
    }
    return series("up", options.jobs) + " == 1 unless on (job, instance) " +
           series("", options.jobs, {isOneOf("__name__", signs)});
}
