#include "Checker.h"

#include "CheckedMapping.h"
#include "QuietOutput.h"

#include <array>

namespace
{
constexpr std::array<RuleGroup, 12> groups{
    checkSchema,      checkNumbers, checkTexts, checkDuplicates, checkSharedObjects, checkTypes,
    checkConversions, checkAccess,  checkNodes, checkOverlaps,   checkColumns,       checkRows};
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
        for (const CellEntry &entry : mapping.source.cells) {
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
                           .baseText = {},
                           .base = {},
                           .tables = {}};
    mapping.baseText = baseText(mapping.source.module, base);
    mapping.base = numbersIn(mapping.baseText);
    mapping.tables = tablesOf(mapping);
    const QuietOutput quiet;
    Findings findings;
    for (const RuleGroup group : groups) {
        group(mapping, findings);
    }
    findings.sort();
    return findings;
}
