#include "MappingDatabase.h"

#include "AlarmReader.h"
#include "AlarmWords.h"
#include "DatabaseBuilder.h"
#include "DeviceValue.h"
#include "InputError.h"
#include "MappingSchema.h"
#include "MappingTable.h"
#include "MappingWords.h"
#include "NotesSchema.h"
#include "Numbers.h"
#include "QuietOutput.h"
#include "SourceReader.h"
#include "Sqlite3.h"
#include "TemporaryFile.h"
#include "TextForms.h"
#include "TextNumbers.h"
#include "WholeFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>

namespace
{
/// In the header of the file, with 2 for write-ahead mode; in the answer of table_info.
constexpr std::size_t formatVersion = 18;
constexpr std::size_t declaredType = 2;

RawTable copyOf(const MappingTable &table)
{
    RawTable copy;
    for (std::int32_t column = 0; column < table.columnCount(); ++column) {
        copy.columnNames.emplace_back(table.columnName(column));
    }
    for (std::int32_t row = 1; row <= table.rowCount(); ++row) {
        auto &cells = copy.rows.emplace_back();
        for (std::int32_t column = 0; column < table.columnCount(); ++column) {
            const char *const cell = table.text(row, column);
            cells.push_back(cell == nullptr ? std::nullopt : std::optional<std::string>(cell));
        }
    }
    return copy;
}

RawTable query(Sqlite3 &store, const std::string &statement, const std::string &path)
{
    const MappingTable table(store, &DataBaseAdapter::query, statement.c_str(), 0);
    if (!table.isReadable()) {
        throw UnreadableDatabase(path + ": is not an SQLite database, or is damaged");
    }
    return copyOf(table);
}

void checkIntegrity(Sqlite3 &store, const std::string &path)
{
    const RawTable found = query(store, "PRAGMA quick_check(1)", path);
    const bool isSound = found.rows.size() == 1 && found.rows[0].size() == 1 &&
                         found.rows[0][0] == std::optional<std::string>("ok");
    if (!isSound) {
        const bool hasReason = !found.rows.empty() && !found.rows[0].empty() && found.rows[0][0];
        throw UnreadableDatabase(path + ": is a damaged SQLite database" +
                                 (hasReason ? ": " + textForms::oneLine(*found.rows[0][0]) : ""));
    }
}

std::optional<RawTable> fetch(Sqlite3 &store, const std::string &name, const std::string &path)
{
    const RawTable named =
        query(store, "SELECT name FROM sqlite_master WHERE upper(name) = '" + name + '\'', path);
    if (named.rows.empty()) {
        return std::nullopt;
    }
    const MappingTable table(store, &DataBaseAdapter::selectAll, name.c_str(), 0);
    if (!table.isReadable()) {
        throw UnreadableDatabase(path + ": " + name + " cannot be read");
    }
    RawTable copy = copyOf(table);
    const RawTable columns = query(store, "PRAGMA table_info(" + name + ')', path);
    for (const auto &column : columns.rows) {
        copy.columnTypes.push_back(column.at(declaredType).value_or(""));
    }
    return copy;
}

LifeNotes lifeIn(const std::string &since, const std::string &status, const std::string &until)
{
    LifeNotes life;
    if (mappingWords::isDay(since)) {
        life.since = since;
    }
    if (mappingWords::isFormerStatus(status) && mappingWords::isDay(until)) {
        life.status = status;
        life.until = until;
    }
    return life;
}

std::vector<std::string> linesIn(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// Nothing for a row that no tool has written.
std::optional<AlarmNotes> alarmIn(const std::vector<std::optional<std::string>> &row)
{
    const auto text = [&row](std::size_t column) { return row[column].value_or(""); };
    const auto number = numbers::unsignedIn(text(1), alarmReader::mostAlarms);
    const auto condition = alarmWords::conditionIn(text(3));
    const auto every = numbers::unsignedIn(text(6), alarmReader::longestInterval);
    AlarmNotes alarm{.name = text(0),
                     .object = text(2),
                     .raise = linesIn(text(4)),
                     .clear = text(5),
                     .severity = text(7),
                     .text = text(8),
                     .with = linesIn(text(9)),
                     .life = lifeIn(text(10), text(11), text(12))};
    const bool needsOne = condition && *condition != AlarmCondition::changed;
    if (!mappingWords::isName(alarm.name) || number.value_or(0) == 0 || !condition ||
        every.value_or(0) == 0 || !alarmWords::isSeverity(alarm.severity) ||
        alarm.raise.empty() == needsOne) {
        return std::nullopt;
    }
    alarm.number = static_cast<std::uint32_t>(*number);
    alarm.condition = *condition;
    alarm.every = static_cast<std::uint32_t>(*every);
    return alarm;
}

/// The columns that hold the notes of a row.
class NoteColumns
{
public:
    explicit NoteColumns(const RawTable &table)
    {
        for (std::size_t note = 0; note < _positions.size(); ++note) {
            const auto position = table.find(mappingSchema::noteColumns[note]);
            if (position && *position >= mappingSchema::columnsRead) {
                _positions[note] = position;
            }
        }
    }

    /// Databases from elsewhere may have columns with these names: implausible values are ignored.
    [[nodiscard]] ObjectNotes of(const std::vector<std::optional<std::string>> &row) const
    {
        const auto text = [&](std::size_t note) {
            return _positions[note] ? row[*_positions[note]].value_or("") : std::string();
        };
        const auto only = [](bool isMeant, const std::string &value) {
            return isMeant ? value : std::string();
        };
        const std::string name = text(0);
        const std::string kind = text(4);
        return {.name = only(mappingWords::isName(name), name),
                .description = text(1),
                .units = text(2),
                .labels = mappingWords::labelsIn(text(3)),
                .device = {.kind = only(mappingWords::isDeviceKind(kind), kind),
                           .width = static_cast<std::size_t>(
                               numbers::unsignedIn(text(5), sizeof(DeviceValue::data)).value_or(0)),
                           .value = text(6),
                           .motion = text(7)},
                .monitoring = monitoringNotes::notesIn(text(8)),
                .range = only(mappingWords::rangeIn(text(9)).has_value(), text(9)),
                .life = lifeIn(text(10), text(11), text(12))};
    }

private:
    std::array<std::optional<std::size_t>, mappingSchema::noteColumns.size()> _positions;
};

/// Copies the write-ahead log and the rollback journal: the file is incomplete without them.
void addCompanions(const std::string &path, const TemporaryFile &copy)
{
    for (const char *suffix : {"-wal", "-journal"}) {
        std::error_code ignored;
        if (std::filesystem::is_regular_file(path + suffix, ignored)) {
            copy.addBeside(suffix, readWholeFile(path + suffix));
        }
    }
}

std::uint32_t numberIn(const std::optional<std::string> &cell, int base)
{
    return cell ? parseUnsigned(cell->c_str(), base) : 0;
}

bool isReadByAgent(const RawTable *table)
{
    return table != nullptr && table->columnNames.size() >= mappingSchema::columnsRead;
}
} // namespace

std::optional<std::size_t> RawTable::find(const std::string &columnName) const
{
    const auto found = std::find(columnNames.begin(), columnNames.end(), columnName);
    if (found == columnNames.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - columnNames.begin());
}

std::string readMappingFile(const std::string &path)
{
    try {
        return readWholeFile(path);
    } catch (const InputError &error) {
        throw UnreadableDatabase(error.what());
    }
}

MappingDatabase::MappingDatabase(const std::string &path)
{
    // The agent's store may create, repair or lock the file that it opens, so it gets a copy.
    const std::string content = readMappingFile(path);
    _isWriteAhead = content.size() > formatVersion && content[formatVersion] == 2;
    const TemporaryFile copy(content);
    addCompanions(path, copy);
    load(copy, path);
}

MappingDatabase::MappingDatabase(const MappingSource &mapping, const std::string &name)
{
    load(TemporaryFile(databaseBuilder::build(mapping)), name);
}

void MappingDatabase::load(const TemporaryFile &file, const std::string &name)
{
    const QuietOutput quiet;
    Sqlite3 store(file.path().c_str());
    if (store.open() != 0) {
        throw UnreadableDatabase(name + ": cannot be opened");
    }
    checkIntegrity(store, name);
    _scalars = fetch(store, mappingSchema::scalarTable, name);
    _cells = fetch(store, mappingSchema::cellTable, name);
    _notes = fetch(store, mappingSchema::notesTable, name);
    _retired = fetch(store, mappingSchema::retiredTable, name);
    _alarms = fetch(store, mappingSchema::alarmTable, name);
    _pAgent = std::make_unique<SnmpDataBase>(file.path().c_str());
}

MappingSource MappingDatabase::source() const
{
    const QuietOutput quiet;
    MappingSource mapping;
    appendScalars(mapping);
    appendCells(mapping);
    appendRetired(mapping);
    addNotes(mapping);
    appendAlarms(mapping);
    return mapping;
}

void MappingDatabase::appendScalars(MappingSource &mapping) const
{
    if (!isReadByAgent(scalars())) {
        return;
    }
    const NoteColumns notes(*_scalars);
    std::set<std::uint16_t> seen;
    for (std::size_t index = 0; index < _scalars->rows.size(); ++index) {
        const auto &row = _scalars->rows[index];
        ScalarEntry entry;
        entry.record.objId =
            static_cast<std::uint16_t>(numberIn(row[mappingSchema::scalarPosition::objId], 16));
        if (seen.insert(entry.record.objId).second && _pAgent->getSnmpObjOid(entry.record) == 0) {
            entry.notes = notes.of(row);
            entry.row = index + 1;
            mapping.scalars.push_back(std::move(entry));
        }
    }
}

void MappingDatabase::appendCells(MappingSource &mapping) const
{
    namespace position = mappingSchema::cellPosition;
    if (!isReadByAgent(cells())) {
        return;
    }
    const NoteColumns notes(*_cells);
    std::set<std::string> seen;
    for (std::size_t index = 0; index < _cells->rows.size(); ++index) {
        const auto &row = _cells->rows[index];
        const auto &node = row[position::tableNode];
        const std::uint32_t column = numberIn(row[position::column], 10);
        const auto instance = static_cast<std::uint8_t>(numberIn(row[position::instance], 10));
        CellEntry entry;
        if (node && seen.insert(tableKey(*node, instance, column)).second &&
            _pAgent->getSnmpTableOid(*node, column, instance, entry.record) == 0) {
            entry.notes = notes.of(row);
            entry.row = index + 1;
            mapping.cells.push_back(std::move(entry));
        }
    }
}

void MappingDatabase::appendRetired(MappingSource &mapping) const
{
    if (!isReadByAgent(get(_retired))) {
        return;
    }
    const NoteColumns notes(*_retired);
    for (const auto &row : _retired->rows) {
        ScalarEntry entry;
        for (std::size_t index = 0; index < mappingSchema::scalarColumns.size(); ++index) {
            const auto &column = mappingSchema::scalarColumns.at(index);
            if (column.setNumber == nullptr) {
                entry.record.*column.text = row[index].value_or("");
            } else {
                const bool isHexadecimal = column.reading == mappingSchema::Reading::hexadecimal;
                column.setNumber(entry.record, numberIn(row[index], isHexadecimal ? 16 : 10));
            }
        }
        entry.notes = notes.of(row);
        mapping.retired.push_back(std::move(entry));
    }
}

void MappingDatabase::addLists(ModuleNotes &module) const
{
    if (!_notes || _notes->columnNames.size() < mappingSchema::notesColumns.size()) {
        return;
    }
    for (const auto &row : _notes->rows) {
        const std::string list = row[0].value_or("");
        const std::string entry = row[1].value_or("");
        const std::string value = row[2].value_or("");
        if (list == mappingSchema::revisionsSubject && mappingWords::isDay(entry)) {
            module.revisions.push_back({.day = entry, .text = value});
        } else if (list == mappingSchema::reservedSubject) {
            module.reserved.push_back(value);
        } else if (list == mappingSchema::groupsSubject && mappingWords::isName(value)) {
            module.groups.push_back({.node = entry, .name = value});
        }
    }
}

void MappingDatabase::appendAlarms(MappingSource &mapping) const
{
    if (!_alarms || _alarms->columnNames.size() < mappingSchema::alarmColumns.size()) {
        return;
    }
    for (std::size_t index = 0; index < _alarms->rows.size(); ++index) {
        if (auto alarm = alarmIn(_alarms->rows[index])) {
            alarm->row = index + 1;
            mapping.alarms.push_back(std::move(*alarm));
        }
    }
}

void MappingDatabase::addNotes(MappingSource &mapping) const
{
    std::map<std::pair<std::string, std::string>, std::string> notes;
    if (_notes && _notes->columnNames.size() >= mappingSchema::notesColumns.size()) {
        for (const auto &row : _notes->rows) {
            notes.try_emplace({row[0].value_or(""), row[1].value_or("")}, row[2].value_or(""));
        }
    }
    const auto note = [&notes](const std::string &subject, const char *property) {
        const auto found = notes.find({subject, property});
        return found == notes.end() ? std::string() : found->second;
    };
    mapping.module = {.name = note("", "name"),
                      .base = note("", "base"),
                      .organization = note("", "organization"),
                      .contact = note("", "contact"),
                      .description = note("", "description"),
                      .updated = note("", "updated")};
    addLists(mapping.module);
    std::vector<SnmpTableInfo> tables;
    _pAgent->getSnmpTableList(tables);
    for (const SnmpTableInfo &table : tables) {
        mapping.tables.push_back({.node = table.tableNode,
                                  .name = note(table.tableNode, "name"),
                                  .description = note(table.tableNode, "description")});
    }
}

MappingInput::MappingInput(const std::string &path) : MappingInput(path, readWholeFile(path)) {}

MappingInput::MappingInput(const std::string &path, const std::string &content)
{
    if (content.empty() || std::string_view(content).starts_with(databaseStart)) {
        _pDatabase = std::make_unique<MappingDatabase>(path);
    } else {
        sourceReader::WrittenMapping written = sourceReader::parseWritten(content, path);
        _pDatabase = std::make_unique<MappingDatabase>(written.mapping, path);
        _places = std::move(written.places);
    }
}
