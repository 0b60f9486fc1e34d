#include "Checker.h"

#include "CheckedMapping.h"
#include "InputError.h"
#include "QuietOutput.h"

#include <algorithm>
#include <array>

namespace
{
constexpr std::array groups{
    checkSchema,        checkFile,    checkNotes,       checkNumbers, checkTexts, checkDuplicates,
    checkSharedObjects, checkTypes,   checkConversions, checkAccess,  checkNodes, checkOverlaps,
    checkArcs,          checkColumns, checkRows,        checkDevices, checkNames};
constexpr std::uint32_t firstColumn = 2;

std::vector<CheckedTable> tablesOf(const CheckedMapping &mapping)
{
    std::vector<CheckedTable> tables;
    for (const TableNotes &notes : mapping.source.tables) {
        CheckedTable table{.node = notes.node,
                           .oid = numbersIn(mapping.baseText + notes.node),
                           .isServed = tables.size() < servedTables,
                           .cells = {},
                           .columns = {}};
        for (const CellEntry &entry : mapping.allCells) {
            if (entry.record.tableNode == notes.node) {
                table.cells.push_back(&entry);
                if (entry.record.column >= firstColumn) {
                    table.columns[entry.record.column].insert(entry.record.instance);
                }
            }
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

/// The agent reads the cells of further tables, but never serves them.
void removeUnservedCells(MappingSource &mapping)
{
    const auto isUnserved = [&mapping](const CellEntry &entry) {
        const auto table = std::find_if(
            mapping.tables.begin(), mapping.tables.end(),
            [&entry](const TableNotes &each) { return each.node == entry.record.tableNode; });
        return static_cast<std::size_t>(table - mapping.tables.begin()) >= servedTables;
    };
    mapping.cells.erase(std::remove_if(mapping.cells.begin(), mapping.cells.end(), isUnserved),
                        mapping.cells.end());
}

/// A bad base in the file is a finding, a bad stated one an error of the command line.
void setBase(CheckedMapping &mapping, const std::string &stated)
{
    try {
        mapping.baseText = baseText(mapping.source.module, stated);
    } catch (const InputError &error) {
        if (!stated.empty()) {
            throw;
        }
        mapping.badBase = error.what();
        mapping.baseText = baseText({}, {});
    }
    mapping.base = numbersIn(mapping.baseText);
}
} // namespace

FindingPlace placeOf(const ScalarEntry &entry, const char *column)
{
    return {.table = mappingSchema::scalarTable, .row = entry.row, .column = column};
}

FindingPlace placeOf(const CellEntry &entry, const char *column)
{
    return {.table = mappingSchema::cellTable, .row = entry.row, .column = column};
}

Findings check(const MappingDatabase &database, const std::string &base)
{
    CheckedMapping mapping{.database = database,
                           .source = database.source(),
                           .allCells = {},
                           .baseText = {},
                           .base = {},
                           .badBase = {},
                           .tables = {}};
    Findings findings;
    setBase(mapping, base);
    const std::vector<std::string> shifted = takeShiftedTables(mapping, findings);
    mapping.allCells = mapping.source.cells;
    removeUnservedCells(mapping.source);
    mapping.tables = tablesOf(mapping);
    const QuietOutput quiet;
    for (const RuleGroup group : groups) {
        group(mapping, findings);
    }
    for (const std::string &table : shifted) {
        findings.keepOnly("TM108", table);
    }
    findings.sort();
    return findings;
}
