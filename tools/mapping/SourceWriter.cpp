#include "SourceWriter.h"

#include "AlarmWords.h"
#include "InputError.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"
#include "TextForms.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#include <yaml-cpp/yaml.h>

namespace
{
/// The cells of a table by column, each with one cell per row from row 1 on.
struct Columns {
    std::vector<std::vector<const CellEntry *>> cells;
    bool isByRows = true;
};

auto definitionOf(const CellEntry &entry)
{
    const SnmpTableOid &cell = entry.record;
    const ObjectNotes &notes = entry.notes;
    return std::tie(cell.attr1, cell.flag, cell.valueType, cell.attr2, cell.asnType, cell.access,
                    cell.text, cell.attr3, notes.name, notes.description, notes.units, notes.labels,
                    notes.device.kind, notes.device.width, notes.device.motion, notes.monitoring,
                    notes.range, notes.life.since, notes.life.status, notes.life.until);
}

bool isSuffix(const std::string &node)
{
    return node.starts_with('.') && !node.ends_with('.') && node.find("..") == std::string::npos &&
           node.find_first_not_of(".0123456789") == std::string::npos;
}

/// The cells of a table as columns, if nothing is lost.
std::optional<Columns> columnsOf(const std::vector<const CellEntry *> &cells)
{
    Columns columns;
    std::map<std::uint32_t, std::size_t> positions;
    for (const CellEntry *cell : cells) {
        const auto [found, isNew] =
            positions.try_emplace(cell->record.column, columns.cells.size());
        if (isNew) {
            columns.cells.emplace_back();
        }
        auto &column = columns.cells[found->second];
        column.push_back(cell);
        if (cell->record.instance != column.size() ||
            definitionOf(*cell) != definitionOf(*column.front()) ||
            cell->record.tableKind != cells.front()->record.tableKind) {
            return std::nullopt;
        }
    }
    const std::size_t rows = columns.cells.front().size();
    for (std::size_t index = 0; index < cells.size(); ++index) {
        if (columns.cells[index % columns.cells.size()].size() != rows) {
            return std::nullopt;
        }
    }
    const auto isAt = [&](std::size_t index, std::size_t column, std::size_t row) {
        return cells[index] == columns.cells[column][row];
    };
    bool isByColumns = true;
    for (std::size_t index = 0; index < cells.size(); ++index) {
        const std::size_t width = columns.cells.size();
        columns.isByRows = columns.isByRows && isAt(index, index % width, index / width);
        isByColumns = isByColumns && isAt(index, index / rows, index % rows);
    }
    return columns.isByRows || isByColumns ? std::optional(columns) : std::nullopt;
}

/// All tables as columns, in order; nothing if any table needs a list of cells, or if the cells of
/// several tables are mixed.
std::optional<std::vector<Columns>> tablesOf(const MappingSource &mapping)
{
    std::vector<Columns> tables;
    std::size_t at = 0;
    for (const TableNotes &table : mapping.tables) {
        std::vector<const CellEntry *> cells;
        for (; at < mapping.cells.size() && mapping.cells[at].record.tableNode == table.node;
             ++at) {
            cells.push_back(&mapping.cells[at]);
        }
        auto columns = cells.empty() ? std::nullopt : columnsOf(cells);
        if (!columns || !isSuffix(table.node)) {
            return std::nullopt;
        }
        tables.push_back(std::move(*columns));
    }
    return at == mapping.cells.size() ? std::optional(tables) : std::nullopt;
}

enum class ObjectIds { stated, open };

class Writer
{
public:
    explicit Writer(ObjectIds objectIds) : _objectIds(objectIds) {}

    std::string write(const MappingSource &mapping)
    {
        _out.SetIndent(2);
        _out << YAML::BeginMap;
        const ModuleNotes &module = mapping.module;
        const std::string texts = module.name + module.base + module.organization + module.contact +
                                  module.description + module.updated;
        if (!texts.empty() || !module.revisions.empty() || !module.reserved.empty() ||
            !module.groups.empty()) {
            writeModule(module);
        }
        if (!mapping.scalars.empty() || !mapping.retired.empty()) {
            _out << YAML::Key << "scalars" << YAML::Value << YAML::BeginSeq;
            for (const ScalarEntry &scalar : mapping.scalars) {
                writeScalar(scalar);
            }
            for (const ScalarEntry &scalar : mapping.retired) {
                writeScalar(scalar);
            }
            _out << YAML::EndSeq;
        }
        writeTables(mapping);
        writeAlarms(mapping.alarms);
        _out << YAML::EndMap;
        return std::string(_out.c_str()) + '\n';
    }

private:
    void writeModule(const ModuleNotes &module)
    {
        _out << YAML::Key << "module" << YAML::Value << YAML::BeginMap;
        text("name", module.name);
        text("base", module.base);
        text("organization", module.organization);
        text("contact", module.contact);
        text("description", module.description);
        text("updated", module.updated);
        writeList("revisions", module.revisions, [this](const Revision &revision) {
            word("day", revision.day);
            text("text", revision.text);
        });
        writeTexts("reserved", module.reserved);
        writeList("groups", module.groups, [this](const NodeName &group) {
            text("node", group.node);
            word("name", group.name);
        });
        _out << YAML::EndMap;
    }

    /// A list of maps; an empty one is left out.
    template <typename Entry, typename WriteEntry>
    void writeList(const char *key, const std::vector<Entry> &entries, WriteEntry writeEntry)
    {
        if (entries.empty()) {
            return;
        }
        _out << YAML::Key << key << YAML::Value << YAML::BeginSeq;
        for (const Entry &entry : entries) {
            _out << YAML::Flow << YAML::BeginMap;
            writeEntry(entry);
            _out << YAML::EndMap;
        }
        _out << YAML::EndSeq;
    }

    void writeScalar(const ScalarEntry &entry)
    {
        const SnmpObjOid &scalar = entry.record;
        _out << YAML::BeginMap;
        writeName(entry.notes.name, Use::once);
        const bool hasFourth = scalar.oidArc4 != 0;
        text("oid", std::to_string(scalar.oidArc1) + '.' + std::to_string(scalar.oidArc2) + '.' +
                        std::to_string(scalar.oidArc3) +
                        (hasFourth ? '.' + std::to_string(scalar.oidArc4) : std::string()));
        if (_objectIds == ObjectIds::open && entry.notes.life.status != "obsolete") {
            leaveOpen("object", "the id of the device object, as in 0x0110");
        } else {
            word("object", numbers::objectIdText(scalar.objId));
        }
        writeDefinition(scalar, entry.notes);
        number("magic", scalar.magic);
        writeDevice(entry.notes.device, {});
        _out << YAML::EndMap;
    }

    void writeTables(const MappingSource &mapping)
    {
        if (mapping.cells.empty()) {
            return;
        }
        const auto tables = tablesOf(mapping);
        _out << YAML::Key << "tables" << YAML::Value << YAML::BeginSeq;
        for (std::size_t index = 0; index < mapping.tables.size(); ++index) {
            writeTable(mapping.tables[index], tables ? &(*tables)[index] : nullptr);
        }
        _out << YAML::EndSeq;
        if (!tables) {
            _out << YAML::Key << "cells" << YAML::Value << YAML::BeginSeq;
            for (const CellEntry &cell : mapping.cells) {
                writeCell(cell);
            }
            _out << YAML::EndSeq;
        }
    }

    void writeTable(const TableNotes &table, const Columns *columns)
    {
        if (!isSuffix(table.node)) {
            return;
        }
        _out << YAML::BeginMap;
        writeName(table.name, Use::once);
        text("node", table.node);
        text("description", table.description);
        if (columns != nullptr) {
            const CellEntry &first = *columns->cells.front().front();
            number("kind", first.record.tableKind);
            _out << YAML::Key << "rows" << YAML::Value << columns->cells.front().size();
            word("order", columns->isByRows ? "" : "columns");
            _out << YAML::Key << "columns" << YAML::Value << YAML::BeginSeq;
            for (const auto &column : columns->cells) {
                writeColumn(column);
            }
            _out << YAML::EndSeq;
        }
        _out << YAML::EndMap;
    }

    void writeColumn(const std::vector<const CellEntry *> &cells)
    {
        const CellEntry &first = *cells.front();
        _out << YAML::BeginMap;
        writeName(first.notes.name, Use::once);
        _out << YAML::Key << "column" << YAML::Value << first.record.column;
        writeObjects(cells);
        writeDefinition(first.record, first.notes);
        number("attr3", first.record.attr3);
        writeIsLabel(first);
        std::vector<std::string> values;
        const bool differ = std::any_of(cells.begin(), cells.end(), [&first](const auto *cell) {
            return cell->notes.device.value != first.notes.device.value;
        });
        for (const CellEntry *cell : cells) {
            if (differ) {
                values.push_back(cell->notes.device.value);
            }
        }
        writeDevice(first.notes.device, values);
        _out << YAML::EndMap;
    }

    void writeObjects(const std::vector<const CellEntry *> &cells)
    {
        if (_objectIds == ObjectIds::open) {
            leaveOpen("first", "the id of the device object of row 1");
            return;
        }
        const int first = cells.front()->record.objId;
        const int step = cells.size() > 1 ? cells[1]->record.objId - first : 1;
        bool isEven = step >= 0;
        for (std::size_t row = 0; row < cells.size(); ++row) {
            isEven = isEven && cells[row]->record.objId == first + static_cast<int>(row) * step;
        }
        if (isEven) {
            word("first", numbers::objectIdText(cells.front()->record.objId));
            if (step != 1) {
                _out << YAML::Key << "step" << YAML::Value << step;
            }
            return;
        }
        _out << YAML::Key << "objects" << YAML::Value << YAML::Flow << YAML::BeginSeq;
        for (const CellEntry *cell : cells) {
            _out << numbers::objectIdText(cell->record.objId);
        }
        _out << YAML::EndSeq;
    }

    void writeCell(const CellEntry &entry)
    {
        const SnmpTableOid &cell = entry.record;
        _out << YAML::BeginMap;
        _out << YAML::Key << "table" << YAML::Value << YAML::DoubleQuoted << utf8(cell.tableNode);
        _out << YAML::Key << "row" << YAML::Value << unsigned{cell.instance};
        _out << YAML::Key << "column" << YAML::Value << cell.column;
        writeName(entry.notes.name, Use::often);
        word("object", numbers::objectIdText(cell.objId));
        writeDefinition(cell, entry.notes);
        number("kind", cell.tableKind);
        number("attr3", cell.attr3);
        writeIsLabel(entry);
        writeDevice(entry.notes.device, {});
        _out << YAML::EndMap;
    }

    /// Listed cells each repeat the name of their column.
    enum class Use { once, often };

    /// A source must not repeat a name, so a duplicate is left out.
    void writeName(const std::string &name, Use use)
    {
        if (use == Use::often || _names.insert(name).second) {
            word("name", name);
        }
    }

    void writeDefinition(const SnmpObjInfo &info, const ObjectNotes &notes)
    {
        text("description", notes.description);
        word("type", mappingWords::type(info.asnType));
        word("access", mappingWords::access(info.access));
        if (_objectIds == ObjectIds::open && info.valueType == conversion::decimalText) {
            leaveOpen("conversion", "decimal and the number of decimal places");
        } else {
            word("conversion", info.valueType == 0 ? "" : mappingWords::conversion(info.valueType));
        }
        text("units", notes.units);
        if (!notes.labels.empty()) {
            _out << YAML::Key << "labels" << YAML::Value << YAML::Flow << YAML::BeginMap;
            for (const auto &[value, label] : notes.labels) {
                _out << YAML::Key << value << YAML::Value << YAML::DoubleQuoted << label;
            }
            _out << YAML::EndMap;
        }
        word("range", notes.range);
        writeLife(notes.life);
        writeMonitoring(info, notes);
        text("text", info.text);
        number("flag", info.flag);
        number("attr1", info.attr1);
        number("attr2", info.attr2);
    }

    /// Leaves out what a source must not have.
    void writeMonitoring(const SnmpObjInfo &info, const ObjectNotes &notes)
    {
        const bool isLabelled = !notes.labels.empty();
        const bool isNumber = info.asnType == objectType::integer;
        word("meaning", notes.monitoring.isCounter && isNumber && !isLabelled ? "counter" : "");
        word("states", notes.monitoring.hasStates && isLabelled ? "true" : "");
    }

    void writeIsLabel(const CellEntry &entry)
    {
        const bool isText = entry.record.asnType == objectType::octetString;
        word("label", entry.notes.monitoring.isLabel && isText ? "true" : "");
    }

    void writeDevice(const DeviceNotes &device, const std::vector<std::string> &values)
    {
        if (device.kind.empty() && device.width == 0 && device.value.empty() &&
            device.motion.empty() && values.empty()) {
            return;
        }
        _out << YAML::Key << "device" << YAML::Value << YAML::Flow << YAML::BeginMap;
        word("kind", device.kind);
        number("width", device.width);
        if (values.empty()) {
            text("value", device.value);
        } else {
            _out << YAML::Key << "values" << YAML::Value << YAML::Flow << YAML::BeginSeq;
            for (const std::string &value : values) {
                _out << YAML::DoubleQuoted << utf8(value);
            }
            _out << YAML::EndSeq;
        }
        text("motion", device.motion);
        _out << YAML::EndMap;
    }

    void writeAlarms(const std::vector<AlarmNotes> &alarms)
    {
        if (alarms.empty()) {
            return;
        }
        _out << YAML::Key << "alarms" << YAML::Value << YAML::BeginSeq;
        for (const AlarmNotes &alarm : alarms) {
            writeAlarm(alarm);
        }
        _out << YAML::EndSeq;
    }

    void writeAlarm(const AlarmNotes &alarm)
    {
        _out << YAML::BeginMap;
        word("name", alarm.name);
        number("number", alarm.number);
        text("object", alarm.object);
        word("condition", std::string(alarmWords::word(alarm.condition)));
        if (alarm.condition == AlarmCondition::oneOf) {
            writeTexts("raise", alarm.raise);
        } else if (!alarm.raise.empty()) {
            text("raise", alarm.raise.front());
        }
        text("clear", alarm.clear);
        number("every", alarm.every);
        word("severity", alarm.severity);
        text("text", alarm.text);
        writeTexts("with", alarm.with);
        writeLife(alarm.life);
        _out << YAML::EndMap;
    }

    void writeLife(const LifeNotes &life)
    {
        word("since", life.since);
        word("status", life.status);
        word("until", life.until);
    }

    void writeTexts(const char *key, const std::vector<std::string> &texts)
    {
        if (texts.empty()) {
            return;
        }
        _out << YAML::Key << key << YAML::Value << YAML::Flow << YAML::BeginSeq;
        for (const std::string &each : texts) {
            _out << YAML::DoubleQuoted << utf8(each);
        }
        _out << YAML::EndSeq;
    }

    void leaveOpen(const char *key, const char *comment)
    {
        word(key, mappingWords::openValue);
        _out << YAML::Comment(comment);
    }

    /// Empty values are left out.
    void text(const char *key, const std::string &value)
    {
        if (!value.empty()) {
            _out << YAML::Key << key << YAML::Value << YAML::DoubleQuoted << utf8(value);
        }
    }

    void word(const char *key, const std::string &value)
    {
        if (!value.empty()) {
            _out << YAML::Key << key << YAML::Value << value;
        }
    }

    void number(const char *key, std::size_t value)
    {
        if (value != 0) {
            _out << YAML::Key << key << YAML::Value << value;
        }
    }

    static std::string utf8(const std::string &value)
    {
        if (!textForms::isUtf8(value)) {
            throw InputError("text " + textForms::quoted(value) +
                             " is not UTF-8 and cannot be written to a source");
        }
        return value;
    }

    ObjectIds _objectIds;
    YAML::Emitter _out;
    std::set<std::string> _names;
};
} // namespace

std::string sourceWriter::write(const MappingSource &mapping)
{
    return Writer(ObjectIds::stated).write(mapping);
}

std::string sourceWriter::writeOpen(const MappingSource &mapping,
                                    const std::vector<std::string> &remarks)
{
    std::string comments;
    for (const std::string &remark : remarks) {
        comments += "# " + textForms::oneLine(remark) + '\n';
    }
    return comments + Writer(ObjectIds::open).write(mapping);
}
