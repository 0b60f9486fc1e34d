#include "Checker.h"

#include "Acceptances.h"
#include "CheckedMapping.h"
#include "InputError.h"
#include "NotesSchema.h"
#include "QuietOutput.h"

#include <algorithm>
#include <array>
#include <map>

namespace
{
constexpr std::array groups{
    checkSchema,        checkFile,    checkNotes,       checkNumbers, checkTexts, checkDuplicates,
    checkSharedObjects, checkTypes,   checkConversions, checkAccess,  checkNodes, checkOverlaps,
    checkArcs,          checkColumns, checkRows,        checkDevices, checkNames, checkAlarms};
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

std::string shownAs(const ObjectNotes &notes, std::size_t row)
{
    return notes.name.empty() ? "row " + std::to_string(row) : notes.name;
}

void nameScalar(const CheckedMapping &mapping, const ScalarEntry &entry, Finding &finding)
{
    const SnmpObjOid &scalar = entry.record;
    Oid oid = mapping.base;
    oid.insert(oid.end(), {scalar.oidArc1, scalar.oidArc2, scalar.oidArc3, 0});
    finding.object = entry.notes.name;
    finding.oid = oidText(oid);
}

void nameCell(const CheckedMapping &mapping, const CellEntry &entry, Finding &finding)
{
    for (std::size_t index = 0; index < mapping.tables.size(); ++index) {
        const CheckedTable &table = mapping.tables[index];
        if (table.node == entry.record.tableNode) {
            Oid oid = table.oid;
            if (!finding.place.isOfTable) {
                oid.insert(oid.end(), {1, entry.record.column});
            }
            finding.object =
                finding.place.isOfTable ? mapping.source.tables[index].name : entry.notes.name;
            finding.oid = oidText(oid);
        }
    }
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

/// A bad base in the file is a finding; a bad --base is a command-line error.
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

CheckedMapping checkedMapping(const MappingDatabase &database, const std::string &base)
{
    CheckedMapping mapping{.database = database,
                           .source = database.source(),
                           .allCells = {},
                           .baseText = {},
                           .base = {},
                           .badBase = {},
                           .tables = {}};
    setBase(mapping, base);
    return mapping;
}

void keepServed(CheckedMapping &mapping)
{
    mapping.allCells = mapping.source.cells;
    removeUnservedCells(mapping.source);
    mapping.tables = tablesOf(mapping);
}

void nameObjects(const CheckedMapping &mapping, Findings &findings)
{
    std::map<std::size_t, const ScalarEntry *> scalars;
    for (const ScalarEntry &entry : mapping.source.scalars) {
        scalars.emplace(entry.row, &entry);
    }
    std::map<std::size_t, const CellEntry *> cells;
    for (const CellEntry &entry : mapping.source.cells) {
        cells.emplace(entry.row, &entry);
    }
    for (Finding &finding : findings.all()) {
        const bool isScalar = finding.place.table == mappingSchema::scalarTable;
        const bool isCell = finding.place.table == mappingSchema::cellTable;
        const auto scalar = isScalar ? scalars.find(finding.place.row) : scalars.end();
        const auto cell = isCell ? cells.find(finding.place.row) : cells.end();
        if (scalar != scalars.end()) {
            nameScalar(mapping, *scalar->second, finding);
        } else if (cell != cells.end()) {
            nameCell(mapping, *cell->second, finding);
        }
    }
}

void placeInSource(const SourcePlaces &places, Finding &finding)
{
    const WrittenObject *object = places.objectOf(finding.place.table, finding.place.row);
    if (object != nullptr && finding.place.isOfTable && places.tableOf(*object) != nullptr) {
        object = places.tableOf(*object);
    }
    finding.mark = object == nullptr ? places.module.mark : markOf(*object, finding.place.column);
}

FindingPlace placeOf(const ScalarEntry &entry, const char *column)
{
    return {.table = mappingSchema::scalarTable, .row = entry.row, .column = column};
}

FindingPlace placeOf(const CellEntry &entry, const char *column)
{
    return {.table = mappingSchema::cellTable, .row = entry.row, .column = column};
}

FindingPlace placeOf(const AlarmNotes &alarm, const char *column)
{
    return {.table = mappingSchema::alarmTable, .row = alarm.row, .column = column};
}

std::string shownAs(const CellEntry &entry)
{
    return shownAs(entry.notes, entry.row);
}

std::string shownAs(const ScalarEntry &entry)
{
    return shownAs(entry.notes, entry.row);
}

Findings check(const MappingDatabase &database, const SourcePlaces &places, const std::string &base)
{
    Findings findings = check(database, base);
    for (Finding &finding : findings.all()) {
        placeInSource(places, finding);
    }
    acceptances::apply(places, findings);
    findings.sort();
    return findings;
}

Findings check(const MappingDatabase &database, const std::string &base)
{
    CheckedMapping mapping = checkedMapping(database, base);
    Findings findings;
    const std::vector<std::string> shifted = takeShiftedTables(mapping, findings);
    keepServed(mapping);
    const QuietOutput quiet;
    for (const RuleGroup group : groups) {
        group(mapping, findings);
    }
    nameObjects(mapping, findings);
    for (const std::string &table : shifted) {
        findings.keepOnly("TM108", table);
    }
    findings.sort();
    return findings;
}
