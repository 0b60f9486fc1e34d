#include "SourceReader.h"

#include "AlarmReader.h"
#include "AlarmWords.h"
#include "DeviceMotion.h"
#include "Findings.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "ObjectTypes.h"
#include "SourceLife.h"
#include "Suggestions.h"
#include "TextForms.h"
#include "ValueKindNames.h"
#include "WholeFile.h"
#include "YamlNodes.h"

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <utility>

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
                       " is not dotted numbers with a leading period, each below 4294967296");
    }
    return written;
}

/// A device object id: hexadecimal after 0x.
std::uint16_t objectId(const YAML::Node &node)
{
    const std::string written = yamlNodes::text(node, "object id");
    if (written == mappingWords::openValue) {
        fail(node, "the object id is missing: replace TODO with the id of the device object, such "
                   "as 0x0110");
    }
    const auto number = numbers::unsignedIn(written, anyShort);
    if (!number || written.size() < 3 || (written[1] != 'x' && written[1] != 'X')) {
        fail(node, "object id " + textForms::quoted(written) +
                       " is not a hexadecimal number from 0x0000 to 0xFFFF");
    }
    return static_cast<std::uint16_t>(*number);
}

/// The words of a key, and their codes.
struct Vocabulary {
    std::string_view what;
    std::optional<std::uint16_t> (*codeOf)(std::string_view);
    std::vector<std::string_view> (*words)();
};

constexpr Vocabulary types{"type", mappingWords::typeCode, mappingWords::typeWords};
constexpr Vocabulary accesses{"access", mappingWords::accessCode, mappingWords::accessWords};
constexpr Vocabulary conversions{"conversion", mappingWords::conversionCode,
                                 mappingWords::conversionWords};

std::uint16_t code(const YAML::Node &node, const Vocabulary &vocabulary)
{
    const std::string written = yamlNodes::text(node, vocabulary.what);
    const auto found = vocabulary.codeOf(written);
    if (!found) {
        // A conversion may have a number behind its word.
        fail(node,
             "unknown " + std::string(vocabulary.what) + ' ' + textForms::quoted(written) +
                 suggestions::among(written.substr(0, written.find(' ')), vocabulary.words()));
    }
    return *found;
}

/// The remedy for a label with hyphens, which a MIB must not have.
std::string withoutHyphensIn(const std::string &label)
{
    return mappingWords::isHyphenated(label) ? ": write " + mappingWords::withoutHyphens(label)
                                             : std::string();
}

Label labelOf(const YAML::Node &numberNode, const YAML::Node &labelNode,
              const std::vector<Label> &earlier)
{
    const std::string number = yamlNodes::text(numberNode, "labelled number");
    const auto value = numbers::signedIn(number);
    if (!value) {
        fail(numberNode,
             "labelled number " + textForms::quoted(number) + " is not a 32-bit decimal number");
    }
    const std::string label = yamlNodes::text(labelNode, "label");
    const bool isTaken = std::any_of(earlier.begin(), earlier.end(), [&](const Label &each) {
        return each.first == value || each.second == label;
    });
    if (isTaken || !mappingWords::isName(label)) {
        fail(labelNode,
             "label " + textForms::quoted(label) +
                 (isTaken ? " or its number is a duplicate"
                          : " is not a lower-case letter followed by letters and digits" +
                                withoutHyphensIn(label)));
    }
    return {*value, label};
}

std::vector<Label> labelsOf(const YAML::Node &node, YamlErrors &errors)
{
    std::vector<Label> labels;
    if (!node) {
        return labels;
    }
    if (!node.IsMap()) {
        fail(node, "labels is not a map of numbers to labels");
    }
    for (const auto &entry : node) {
        errors.collect([&] { labels.push_back(labelOf(entry.first, entry.second, labels)); });
    }
    return labels;
}

std::string deviceKindOf(const YamlMap &map)
{
    std::string kind = map.text("kind");
    if (map.find("kind") && !mappingWords::isDeviceKind(kind)) {
        fail(map.find("kind"), "device kind " + textForms::quoted(kind) +
                                   " is not one of unsigned, signed, string, other" +
                                   suggestions::nearest(kind, valueKindNames));
    }
    return kind;
}

/// The contents of a recording are the simulator's affair.
std::string motionOf(const YamlMap &map)
{
    std::string motion = map.text("motion");
    if (!map.find("motion")) {
        return motion;
    }
    const std::string word = motion.substr(0, motion.find(' '));
    if (std::find(mappingWords::motions.begin(), mappingWords::motions.end(), word) ==
        mappingWords::motions.end()) {
        fail(map.find("motion"), "unknown motion " + textForms::quoted(word) +
                                     suggestions::among(word, mappingWords::motions));
    }
    if (!deviceMotion::isKnown(motion)) {
        fail(map.find("motion"),
             "motion " + textForms::quoted(motion) + " has wrong numbers or times");
    }
    return motion;
}

/// Only objects with rows may have one value per row.
DeviceNotes deviceOf(const YAML::Node &node, YamlErrors &errors, bool hasRows)
{
    if (!node) {
        return {};
    }
    const YamlMap map =
        hasRows ? YamlMap(node, errors, "device", {"kind", "width", "value", "values", "motion"})
                : YamlMap(node, errors, "device", {"kind", "width", "value", "motion"});
    return {.kind = errors.valueOf([&] { return deviceKindOf(map); }),
            .width = static_cast<std::size_t>(
                errors.valueOf([&] { return map.number("width", widestValue, 0); })),
            .value = errors.valueOf([&] { return map.text("value"); }),
            .motion = errors.valueOf([&] { return motionOf(map); })};
}

bool isCounter(const YamlMap &map, std::uint16_t type)
{
    const YAML::Node meaning = map.find("meaning");
    if (!meaning) {
        return false;
    }
    const std::string word = yamlNodes::text(meaning, "meaning");
    if (word != "gauge" && word != "counter") {
        constexpr std::array<std::string_view, 2> known{"gauge", "counter"};
        fail(meaning,
             "unknown meaning " + textForms::quoted(word) + suggestions::among(word, known));
    }
    if (type != objectType::integer || map.find("labels")) {
        fail(meaning, "meaning needs type integer without labels");
    }
    return word == "counter";
}

MonitoringNotes monitoringOf(const YamlMap &map)
{
    // An unknown type is an error of its own.
    const std::uint16_t type = mappingWords::typeCode(map.text("type")).value_or(0);
    const MonitoringNotes notes{.isCounter = isCounter(map, type),
                                .isLabel = map.flag("label"),
                                .hasStates = map.flag("states")};
    if (notes.isLabel && type != objectType::octetString) {
        fail(map.find("label"), "label needs type text");
    }
    if (notes.hasStates && !map.find("labels")) {
        fail(map.find("states"), "states needs labels");
    }
    return notes;
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

SourceMark markOf(const YAML::Node &node, const YamlErrors &errors)
{
    const YamlPlace place = errors.placeOf(node.Mark());
    return {.line = place.line, .column = place.column};
}

Acceptance acceptanceOf(const YAML::Node &codeNode, const YAML::Node &reasonNode,
                        const YamlErrors &errors)
{
    std::vector<std::string_view> codes;
    for (const auto rules : {checkRules(), verifyRules()}) {
        for (const CheckRule &rule : rules) {
            codes.push_back(rule.code);
        }
    }
    const std::string code = yamlNodes::text(codeNode, "accepted code");
    if (std::find(codes.begin(), codes.end(), code) == codes.end()) {
        fail(codeNode, "unknown code " + textForms::quoted(code) +
                           suggestions::nearest(code, codes) +
                           "; \"tarnoMapping check --rules\" lists them");
    }
    const std::string reason =
        reasonNode.IsNull() ? std::string() : yamlNodes::text(reasonNode, "reason");
    if (reason.find_first_not_of(" \t\n") == std::string::npos) {
        fail(reasonNode.IsNull() ? codeNode : reasonNode, code + " is accepted without a reason");
    }
    return {.code = code, .reason = reason, .mark = markOf(codeNode, errors)};
}

/// Adds the codes of a map with their reasons.
void addAccepted(const YAML::Node &map, YamlErrors &errors, std::vector<Acceptance> &accepted)
{
    if (!map.IsMap()) {
        fail(map, "accept is neither a map of codes to reasons nor a list of such maps");
    }
    for (const auto &entry : map) {
        errors.collect([&] {
            Acceptance each = acceptanceOf(entry.first, entry.second, errors);
            if (std::any_of(accepted.begin(), accepted.end(),
                            [&](const Acceptance &other) { return other.code == each.code; })) {
                fail(entry.first, each.code + " is accepted twice");
            }
            accepted.push_back(std::move(each));
        });
    }
}

/// The findings that an object accepts.
std::vector<Acceptance> acceptedIn(const YAML::Node &node, YamlErrors &errors)
{
    std::vector<Acceptance> accepted;
    if (node && node.IsSequence()) {
        for (const YAML::Node &map : node) {
            errors.collect([&] { addAccepted(map, errors, accepted); });
        }
    } else if (node) {
        addAccepted(node, errors, accepted);
    }
    return accepted;
}

/// What the author says of the device's value, by the columns of the database.
void markDevice(const YAML::Node &device, const YamlErrors &errors, WrittenObject &object)
{
    constexpr std::array<std::pair<const char *, const char *>, 3> parts{{
        {"value", "deviceValue"},
        {"values", "deviceValue"},
        {"motion", "deviceMotion"},
    }};
    if (!device || !device.IsMap()) {
        return;
    }
    for (const auto &[key, column] : parts) {
        if (device[key]) {
            object.keys.try_emplace(column, markOf(device[key], errors));
        }
    }
}

/// Where an object is written, and which findings it accepts.
WrittenObject writtenAt(const YAML::Node &node, YamlErrors &errors, const std::string &name,
                        const std::string &tableNode)
{
    WrittenObject object;
    object.name = name;
    object.node = tableNode;
    object.mark = markOf(node, errors);
    object.accepted = errors.valueOf([&] { return acceptedIn(node["accept"], errors); });
    for (const auto &entry : node) {
        if (entry.first.IsScalar()) {
            object.keys.try_emplace(entry.first.Scalar(), markOf(entry.second, errors));
        }
    }
    markDevice(node["device"], errors, object);
    return object;
}

/// Reads one source and remembers everything that must be unique.
class Reader
{
public:
    explicit Reader(YamlErrors &errors) : _errors(errors) {}

    sourceReader::WrittenMapping read(const YAML::Node &root)
    {
        _places.module.mark = markOf(root, _errors);
        const YamlMap map(root, _errors, "the source",
                          {"module", "scalars", "tables", "cells", "alarms"});
        _errors.collect([&] { readModule(map.find("module")); });
        forEach(map.find("scalars"), "scalars", &Reader::readScalar);
        forEach(map.find("tables"), "tables", &Reader::readTable);
        forEach(map.find("cells"), "cells", &Reader::readCell);
        forEach(map.find("alarms"), "alarms", &Reader::readAlarm);
        _errors.collect([&] { requireCells(map.find("tables")); });
        requireWatched();
        return {.mapping = std::move(_source), .places = std::move(_places)};
    }

private:
    void forEach(const YAML::Node &node, std::string_view what,
                 void (Reader::*readOne)(const YAML::Node &))
    {
        if (node) {
            _errors.collect([&] {
                for (const YAML::Node &each : yamlNodes::list(node, what)) {
                    _errors.collect([&] { (this->*readOne)(each); });
                }
            });
        }
    }

    void readModule(const YAML::Node &node)
    {
        if (!node) {
            return;
        }
        const YamlMap map(node, _errors, "module",
                          {"name", "base", "organization", "contact", "description", "updated",
                           "revisions", "reserved", "groups", "accept"});
        ModuleNotes &module = _source.module;
        module = {.name = _errors.valueOf([&] { return moduleNameOf(map); }),
                  .base = _errors.valueOf([&] {
                      const YAML::Node base = map.find("base");
                      return base ? dottedSuffix(base, "base") : std::string();
                  }),
                  .organization = textOf(map, "organization"),
                  .contact = textOf(map, "contact"),
                  .description = textOf(map, "description"),
                  .updated = _errors.valueOf([&] { return dayOf(map); })};
        _errors.collect([&] { sourceLife::readModule(map, _errors, module); });
        for (const NodeName &group : module.groups) {
            _names.insert(group.name);
        }
        _places.module = writtenAt(node, _errors, module.name, {});
    }

    static std::string moduleNameOf(const YamlMap &map)
    {
        std::string name = map.text("name");
        if (!name.empty() && !mappingWords::isModuleName(name)) {
            fail(map.find("name"), "module name " + textForms::quoted(name) +
                                       " is not an upper-case letter followed by letters, digits "
                                       "and hyphens");
        }
        return name;
    }

    static std::string dayOf(const YamlMap &map)
    {
        std::string day = map.text("updated");
        if (!day.empty() && !mappingWords::isDay(day)) {
            fail(map.find("updated"),
                 "date " + textForms::quoted(day) + " is not in the form YYYY-MM-DD");
        }
        return day;
    }

    std::string textOf(const YamlMap &map, std::string_view key)
    {
        return _errors.valueOf([&] { return map.text(key); });
    }

    template <typename Number>
    Number numberOf(const YamlMap &map, std::string_view key)
    {
        constexpr std::uint64_t largest = std::numeric_limits<Number>::max();
        return static_cast<Number>(_errors.valueOf([&] { return map.number(key, largest, 0); }));
    }

    /// Listed cells each repeat the name of their column, so it need not be unique there.
    enum class Holder { scalar, column, cell };

    ObjectNotes notesOf(const YamlMap &map, Holder holder, const std::string &since = {})
    {
        const auto labels = _errors.valueOf([&] { return labelsOf(map.find("labels"), _errors); });
        return {.name = _errors.valueOf([&] { return nameOf(map, holder != Holder::cell); }),
                .description = textOf(map, "description"),
                .units = textOf(map, "units"),
                .labels = labels,
                .device = _errors.valueOf([&] {
                    return deviceOf(map.find("device"), _errors, holder == Holder::column);
                }),
                .monitoring = _errors.valueOf([&] { return monitoringOf(map); }),
                .range = _errors.valueOf([&] { return sourceLife::range(map, labels); }),
                .life =
                    _errors.valueOf([&] { return sourceLife::life(map, _source.module, since); })};
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

    void readInfo(const YamlMap &map, SnmpObjInfo &info)
    {
        _errors.collect([&] { info.asnType = code(map.required("type"), types); });
        info.access = codeOr(1, map.find("access"), accesses);
        info.valueType = codeOr(0, map.find("conversion"), conversions);
        info.attr1 = numberOf<std::uint8_t>(map, "attr1");
        info.attr2 = numberOf<std::uint16_t>(map, "attr2");
        info.flag = numberOf<std::uint8_t>(map, "flag");
        info.text = textOf(map, "text");
    }

    std::uint16_t codeOr(std::uint16_t otherwise, const YAML::Node &node,
                         const Vocabulary &vocabulary)
    {
        return _errors.valueOf([&] { return node ? code(node, vocabulary) : otherwise; });
    }

    void readScalar(const YAML::Node &node)
    {
        const YamlMap map(node, _errors, "scalar",
                          {"name",   "description", "units",  "labels",     "device", "oid",
                           "object", "type",        "access", "conversion", "flag",   "attr1",
                           "attr2",  "text",        "magic",  "range",      "since",  "status",
                           "until",  "meaning",     "states", "alarms",     "accept"});
        ScalarEntry entry;
        entry.notes = notesOf(map, Holder::scalar);
        readInfo(map, entry.record);
        readAlarmsOf(map, entry.notes.name);
        entry.record.magic = numberOf<std::uint8_t>(map, "magic");
        _errors.collect([&] { readArcs(map.required("oid"), entry.record); });
        if (entry.notes.life.status == "obsolete") {
            _errors.collect([&] { retire(map, std::move(entry)); });
            return;
        }
        _errors.collect([&] { entry.record.objId = scalarIdOf(map.required("object")); });
        _places.scalars.push_back(placed(writtenAt(node, _errors, entry.notes.name, {})));
        _source.scalars.push_back(std::move(entry));
    }

    /// The device no longer has the object, but its name remains published.
    void retire(const YamlMap &map, ScalarEntry entry)
    {
        (void)map.required("name");
        if (map.find("object")) {
            entry.record.objId = objectId(map.find("object"));
        }
        _source.retired.push_back(std::move(entry));
    }

    /// The position of an object in the list of all.
    std::size_t placed(WrittenObject object)
    {
        _places.objects.push_back(std::move(object));
        return _places.objects.size() - 1;
    }

    std::uint16_t scalarIdOf(const YAML::Node &node)
    {
        const std::uint16_t id = objectId(node);
        if (!_scalarIds.insert(id).second) {
            fail(node, "duplicate scalar for object " + numbers::objectIdText(id));
        }
        return id;
    }

    void readArcs(const YAML::Node &node, SnmpObjOid &record)
    {
        const std::string written = yamlNodes::text(node, "oid");
        const auto arcs = dottedNumbers(written);
        if (!arcs || (arcs->size() != scalarArcs && arcs->size() != allArcs)) {
            fail(node, "oid " + textForms::quoted(written) +
                           " is not three dotted numbers (with an optional fourth), each below "
                           "4294967296");
        }
        record.oidArc1 = (*arcs)[0];
        record.oidArc2 = (*arcs)[1];
        record.oidArc3 = (*arcs)[2];
        record.oidArc4 = arcs->size() == allArcs ? arcs->back() : 0;
        sourceLife::checkFree(node, '.' + written, _source.module);
        if (!_arcs.insert({record.oidArc1, record.oidArc2, record.oidArc3}).second) {
            fail(node, "duplicate oid " + textForms::quoted(written));
        }
    }

    void readTable(const YAML::Node &node)
    {
        const YamlMap map(
            node, _errors, "table",
            {"name", "node", "description", "kind", "rows", "order", "columns", "since", "accept"});
        const std::string tableNode =
            _errors.valueOf([&] { return tableNodeOf(map.required("node")); });
        _source.tables.push_back({.node = tableNode,
                                  .name = _errors.valueOf([&] { return nameOf(map, true); }),
                                  .description = textOf(map, "description")});
        _places.tables.try_emplace(tableNode,
                                   writtenAt(node, _errors, _source.tables.back().name, tableNode));
        const YAML::Node columns = map.find("columns");
        if (columns) {
            readColumns(map, yamlNodes::list(columns, "columns"), tableNode);
        }
    }

    std::string tableNodeOf(const YAML::Node &node)
    {
        std::string tableNode = dottedSuffix(node, "node");
        if (!_nodes.insert(tableNode).second) {
            fail(node, "duplicate table node " + textForms::quoted(tableNode));
        }
        sourceLife::checkFree(node, tableNode, _source.module);
        return tableNode;
    }

    void readColumns(const YamlMap &map, const YAML::Node &columns, const std::string &tableNode)
    {
        const YAML::Node rowsNode = map.find("rows");
        const auto rows = static_cast<std::size_t>(
            rowsNode ? yamlNodes::number(rowsNode, "rows", 1, anyByte) : usualRows);
        const auto kind = numberOf<std::uint8_t>(map, "kind");
        const std::string since =
            _errors.valueOf([&] { return sourceLife::since(map, _source.module); });
        const bool byRows = _errors.valueOf([&] { return isByRows(map.find("order")); });
        std::vector<WrittenColumn> grid;
        std::uint64_t next = firstColumn;
        for (const YAML::Node &column : columns) {
            _errors.collect([&] {
                std::vector<CellEntry> cells = readColumn(column, rows, next, since);
                for (CellEntry &cell : cells) {
                    cell.record.tableNode = tableNode;
                    cell.record.tableKind = kind;
                    // Without its node, a table would seem to share cells with others.
                    if (!tableNode.empty()) {
                        file(cell, column);
                    }
                }
                const std::size_t object =
                    placed(writtenAt(column, _errors, cells.front().notes.name, tableNode));
                grid.push_back({.object = object, .cells = std::move(cells)});
            });
        }
        append(grid, byRows, rows);
    }

    /// The agent and everything that is published know a table only by its cells. An earlier error
    /// may have cost a table its cells.
    void requireCells(const YAML::Node &tables)
    {
        if (!_errors.isEmpty()) {
            return;
        }
        for (std::size_t index = 0; index < _source.tables.size(); ++index) {
            const std::string &tableNode = _source.tables[index].node;
            const bool hasCells =
                std::any_of(_source.cells.begin(), _source.cells.end(), [&](const CellEntry &cell) {
                    return cell.record.tableNode == tableNode;
                });
            if (!hasCells) {
                fail(tables[index], "table " + textForms::quoted(tableNode) + " has no columns");
            }
        }
    }

    static bool isByRows(const YAML::Node &node)
    {
        const std::string order = node ? yamlNodes::text(node, "order") : "rows";
        if (order != "rows" && order != "columns") {
            constexpr std::array<std::string_view, 2> orders{"rows", "columns"};
            fail(node, "order " + textForms::quoted(order) + " is neither rows nor columns" +
                           suggestions::nearest(order, orders));
        }
        return order == "rows";
    }

    struct WrittenColumn {
        std::size_t object;
        std::vector<CellEntry> cells;
    };

    void append(std::vector<WrittenColumn> &grid, bool byRows, std::size_t rows)
    {
        const std::size_t cells = grid.size() * rows;
        for (std::size_t index = 0; index < cells; ++index) {
            const std::size_t column = byRows ? index % grid.size() : index / rows;
            const std::size_t row = byRows ? index / grid.size() : index % rows;
            _source.cells.push_back(std::move(grid[column].cells[row]));
            _places.cells.push_back(grid[column].object);
        }
    }

    std::vector<CellEntry> readColumn(const YAML::Node &node, std::size_t rows, std::uint64_t &next,
                                      const std::string &since)
    {
        const YamlMap map(node, _errors, "column",
                          {"name",   "description", "units",   "labels",  "device", "column",
                           "first",  "step",        "objects", "type",    "access", "conversion",
                           "flag",   "attr1",       "attr2",   "attr3",   "text",   "range",
                           "since",  "status",      "until",   "meaning", "label",  "states",
                           "alarms", "accept"});
        CellEntry entry;
        entry.notes = notesOf(map, Holder::column, since);
        readInfo(map, entry.record);
        readAlarmsOf(map, entry.notes.name);
        _errors.collect([&] { next = map.number("column", anyWord, next); });
        entry.record.column = static_cast<std::uint32_t>(next);
        ++next;
        entry.record.attr3 = numberOf<std::uint16_t>(map, "attr3");
        const auto values =
            _errors.valueOf([&] { return deviceValuesOf(map.find("device"), rows); });
        const std::vector<std::uint16_t> objects = objectsOf(map, rows);
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
        const YamlMap map(node, _errors, "cell",
                          {"name",       "description", "units",  "labels", "device",  "table",
                           "column",     "row",         "object", "kind",   "type",    "access",
                           "conversion", "flag",        "attr1",  "attr2",  "attr3",   "text",
                           "range",      "since",       "status", "until",  "meaning", "label",
                           "states",     "accept"});
        CellEntry entry;
        entry.notes = notesOf(map, Holder::cell);
        readInfo(map, entry.record);
        SnmpTableOid &cell = entry.record;
        // Not checked: a source can hold any node that an existing database has.
        _errors.collect([&] { cell.tableNode = yamlNodes::text(map.required("table"), "table"); });
        _errors.collect([&] { cell.objId = objectId(map.required("object")); });
        cell.tableKind = numberOf<std::uint8_t>(map, "kind");
        cell.attr3 = numberOf<std::uint16_t>(map, "attr3");
        cell.column = static_cast<std::uint32_t>(
            yamlNodes::number(map.required("column"), "column", 0, anyWord));
        cell.instance =
            static_cast<std::uint8_t>(yamlNodes::number(map.required("row"), "row", 0, anyByte));
        file(entry, node);
        _places.cells.push_back(placed(writtenAt(node, _errors, entry.notes.name, cell.tableNode)));
        _source.cells.push_back(std::move(entry));
    }

    void file(const CellEntry &entry, const YAML::Node &node)
    {
        const SnmpTableOid &cell = entry.record;
        const std::string oid = cell.tableNode + ".1." + std::to_string(cell.column);
        sourceLife::checkFree(node, oid, _source.module);
        if (!_cellKeys.insert(tableKey(cell.tableNode, cell.instance, cell.column)).second) {
            fail(node, "duplicate cell: table " + textForms::quoted(cell.tableNode) + ", row " +
                           std::to_string(cell.instance) + ", column " +
                           std::to_string(cell.column));
        }
    }

    void readAlarmsOf(const YamlMap &map, const std::string &object)
    {
        const YAML::Node alarms = map.find("alarms");
        if (!alarms) {
            return;
        }
        _errors.collect([&] {
            if (object.empty()) {
                fail(alarms, "an object with alarms needs a name");
            }
            for (const YAML::Node &each : yamlNodes::list(alarms, "alarms")) {
                _errors.collect([&] { addAlarm(each, object); });
            }
        });
    }

    void readAlarm(const YAML::Node &node) { addAlarm(node, {}); }

    void addAlarm(const YAML::Node &node, const std::string &object)
    {
        AlarmNotes alarm = alarmReader::read(node, _errors, _source.module, object);
        _errors.collect([&] { claimNames(node, alarm); });
        if (alarm.number != 0 && !_alarmNumbers.insert(alarm.number).second) {
            _errors.collect([&] {
                fail(node["number"], "duplicate number " + std::to_string(alarm.number) +
                                         "; the next free one is " +
                                         std::to_string(*_alarmNumbers.rbegin() + 1));
            });
        }
        _places.alarms.push_back(writtenAt(node, _errors, alarm.name, {}));
        _source.alarms.push_back(std::move(alarm));
        _alarmNodes.push_back(node);
    }

    /// An alarm has the names of its notifications.
    void claimNames(const YAML::Node &node, const AlarmNotes &alarm)
    {
        if (alarm.name.empty()) {
            return;
        }
        if (!mappingWords::isName(alarm.name)) {
            fail(node["name"], "name " + textForms::quoted(alarm.name) +
                                   " is not a lower-case letter followed by at most 63 letters "
                                   "and digits");
        }
        for (const std::string &name : {alarm.name, alarm.name + alarmWords::clearSuffix}) {
            if (!_names.insert(name).second) {
                fail(node["name"], "duplicate name " + textForms::quoted(name));
            }
        }
    }

    /// An earlier error may have cost the source an object.
    void requireWatched()
    {
        if (!_errors.isEmpty()) {
            return;
        }
        std::set<std::string> names;
        for (const auto *scalars : {&_source.scalars, &_source.retired}) {
            for (const ScalarEntry &entry : *scalars) {
                names.insert(entry.notes.name);
            }
        }
        for (const CellEntry &entry : _source.cells) {
            names.insert(entry.notes.name);
        }
        for (const YAML::Node &alarm : _alarmNodes) {
            requireAmong(names, alarm["object"]);
            for (const YAML::Node &each : alarm["with"]) {
                requireAmong(names, each);
            }
        }
    }

    void requireAmong(const std::set<std::string> &names, const YAML::Node &node)
    {
        if (!node || names.contains(node.Scalar())) {
            return;
        }
        _errors.collect([&] {
            const std::vector<std::string_view> known(names.begin(), names.end());
            fail(node, "there is no scalar or column " + textForms::quoted(node.Scalar()) +
                           suggestions::nearest(node.Scalar(), known));
        });
    }

    YamlErrors &_errors;
    MappingSource _source;
    SourcePlaces _places;
    std::set<std::uint32_t> _alarmNumbers;
    /// Those of the alarms, in their order.
    std::vector<YAML::Node> _alarmNodes;
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
    return parseWritten(text, name).mapping;
}

sourceReader::WrittenMapping sourceReader::parseWritten(const std::string &text,
                                                        const std::string &name)
{
    WrittenMapping written;
    yamlNodes::read(text, name, [&written](const YAML::Node &root, YamlErrors &errors) {
        written = Reader(errors).read(root);
    });
    return written;
}
