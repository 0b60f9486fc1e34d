#include "Listing.h"

#include "AlarmNotifications.h"
#include "AlarmWords.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;
using listing::objectsText;
using listing::rowsText;
using listing::shownOid;

constexpr std::array<std::string_view, 8> headings{"OID",    "NAME",       "OBJECT", "TYPE",
                                                   "ACCESS", "CONVERSION", "ROWS",   "UNITS"};
constexpr std::string_view bold = "\033[1m";
constexpr std::string_view yellow = "\033[33m";
constexpr std::string_view plain = "\033[0m";

using Line = std::array<std::string, headings.size()>;

Line lineOf(const ServedObject &object)
{
    return {shownOid(object),
            object.notes.name,
            objectsText(object),
            mappingWords::snmpType(object.info.asnType),
            object.isWritable() ? "read-write" : "read-only",
            object.isRowNumber() ? "" : mappingWords::conversion(object.info.valueType),
            rowsText(object),
            object.notes.units};
}

std::vector<Line> linesOf(const ServedMapping &served)
{
    std::vector<Line> lines;
    lines.reserve(served.objects.size());
    for (const ServedObject &object : served.objects) {
        lines.push_back(lineOf(object));
    }
    return lines;
}

using Row = std::vector<std::string>;

/// Under their heading, with a further column if there are values.
std::vector<Row> rowsOf(const ServedMapping &served, const std::vector<std::string> &values)
{
    std::vector<Row> rows{Row(headings.begin(), headings.end())};
    for (const Line &line : linesOf(served)) {
        rows.emplace_back(line.begin(), line.end());
    }
    for (std::size_t index = 0; !values.empty() && index < rows.size(); ++index) {
        rows[index].push_back(index == 0 ? "VALUE" : values[index - 1]);
    }
    return rows;
}

std::string quotedCsv(const std::string &field)
{
    if (field.find_first_of("\",\r\n") == std::string::npos) {
        return field;
    }
    std::string quoted = "\"";
    for (const char each : field) {
        quoted += each == '"' ? "\"\"" : std::string(1, each);
    }
    return quoted + '"';
}

Json labelsOf(const ObjectNotes &notes)
{
    Json labels = Json::object();
    for (const auto &[number, label] : notes.labels) {
        labels[std::to_string(number)] = label;
    }
    return labels;
}

Json entryOf(const ServedMapping &served, const ServedObject &object)
{
    Json entry{
        {"oid", shownOid(object)},
        {"name", object.notes.name},
        {"kind", !object.table          ? "scalar"
                 : object.isRowNumber() ? "rowNumber"
                                        : "column"},
        {"type", mappingWords::snmpType(object.info.asnType)},
        {"access", object.isWritable() ? "read-write" : "read-only"},
        {"conversion", object.isRowNumber() ? "" : mappingWords::conversion(object.info.valueType)},
        {"units", object.notes.units},
        {"description", object.notes.description},
        {"labels", labelsOf(object.notes)}};
    if (object.table) {
        entry["table"] = served.tables[*object.table].notes.name;
        entry["column"] = object.column;
    }
    return entry;
}

Json instancesOf(const ServedObject &object)
{
    Json instances = Json::array();
    for (const ServedInstance &instance : object.instances) {
        Json entry{{"oid", oidText(instance.oid)}, {"name", object.notes.name}};
        entry["object"] =
            instance.objId ? Json(numbers::objectIdText(*instance.objId)) : Json(nullptr);
        entry["row"] = object.table ? Json(instance.row) : Json(nullptr);
        instances.push_back(std::move(entry));
    }
    return instances;
}

Json numberOf(std::int64_t hundredths)
{
    constexpr std::int64_t hundred = 100;
    return hundredths % hundred == 0 ? Json(hundredths / hundred)
                                     : Json(static_cast<double>(hundredths) / hundred);
}

Json alarmOf(const ServedMapping &served, const ServedAlarm &alarm)
{
    const AlarmNotes &notes = alarm.notes;
    Json raise = Json::array();
    for (const std::int64_t number : alarm.raise) {
        raise.push_back(numberOf(number));
    }
    Json notifications = Json::array();
    for (const AlarmNotification &each : alarmNotifications::of(served, alarm)) {
        notifications.push_back({{"name", each.name}, {"oid", oidText(each.oid)}});
    }
    return {{"name", notes.name},
            {"object", notes.object},
            {"condition", alarmWords::word(notes.condition)},
            {"raise", std::move(raise)},
            {"clear", alarm.clear ? numberOf(*alarm.clear) : Json()},
            {"every", notes.every},
            {"severity", notes.severity},
            {"text", notes.text},
            {"with", notes.with},
            {"status", notes.life.status.empty() ? "current" : notes.life.status},
            {"notifications", std::move(notifications)}};
}
} // namespace

std::string listing::rowsText(const ServedObject &object)
{
    if (!object.table) {
        return "";
    }
    std::string text;
    for (std::size_t at = 0; at < object.instances.size();) {
        std::size_t end = at;
        while (end + 1 < object.instances.size() &&
               object.instances[end + 1].row == object.instances[end].row + 1) {
            ++end;
        }
        text += (text.empty() ? "" : ",") + std::to_string(object.instances[at].row);
        if (end > at) {
            text += ".." + std::to_string(object.instances[end].row);
        }
        at = end + 1;
    }
    return text;
}

std::string listing::objectsText(const ServedObject &object)
{
    if (object.isRowNumber()) {
        return "";
    }
    std::string all;
    bool areEven = true;
    const int first = *object.instances.front().objId;
    for (std::size_t index = 0; index < object.instances.size(); ++index) {
        const std::uint16_t objId = *object.instances[index].objId;
        all += (index == 0 ? "" : ",") + numbers::objectIdText(objId);
        areEven = areEven && objId == first + static_cast<int>(index);
    }
    if (!areEven || object.instances.size() == 1) {
        return all;
    }
    return numbers::objectIdText(*object.instances.front().objId) + ".." +
           numbers::objectIdText(*object.instances.back().objId);
}

std::string listing::shownOid(const ServedObject &object)
{
    return oidText(object.table ? object.oid : object.instances.front().oid);
}

std::string listing::table(const ServedMapping &served, bool inColour,
                           const std::vector<std::string> &values)
{
    std::vector<Row> rows = rowsOf(served, values);
    std::vector<std::size_t> widths(rows.front().size());
    for (Row &row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            row[column] =
                textForms::isUtf8(row[column]) ? row[column] : textForms::oneLine(row[column]);
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    std::string text;
    for (std::size_t index = 0; index < rows.size(); ++index) {
        std::string line;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            line += rows[index][column];
            line.append(widths[column] - rows[index][column].size() + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        const bool isMarked = inColour && (index == 0 || served.objects[index - 1].isWritable());
        const std::string_view mark = index == 0 ? bold : yellow;
        text += isMarked ? std::string(mark) + line + std::string(plain) : line;
        text += '\n';
    }
    return text;
}

std::string listing::json(const ServedMapping &served)
{
    Json objects = Json::array();
    Json instances = Json::array();
    for (const ServedObject &object : served.objects) {
        objects.push_back(entryOf(served, object));
        for (Json &instance : instancesOf(object)) {
            instances.push_back(std::move(instance));
        }
    }
    Json all{{"module", served.module.name},
             {"base", oidText(served.base)},
             {"objects", std::move(objects)},
             {"instances", std::move(instances)}};
    for (const ServedAlarm &alarm : served.alarms) {
        all["alarms"].push_back(alarmOf(served, alarm));
    }
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string listing::csv(const ServedMapping &served)
{
    std::string text;
    for (const std::string_view heading : headings) {
        text += (text.empty() ? "" : ",") + std::string(heading);
    }
    text += '\n';
    for (const Line &line : linesOf(served)) {
        for (std::size_t column = 0; column < line.size(); ++column) {
            text += (column == 0 ? "" : ",") + quotedCsv(line[column]);
        }
        text += '\n';
    }
    return text;
}
