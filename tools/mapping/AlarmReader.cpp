#include "AlarmReader.h"

#include "AlarmWords.h"
#include "SourceLife.h"
#include "Suggestions.h"
#include "TextForms.h"

#include <algorithm>

namespace
{
using yamlNodes::fail;

AlarmCondition conditionOf(const YAML::Node &node)
{
    const std::string written = yamlNodes::text(node, "condition");
    const auto condition = alarmWords::conditionIn(written);
    if (!condition) {
        fail(node, "unknown condition " + textForms::quoted(written) +
                       suggestions::among(written, alarmWords::conditions));
    }
    return *condition;
}

std::string severityOf(const YamlMap &map)
{
    const YAML::Node node = map.find("severity");
    if (!node) {
        return AlarmNotes().severity;
    }
    std::string severity = yamlNodes::text(node, "severity");
    if (!alarmWords::isSeverity(severity)) {
        fail(node, "unknown severity " + textForms::quoted(severity) +
                       suggestions::among(severity, alarmWords::severities));
    }
    return severity;
}

std::vector<std::string> textsIn(const YAML::Node &node, std::string_view what)
{
    std::vector<std::string> texts;
    for (const YAML::Node &each : yamlNodes::list(node, what)) {
        std::string text = yamlNodes::text(each, what);
        if (std::find(texts.begin(), texts.end(), text) != texts.end()) {
            fail(each, std::string(what) + ' ' + textForms::quoted(text) + " is a duplicate");
        }
        texts.push_back(std::move(text));
    }
    if (texts.empty()) {
        fail(node, std::string(what) + " is empty");
    }
    return texts;
}

std::string limitOf(const YAML::Node &node, std::string_view what)
{
    std::string limit = yamlNodes::text(node, what);
    if (!alarmWords::hundredthsIn(limit)) {
        fail(node, std::string(what) + ' ' + textForms::quoted(limit) +
                       " is not a number with at most two decimal places");
    }
    return limit;
}

/// What raises it.
std::vector<std::string> raiseOf(const YamlMap &map, AlarmCondition condition)
{
    if (condition == AlarmCondition::changed) {
        if (map.find("raise")) {
            fail(map.find("raise"), "the condition changed needs no raise");
        }
        return {};
    }
    const YAML::Node node = map.required("raise");
    if (condition == AlarmCondition::oneOf) {
        return textsIn(node, "raise");
    }
    return {alarmWords::hasLimits(condition) ? limitOf(node, "raise")
                                             : yamlNodes::text(node, "raise")};
}

std::string clearOf(const YamlMap &map, AlarmCondition condition)
{
    const YAML::Node node = map.find("clear");
    if (!node) {
        return {};
    }
    if (!alarmWords::hasLimits(condition)) {
        fail(node, "only the conditions above and below have a clear");
    }
    return limitOf(node, "clear");
}

/// The name of the object, which only a list of its own states.
std::string objectOf(const YamlMap &map, const std::string &holder)
{
    if (holder.empty()) {
        return yamlNodes::text(map.required("object"), "object");
    }
    if (map.find("object")) {
        fail(map.find("object"), "the alarm belongs to " + holder + ": it names no object");
    }
    return holder;
}

std::uint32_t intervalOf(const YamlMap &map)
{
    const YAML::Node node = map.find("every");
    return node ? static_cast<std::uint32_t>(
                      yamlNodes::number(node, "every", 1, alarmReader::longestInterval))
                : AlarmNotes().every;
}
} // namespace

AlarmNotes alarmReader::read(const YAML::Node &node, YamlErrors &errors, const ModuleNotes &module,
                             const std::string &object)
{
    const YamlMap map(node, errors, "alarm",
                      {"name", "number", "object", "condition", "raise", "clear", "every",
                       "severity", "text", "with", "since", "status", "until", "accept"});
    AlarmNotes alarm;
    alarm.name = errors.valueOf([&] { return yamlNodes::text(map.required("name"), "name"); });
    alarm.number = errors.valueOf([&] {
        return static_cast<std::uint32_t>(
            yamlNodes::number(map.required("number"), "number", 1, mostAlarms));
    });
    alarm.object = errors.valueOf([&] { return objectOf(map, object); });
    // Without its condition, nothing can be said of the limits.
    errors.collect([&] {
        alarm.condition = conditionOf(map.required("condition"));
        alarm.raise = errors.valueOf([&] { return raiseOf(map, alarm.condition); });
        alarm.clear = errors.valueOf([&] { return clearOf(map, alarm.condition); });
    });
    alarm.every = errors.valueOf([&] { return intervalOf(map); });
    alarm.severity = errors.valueOf([&] { return severityOf(map); });
    alarm.text = errors.valueOf([&] { return map.text("text"); });
    if (map.find("with")) {
        alarm.with = errors.valueOf([&] { return textsIn(map.find("with"), "with"); });
    }
    alarm.life = errors.valueOf([&] { return sourceLife::life(map, module, {}); });
    return alarm;
}
