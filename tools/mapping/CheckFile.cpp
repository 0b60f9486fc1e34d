#include "CheckedMapping.h"
#include "NotesSchema.h"
#include "TextForms.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <string_view>

namespace
{
using mappingSchema::Reading;

bool isSameWord(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char one, char other) {
        return std::tolower(static_cast<unsigned char>(one)) ==
               std::tolower(static_cast<unsigned char>(other));
    });
}

/// Whether SQLite turns text that looks like a number into one, by the rules for declared types.
bool isNumeric(std::string type)
{
    std::transform(type.begin(), type.end(), type.begin(),
                   [](unsigned char each) { return static_cast<char>(std::toupper(each)); });
    const auto has = [&type](const char *part) { return type.find(part) != std::string::npos; };
    if (has("INT")) {
        return true;
    }
    return !type.empty() && !has("CHAR") && !has("CLOB") && !has("TEXT") && !has("BLOB");
}

template <typename Record>
void checkTypesOf(const RawTable *table, const char *name,
                  const mappingSchema::Columns<Record> &columns, Findings &findings)
{
    for (std::size_t index = 0; table != nullptr && index < columns.size(); ++index) {
        const bool isDeclared = index < table->columnTypes.size();
        if (isDeclared && columns[index].reading == Reading::hexadecimal &&
            isNumeric(table->columnTypes[index])) {
            findings.add("TM107", {.table = name, .row = 0, .column = columns[index].name},
                         "type " + textForms::quoted(table->columnTypes[index]));
        }
    }
}

/// By how many positions the columns of the schema are off: -1, 0 or 1.
template <typename Record>
int shiftOfNames(const RawTable &table, const mappingSchema::Columns<Record> &columns)
{
    for (const int shift : {-1, 1}) {
        std::size_t matches = 0;
        for (std::size_t index = 0; index < columns.size(); ++index) {
            const std::size_t position = index + static_cast<std::size_t>(shift);
            matches += static_cast<std::size_t>(
                position < table.columnNames.size() &&
                isSameWord(table.columnNames[position], columns[index].name));
        }
        if (2 * matches > columns.size()) {
            return shift;
        }
    }
    return 0;
}

bool holdsNodes(const RawTable &table, std::size_t column)
{
    const auto isNode = [column](const auto &row) {
        return row[column] && row[column]->starts_with('.') &&
               row[column]->find_first_not_of(".0123456789") == std::string::npos;
    };
    return column < table.columnNames.size() && std::ranges::all_of(table.rows, isNode);
}

/// The same for cells whose columns have other names: their nodes are easy to recognise.
int shiftOfNodes(const RawTable &table)
{
    constexpr std::size_t node = mappingSchema::cellPosition::tableNode;
    if (table.rows.empty() || holdsNodes(table, node)) {
        return 0;
    }
    return holdsNodes(table, node + 1) ? 1 : holdsNodes(table, node - 1) ? -1 : 0;
}

std::string shiftText(int shift)
{
    return std::string("every column is one position too far to the ") +
           (shift > 0 ? "right" : "left");
}

void checkNotesOf(const RawTable *table, const char *name, std::span<const char *const> columns,
                  Findings &findings)
{
    for (const char *column : columns) {
        const auto position = table == nullptr ? std::nullopt : table->find(column);
        for (std::size_t row = 0; position && row < table->rows.size(); ++row) {
            const std::string text = table->rows[row][*position].value_or("");
            if (!textForms::isUtf8(text)) {
                findings.add("TM211", {.table = name, .row = row + 1, .column = column},
                             textForms::quoted(text));
            }
        }
    }
}
} // namespace

void checkFile(const CheckedMapping &mapping, Findings &findings)
{
    if (mapping.database.isWriteAhead()) {
        findings.add("TM106", {}, "write-ahead logging");
    }
    checkTypesOf(mapping.database.scalars(), mappingSchema::scalarTable,
                 mappingSchema::scalarColumns, findings);
    checkTypesOf(mapping.database.cells(), mappingSchema::cellTable, mappingSchema::cellColumns,
                 findings);
}

void checkNotes(const CheckedMapping &mapping, Findings &findings)
{
    const MappingDatabase &database = mapping.database;
    checkNotesOf(database.scalars(), mappingSchema::scalarTable, mappingSchema::noteColumns,
                 findings);
    checkNotesOf(database.cells(), mappingSchema::cellTable, mappingSchema::noteColumns, findings);
    checkNotesOf(database.notes(), mappingSchema::notesTable, mappingSchema::notesColumns,
                 findings);
    const FindingPlace base{.table = mappingSchema::notesTable, .row = 0, .column = "base"};
    if (!mapping.badBase.empty()) {
        findings.add("TM109", base, mapping.badBase);
    } else if (mapping.base.size() < 2 || mapping.base.front() != 1) {
        findings.add("TM110", base, "base " + mapping.baseText);
    }
}

std::vector<std::string> takeShiftedTables(CheckedMapping &mapping, Findings &findings)
{
    std::vector<std::string> shifted;
    const auto report = [&](const char *table, int shift) {
        findings.add("TM108", {.table = table, .row = 0, .column = {}}, shiftText(shift));
        shifted.emplace_back(table);
    };
    const RawTable *const scalars = mapping.database.scalars();
    const int ofScalars =
        scalars == nullptr ? 0 : shiftOfNames(*scalars, mappingSchema::scalarColumns);
    if (ofScalars != 0) {
        report(mappingSchema::scalarTable, ofScalars);
        mapping.source.scalars.clear();
    }
    const RawTable *const cells = mapping.database.cells();
    const int byName = cells == nullptr ? 0 : shiftOfNames(*cells, mappingSchema::cellColumns);
    const int ofCells = byName == 0 && cells != nullptr ? shiftOfNodes(*cells) : byName;
    if (ofCells != 0) {
        report(mappingSchema::cellTable, ofCells);
        mapping.source.cells.clear();
        mapping.source.tables.clear();
    }
    return shifted;
}
