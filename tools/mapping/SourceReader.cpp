#include "SourceReader.h"

#include "MappingWords.h"
#include "Numbers.h"
#include "ObjectTypes.h"
#include "TextForms.h"
#include "WholeFile.h"
#include "YamlNodes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <set>

namespace
{
using yamlNodes::fail;

constexpr std::uint64_t anyByte = std::numeric_limits<std::uint8_t>::max();
constexpr std::uint64_t anyShort = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t anyWord = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t usualRows = 8;
constexpr std::uint64_t firstColumn = 2;
constexpr std::size_t scalarArcs = 3;
constexpr std::size_t allArcs = 4;
constexpr std::uint64_t widestValue = 64;

bool isModuleName(std::string_view name)
{
    return !name.empty() && name.front() >= 'A' && name.front() <= 'Z' &&
           mappingWords::isLabel('a' + std::string(name.substr(1)));
}

/// The numbers of "1.2.3", or nothing.
std::optional<std::vector<std::uint32_t>> dottedNumbers(std::string_view text)
{
    std::vector<std::uint32_t> numbers;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t dot = std::min(text.find('.', start), text.size());
        const std::string_view part = text.substr(start, dot - start);
        const auto number = numbers::unsignedIn(part, anyWord);
        if (!number || part.starts_with("0x") || part.starts_with("0X")) {
            return std::nullopt;
        }
        numbers.push_back(static_cast<std::uint32_t>(*number));
        start = dot + 1;
    }
    return numbers;
}

/// Dotted numbers with a leading period.
std::string dottedSuffix(const YAML::Node &node, std::string_view what)
{
    std::string written = yamlNodes::text(node, what);
    if (!written.starts_with('.') || !dottedNumbers(std::string_view(written).substr(1))) {
        fail(node, std::string(what) + ' ' + textForms::quoted(written) +
                       " is not dotted numbers with a leading period");
    }
    return written;
}

/// A device object id: hexadecimal after 0x.
std::uint16_t objectId(const YAML::Node &node)
{
    const std::string written = yamlNodes::text(node, "object id");
    const auto number = numbers::unsignedIn(written, anyShort);
    if (!number || written.size() < 3 || (written[1] != 'x' && written[1] != 'X')) {
        fail(node, "object id " + textForms::quoted(written) +
                       " is not a hexadecimal number from 0x0000 to 0xFFFF");
    }
    return static_cast<std::uint16_t>(*number);
}

using CodeOf = std::optional<std::uint16_t> (*)(std::string_view);

std::uint16_t code(const YAML::Node &node, std::string_view what, CodeOf codeOf)
{
    const std::string written = yamlNodes::text(node, what);
    const auto found = codeOf(written);
    if (!found) {
        fail(node, "unknown " + std::string(what) + ' ' + textForms::quoted(written));
    }
    return *found;
}

std::vector<Label> labelsOf(const YAML::Node &node)
{
    std::vector<Label> labels;
    if (!node) {
        return labels;
    }
    if (!node.IsMap()) {
        fail(node, "labels is not a map of numbers to labels");
    }
    for (const auto &entry : node) {
        const std::string number = yamlNodes::text(entry.first, "labelled number");
        std::int32_t value = 0;
        const char *const end = number.data() + number.size();
        const auto [stop, error] = std::from_chars(number.data(), end, value);
        if (error != std::errc{} || stop != end) {
            fail(entry.first, "labelled number " + textForms::quoted(number) +
                                  " is not a 32-bit decimal number");
        }
        const std::string label = yamlNodes::text(entry.second, "label");
        const bool isTaken = std::any_of(labels.begin(), labels.end(), [&](const Label &each) {
            return each.first == value || each.second == label;
        });
        if (isTaken || !mappingWords::isLabel(label)) {
            fail(entry.second, "label " + textForms::quoted(label) +
                                   (isTaken ? " or its number is a duplicate"
                                            : " is not a lower-case letter followed by letters, "
                                              "digits and hyphens"));
        }
        labels.emplace_back(value, label);
    }
    return labels;
}

std::string deviceKindOf(const YamlMap &map)
{
    std::string kind = map.text("kind");
    if (map.find("kind") && !mappingWords::isDeviceKind(kind)) {
        fail(map.find("kind"), "device kind " + textForms::quoted(kind) +
                                   " is not one of unsigned, signed, string, other");
    }
    return kind;
}

/// Only objects with rows may have one value per row.
DeviceNotes deviceOf(const YAML::Node &node, bool hasRows)
{
    if (!node) {
        return {};
    }
    const YamlMap map =
        hasRows ? YamlMap(node, "device", {"kind", "width", "value", "values", "motion"})
                : YamlMap(node, "device", {"kind", "width", "value", "motion"});
    return {.kind = deviceKindOf(map),
            .width = static_cast<std::size_t>(map.number("width", widestValue, 0)),
            .value = map.text("value"),
            .motion = map.text("motion")};
}

/// One value per row, or nothing.
std::vector<std::string> deviceValuesOf(const YAML::Node &device, std::size_t rows)
{
    std::vector<std::string> values;
    const YAML::Node list = device ? device["values"] : YAML::Node(YAML::NodeType::Undefined);
    if (!list) {
        return values;
    }
    for (const YAML::Node &value : yamlNodes::list(list, "values")) {
        values.push_back(yamlNodes::text(value, "value"));
    }
    if (values.size() != rows) {
        fail(list, "values has " + std::to_string(values.size()) + " entries for " +
                       std::to_string(rows) + " rows");
    }
    return values;
}

bool isCounter(const YamlMap &map, std::uint16_t type)
{
    const YAML::Node meaning = map.find("meaning");
    if (!meaning) {
        return false;
    }
    const std::string word = yamlNodes::text(meaning, "meaning");
    if (word != "gauge" && word != "counter") {
        fail(meaning, "meaning " + textForms::quoted(word) + " is neither gauge nor counter");
    }
    if (type != objectType::integer || map.find("labels")) {
        fail(meaning, "meaning is for type integer without labels");
    }
    return word == "counter";
}

MonitoringNotes monitoringOf(const YamlMap &map)
{
    const std::uint16_t type = code(map.required("type"), "type", mappingWords::typeCode);
    const MonitoringNotes notes{.isCounter = isCounter(map, type),
                                .isLabel = map.flag("label"),
                                .hasStates = map.flag("states")};
    if (notes.isLabel && type != objectType::octetString) {
        fail(map.find("label"), "label is for type text");
    }
    if (notes.hasStates && !map.find("labels")) {
        fail(map.find("states"), "states needs labels");
    }
    return notes;
}

/// Reads one source and remembers everything that must be unique.
class Reader
{
public:
    MappingSource read(const YAML::Node &root)
    {
        const YamlMap map(root, "the source", {"module", "scalars", "tables", "cells"});
        readModule(map.find("module"));
        forEach(map.find("scalars"), "scalars", &Reader::readScalar);
        forEach(map.find("tables"), "tables", &Reader::readTable);
        forEach(map.find("cells"), "cells", &Reader::readCell);
        return std::move(_source);
    }

private:
    void forEach(const YAML::Node &node, std::string_view what,
                 void (Reader::*readOne)(const YAML::Node &))
    {
        if (node) {
            for (const YAML::Node &each : yamlNodes::list(node, what)) {
                (this->*readOne)(each);
            }
        }
    }

    void readModule(const YAML::Node &node)
    {
        if (!node) {
            return;
        }
        const YamlMap map(node, "module",
                          {"name", "base", "organization", "contact", "description", "updated"});
        ModuleNotes &module = _source.module;
        module = {.name = map.text("name"),
                  .base = map.find("base") ? dottedSuffix(map.find("base"), "base") : "",
                  .organization = map.text("organization"),
                  .contact = map.text("contact"),
                  .description = map.text("description"),
                  .updated = map.text("updated")};
        if (!module.name.empty() && !isModuleName(module.name)) {
            fail(map.find("name"), "module name " + textForms::quoted(module.name) +
                                       " is not an upper-case letter followed by letters, digits "
                                       "and hyphens");
        }
        if (!module.updated.empty() && !isDay(module.updated)) {
            fail(map.find("updated"),
                 "date " + textForms::quoted(module.updated) + " is not in the form YYYY-MM-DD");
        }
    }

    static bool isDay(std::string_view text)
    {
        constexpr std::string_view pattern = "dddd-dd-dd";
        return text.size() == pattern.size() &&
               std::equal(text.begin(), text.end(), pattern.begin(), [](char each, char wanted) {
                   return wanted == 'd' ? each >= '0' && each <= '9' : each == wanted;
               });
    }

    /// Listed cells each repeat the name of their column, so it need not be unique there.
    enum class Holder { scalar, column, cell };

    ObjectNotes notesOf(const YamlMap &map, Holder holder)
    {
        return {.name = nameOf(map, holder != Holder::cell),
                .description = map.text("description"),
                .units = map.text("units"),
                .labels = labelsOf(map.find("labels")),
                .device = deviceOf(map.find("device"), holder == Holder::column),
                .monitoring = monitoringOf(map)};
    }

    std::string nameOf(const YamlMap &map, bool isUnique)
    {
        std::string name = map.text("name");
        if (name.empty()) {
            return name;
        }
        if (!mappingWords::isName(name)) {
            fail(map.find("name"), "name " + textForms::quoted(name) +
                                       " is not a lower-case letter followed by at most 63 "
                                       "letters and digits");
        }
        if (isUnique && !_names.insert(name).second) {
            fail(map.find("name"), "duplicate name " + textForms::quoted(name));
        }
        return name;
    }

    static void readInfo(const YamlMap &map, SnmpObjInfo &info)
    {
        const YAML::Node access = map.find("access");
        const YAML::Node conversion = map.find("conversion");
        info.asnType = code(map.required("type"), "type", mappingWords::typeCode);
        info.access = access ? code(access, "access", mappingWords::accessCode) : std::uint16_t{1};
        info.valueType = conversion ? code(conversion, "conversion", mappingWords::conversionCode)
                                    : std::uint16_t{0};
        info.attr1 = static_cast<std::uint8_t>(map.number("attr1", anyByte, 0));
        info.attr2 = static_cast<std::uint16_t>(map.number("attr2", anyShort, 0));
        info.flag = static_cast<std::uint8_t>(map.number("flag", anyByte, 0));
        info.text = map.text("text");
    }

    void readScalar(const YAML::Node &node)
    {
        const YamlMap map(node, "scalar",
                          {"name", "description", "units", "labels", "device", "oid", "object",
                           "type", "access", "conversion", "flag", "attr1", "attr2", "text",
                           "magic", "meaning", "states"});
        ScalarEntry entry;
        entry.notes = notesOf(map, Holder::scalar);
        readInfo(map, entry.record);
        entry.record.objId = objectId(map.required("object"));
        entry.record.magic = static_cast<std::uint8_t>(map.number("magic", anyByte, 0));
        readArcs(map.required("oid"), entry.record);
        if (!_scalarIds.insert(entry.record.objId).second) {
            fail(map.find("object"),
                 "duplicate scalar for object " + numbers::objectIdText(entry.record.objId));
        }
        _source.scalars.push_back(std::move(entry));
    }

    void readArcs(const YAML::Node &node, SnmpObjOid &record)
    {
        const std::string written = yamlNodes::text(node, "oid");
        const auto arcs = dottedNumbers(written);
        if (!arcs || (arcs->size() != scalarArcs && arcs->size() != allArcs)) {
            fail(node, "oid " + textForms::quoted(written) +
                           " is not three dotted numbers (with an optional fourth)");
        }
        record.oidArc1 = (*arcs)[0];
        record.oidArc2 = (*arcs)[1];
        record.oidArc3 = (*arcs)[2];
        record.oidArc4 = arcs->size() == allArcs ? arcs->back() : 0;
        if (!_arcs.insert({record.oidArc1, record.oidArc2, record.oidArc3}).second) {
            fail(node, "duplicate oid " + textForms::quoted(written));
        }
    }

    void readTable(const YAML::Node &node)
    {
        const YamlMap map(node, "table",
                          {"name", "node", "description", "kind", "rows", "order", "columns"});
        const std::string tableNode = dottedSuffix(map.required("node"), "node");
        if (!_nodes.insert(tableNode).second) {
            fail(map.find("node"), "duplicate table node " + textForms::quoted(tableNode));
        }
        _source.tables.push_back(
            {.node = tableNode, .name = nameOf(map, true), .description = map.text("description")});
        const YAML::Node columns = map.find("columns");
        if (!columns) {
            return;
        }
        std::vector<std::vector<CellEntry>> grid;
        std::uint64_t next = firstColumn;
        const YAML::Node rowsNode = map.find("rows");
        const auto rows = static_cast<std::size_t>(
            rowsNode ? yamlNodes::number(rowsNode, "rows", 1, anyByte) : usualRows);
        const auto kind = static_cast<std::uint8_t>(map.number("kind", anyByte, 0));
        for (const YAML::Node &column : yamlNodes::list(columns, "columns")) {
            grid.push_back(readColumn(column, rows, next));
            for (CellEntry &cell : grid.back()) {
                cell.record.tableNode = tableNode;
                cell.record.tableKind = kind;
                file(cell, column);
            }
        }
        append(grid, isByRows(map.find("order")), rows);
    }

    static bool isByRows(const YAML::Node &node)
    {
        const std::string order = node ? yamlNodes::text(node, "order") : "rows";
        if (order != "rows" && order != "columns") {
            fail(node, "order " + textForms::quoted(order) + " is neither rows nor columns");
        }
        return order == "rows";
    }

    void append(std::vector<std::vector<CellEntry>> &grid, bool byRows, std::size_t rows)
    {
        const std::size_t cells = grid.size() * rows;
        for (std::size_t index = 0; index < cells; ++index) {
            const std::size_t column = byRows ? index % grid.size() : index / rows;
            const std::size_t row = byRows ? index / grid.size() : index % rows;
            _source.cells.push_back(std::move(grid[column][row]));
        }
    }

    std::vector<CellEntry> readColumn(const YAML::Node &node, std::size_t rows, std::uint64_t &next)
    {
        const YamlMap map(node, "column",
                          {"name",   "description", "units",   "labels",  "device",
                           "column", "first",       "step",    "objects", "type",
                           "access", "conversion",  "flag",    "attr1",   "attr2",
                           "attr3",  "text",        "meaning", "label",   "states"});
        CellEntry entry;
        entry.notes = notesOf(map, Holder::column);
        readInfo(map, entry.record);
        entry.record.column = static_cast<std::uint32_t>(map.number("column", anyWord, next));
        next = entry.record.column + std::uint64_t{1};
        entry.record.attr3 = static_cast<std::uint16_t>(map.number("attr3", anyShort, 0));
        const std::vector<std::uint16_t> objects = objectsOf(map, rows);
        const std::vector<std::string> values = deviceValuesOf(map.find("device"), rows);
        std::vector<CellEntry> cells(rows, entry);
        for (std::size_t row = 0; row < rows; ++row) {
            cells[row].record.objId = objects[row];
            cells[row].record.instance = static_cast<std::uint8_t>(row + 1);
            if (!values.empty()) {
                cells[row].notes.device.value = values[row];
            }
        }
        return cells;
    }

    static std::vector<std::uint16_t> objectsOf(const YamlMap &map, std::size_t rows)
    {
        std::vector<std::uint16_t> objects;
        const YAML::Node list = map.find("objects");
        if (list) {
            for (const YAML::Node &object : yamlNodes::list(list, "objects")) {
                objects.push_back(objectId(object));
            }
            if (map.find("first")) {
                fail(list, "objects and \"first\" exclude each other");
            }
            if (objects.size() != rows) {
                fail(list, "objects has " + std::to_string(objects.size()) + " entries for " +
                               std::to_string(rows) + " rows");
            }
            return objects;
        }
        const YAML::Node firstNode = map.required("first");
        const std::uint64_t first = objectId(firstNode);
        const std::uint64_t step = map.number("step", anyShort, 1);
        if (first + step * (rows - 1) > anyShort) {
            fail(firstNode, "object ids of the rows exceed 0xFFFF");
        }
        for (std::size_t row = 0; row < rows; ++row) {
            objects.push_back(static_cast<std::uint16_t>(first + row * step));
        }
        return objects;
    }

    void readCell(const YAML::Node &node)
    {
        const YamlMap map(node, "cell",
                          {"name",       "description", "units",  "labels", "device", "table",
                           "column",     "row",         "object", "kind",   "type",   "access",
                           "conversion", "flag",        "attr1",  "attr2",  "attr3",  "text",
                           "meaning",    "label",       "states"});
        CellEntry entry;
        entry.notes = notesOf(map, Holder::cell);
        readInfo(map, entry.record);
        SnmpTableOid &cell = entry.record;
        // Not checked: a source can hold any node that an existing database has.
        cell.tableNode = yamlNodes::text(map.required("table"), "table");
        cell.objId = objectId(map.required("object"));
        cell.column = static_cast<std::uint32_t>(
            yamlNodes::number(map.required("column"), "column", 0, anyWord));
        cell.instance =
            static_cast<std::uint8_t>(yamlNodes::number(map.required("row"), "row", 0, anyByte));
        cell.tableKind = static_cast<std::uint8_t>(map.number("kind", anyByte, 0));
        cell.attr3 = static_cast<std::uint16_t>(map.number("attr3", anyShort, 0));
        file(entry, node);
        _source.cells.push_back(std::move(entry));
    }

    void file(const CellEntry &entry, const YAML::Node &node)
    {
        const SnmpTableOid &cell = entry.record;
        if (!_cellKeys.insert(tableKey(cell.tableNode, cell.instance, cell.column)).second) {
            fail(node, "duplicate cell: table " + textForms::quoted(cell.tableNode) + ", row " +
                           std::to_string(cell.instance) + ", column " +
                           std::to_string(cell.column));
        }
    }

    MappingSource _source;
    std::set<std::string> _names;
    std::set<std::string> _nodes;
    std::set<std::uint16_t> _scalarIds;
    std::set<std::array<std::uint32_t, scalarArcs>> _arcs;
    std::set<std::string> _cellKeys;
};
} // namespace

MappingSource sourceReader::read(const std::string &path)
{
    return parse(readWholeFile(path), path);
}

MappingSource sourceReader::parse(const std::string &text, const std::string &name)
{
    MappingSource mapping;
    yamlNodes::read(text, name,
                    [&mapping](const YAML::Node &root) { mapping = Reader().read(root); });
    return mapping;
}
