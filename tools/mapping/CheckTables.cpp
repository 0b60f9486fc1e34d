#include "CheckedMapping.h"
#include "TextForms.h"

#include <algorithm>
#include <string_view>
#include <tuple>

namespace
{
constexpr std::uint32_t firstColumn = 2;
constexpr std::uint32_t entryArc = 1;
constexpr std::size_t magicNumbers = 255;
constexpr const char *joinedInside =
    "The agent ignores what precedes the first period: the table is served at another place below "
    "the base.";

FindingPlace placeOf(const CheckedTable &table, const char *column)
{
    const CellEntry &first = *table.cells.front();
    FindingPlace place = ::placeOf(first, column);
    place.isOfTable = true;
    return place;
}

std::string shown(const CheckedTable &table)
{
    return "table " + textForms::quoted(table.node);
}

/// Only digits between the periods, and at least one between any two.
bool isDotted(std::string_view node)
{
    return node.find_first_not_of(".0123456789") == std::string_view::npos &&
           node.find("..") == std::string_view::npos && !node.ends_with('.');
}

bool startsWith(const Oid &oid, const Oid &start)
{
    return oid.size() >= start.size() && std::equal(start.begin(), start.end(), oid.begin());
}

void checkNode(const CheckedMapping &mapping, const CheckedTable &table, Findings &findings)
{
    const FindingPlace place = placeOf(table, "tableNode");
    if (!table.isServed) {
        findings.add("TM708", place, shown(table));
        return;
    }
    if (table.node.empty()) {
        findings.add("TM704", place, "\"\"");
        return;
    }
    const std::string becomes = textForms::quoted(table.node) + " becomes " + oidText(table.oid);
    if (!isDotted(table.node)) {
        findings.add("TM702", place, becomes);
    }
    if (!table.node.starts_with('.')) {
        findings.add("TM701", place, becomes,
                     startsWith(table.oid, mapping.base) ? joinedInside : std::string());
    }
    if (table.oid.size() + cellSuffixLength > longestOid) {
        findings.add("TM709", place,
                     std::to_string(table.oid.size()) + " numbers, plus " +
                         std::to_string(cellSuffixLength) + " in each cell");
    }
}

/// Finds a node whose cells the agent counts as columns of this one.
void checkForeignColumns(const CheckedMapping &mapping, const CheckedTable &table,
                         Findings &findings)
{
    std::vector<SnmpTableOid> columns;
    mapping.database.agent().getSnmpTableColumns(table.node, columns);
    const auto foreign =
        std::find_if(columns.begin(), columns.end(),
                     [&table](const SnmpTableOid &each) { return each.tableNode != table.node; });
    if (foreign != columns.end()) {
        findings.add("TM705", placeOf(table, "tableNode"),
                     shown(table) + " and table " + textForms::quoted(foreign->tableNode));
    }
}

bool areNested(const Oid &a, const Oid &b)
{
    return startsWith(a, b) || startsWith(b, a);
}

/// What happens where the two meet; empty: what the rule says.
std::string effectOfOverlap(const Oid &scalar, const Oid &table)
{
    Oid entry = table;
    entry.push_back(entryArc);
    if (scalar == table) {
        return "The library refuses the table: none of its cells is served.";
    }
    Oid instance = scalar;
    instance.push_back(0);
    if (instance == table) {
        return "The table takes the place of the scalar's instance: the scalar is not served.";
    }
    if (!startsWith(scalar, entry)) {
        return "The agent serves both, but SMIv2 forbids it: a tool that loads the MIB complains.";
    }
    const bool isCell = instance.size() == table.size() + cellSuffixLength;
    return isCell ? "The scalar takes the place of a cell." : "";
}

void checkScalarOverlap(const CheckedMapping &mapping, const CheckedTable &table,
                        Findings &findings)
{
    for (const ScalarEntry &entry : mapping.source.scalars) {
        const SnmpObjOid &scalar = entry.record;
        Oid oid = mapping.base;
        oid.insert(oid.end(), {scalar.oidArc1, scalar.oidArc2, scalar.oidArc3});
        if (areNested(oid, table.oid)) {
            findings.add("TM707", ::placeOf(entry, "oidArc1"),
                         "scalar " + oidText(oid) + " and " + shown(table) + " at " +
                             oidText(table.oid),
                         effectOfOverlap(oid, table.oid));
        }
    }
}

std::string listed(const std::set<std::uint32_t> &numbers)
{
    std::string text;
    for (const std::uint32_t number : numbers) {
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    }
    return text;
}

/// The columns of row 1, which the agent counts.
std::set<std::uint32_t> definedColumns(const CheckedTable &table)
{
    std::set<std::uint32_t> columns;
    for (const auto &[column, rows] : table.columns) {
        if (rows.contains(1)) {
            columns.insert(column);
        }
    }
    return columns;
}

void checkColumnNumbers(const CheckedTable &table, Findings &findings)
{
    const std::set<std::uint32_t> defined = definedColumns(table);
    std::uint32_t expected = firstColumn;
    bool isInOrder = true;
    for (const std::uint32_t column : defined) {
        isInOrder = isInOrder && column == expected;
        ++expected;
    }
    if (!isInOrder) {
        findings.add("TM803", placeOf(table, "columnId"),
                     shown(table) + " has columns " + listed(defined));
    }
    std::set<std::uint32_t> late;
    for (const auto &[column, rows] : table.columns) {
        const auto lowest = rows.lower_bound(1);
        if (!defined.contains(column) && lowest != rows.end()) {
            late.insert(column);
        }
    }
    if (!late.empty()) {
        findings.add("TM811", placeOf(table, "columnId"),
                     shown(table) + " has no row 1 in column " + listed(late));
    }
}

void checkCellPosition(const CellEntry &entry, Findings &findings)
{
    const SnmpTableOid &cell = entry.record;
    if (cell.column == 0) {
        findings.add("TM801", ::placeOf(entry, "columnId"), "column 0");
    } else if (cell.column == 1) {
        findings.add("TM802", ::placeOf(entry, "columnId"), "column 1");
    }
    if (cell.instance == 0) {
        findings.add("TM806", ::placeOf(entry, "instance"), "row 0");
    } else if (cell.instance > manyRows) {
        findings.add("TM805", ::placeOf(entry, "instance"), "row " + std::to_string(cell.instance));
    }
}

/// How many rows the table is meant to have.
std::uint8_t rowsOf(const CheckedTable &table)
{
    const bool hasMany = std::any_of(table.cells.begin(), table.cells.end(), [](const auto *each) {
        return each->record.instance > fewRows;
    });
    return hasMany ? manyRows : fewRows;
}

void checkMissingRows(const CheckedTable &table, Findings &findings)
{
    const std::uint8_t wanted = rowsOf(table);
    for (const auto &[column, rows] : table.columns) {
        std::set<std::uint32_t> missing;
        // A column without row 1 is reported separately.
        for (std::uint8_t row = rows.contains(1) ? 2 : wanted + 1; row <= wanted; ++row) {
            if (!rows.contains(row)) {
                missing.insert(row);
            }
        }
        if (!missing.empty()) {
            findings.add("TM804", placeOf(table, "instance"),
                         shown(table) + ", column " + std::to_string(column) + " has no row " +
                             listed(missing));
        }
    }
}

/// Rows of the device that tables lack, and the other way round.
void checkRowCounts(const std::vector<const CheckedTable *> &tables, Findings &findings)
{
    const auto few = [](const CheckedTable *table) { return rowsOf(*table) == fewRows; };
    const bool haveFew = std::any_of(tables.begin(), tables.end(), few);
    if (haveFew && !std::all_of(tables.begin(), tables.end(), few)) {
        findings.add("TM812", placeOf(*tables.back(), "instance"),
                     shown(*tables.front()) + " and " + shown(*tables.back()));
        return;
    }
    for (const CheckedTable *table : tables) {
        if (haveFew) {
            findings.add("TM810", placeOf(*table, "instance"), shown(*table));
        }
    }
}

std::vector<const CheckedTable *> servedTablesOf(const CheckedMapping &mapping)
{
    std::vector<const CheckedTable *> served;
    for (const CheckedTable &table : mapping.tables) {
        if (table.isServed) {
            served.push_back(&table);
        }
    }
    return served;
}

auto formOf(const SnmpTableOid &cell)
{
    return std::tie(cell.asnType, cell.access, cell.valueType);
}

void checkUniformity(const CheckedTable &table, Findings &findings)
{
    std::map<std::uint32_t, const CellEntry *> firsts;
    for (const CellEntry *entry : table.cells) {
        const CellEntry &first = *firsts.try_emplace(entry->record.column, entry).first->second;
        if (formOf(entry->record) != formOf(first.record)) {
            findings.add("TM808", ::placeOf(*entry, "asnType"),
                         "type, access or conversion differs from " + shownAs(first));
        }
    }
    const auto other =
        std::find_if(table.cells.begin(), table.cells.end(), [&table](const CellEntry *each) {
            return each->record.tableKind != table.cells.front()->record.tableKind;
        });
    if (other != table.cells.end()) {
        findings.add("TM809", ::placeOf(**other, "tableKind"),
                     "table kind " + std::to_string((*other)->record.tableKind));
    }
}
} // namespace

void checkNodes(const CheckedMapping &mapping, Findings &findings)
{
    for (const CheckedTable &table : mapping.tables) {
        checkNode(mapping, table, findings);
    }
    for (const CheckedTable *table : servedTablesOf(mapping)) {
        checkForeignColumns(mapping, *table, findings);
    }
    const RawTable *const cells = mapping.database.cells();
    const bool hasNodes =
        cells != nullptr && cells->columnNames.size() >= mappingSchema::columnsRead;
    for (std::size_t row = 0; hasNodes && row < cells->rows.size(); ++row) {
        if (!cells->rows[row][mappingSchema::cellPosition::tableNode]) {
            findings.add("TM703",
                         {.table = mappingSchema::cellTable, .row = row + 1, .column = "tableNode"},
                         "NULL");
        }
    }
}

void checkOverlaps(const CheckedMapping &mapping, Findings &findings)
{
    for (std::size_t index = 0; index < mapping.tables.size(); ++index) {
        const CheckedTable &table = mapping.tables[index];
        if (!table.isServed || table.node.empty()) {
            continue;
        }
        for (std::size_t other = 0; other < index; ++other) {
            if (!mapping.tables[other].node.empty() &&
                areNested(mapping.tables[other].oid, table.oid)) {
                findings.add("TM706", placeOf(table, "tableNode"),
                             shown(mapping.tables[other]) + " and " + shown(table));
            }
        }
        checkScalarOverlap(mapping, table, findings);
    }
    for (const ScalarEntry &entry : mapping.source.scalars) {
        if (entry.record.oidArc4 != 0) {
            findings.add("TM711", ::placeOf(entry, "oidArc4"),
                         std::to_string(entry.record.oidArc4));
        }
    }
    if (mapping.source.scalars.size() > magicNumbers) {
        findings.add("TM712", {.table = mappingSchema::scalarTable, .row = 0, .column = {}},
                     std::to_string(mapping.source.scalars.size()) + " scalars");
    }
}

void checkColumns(const CheckedMapping &mapping, Findings &findings)
{
    for (const CheckedTable *table : servedTablesOf(mapping)) {
        checkColumnNumbers(*table, findings);
        checkUniformity(*table, findings);
    }
}

void checkRows(const CheckedMapping &mapping, Findings &findings)
{
    for (const CellEntry &entry : mapping.source.cells) {
        checkCellPosition(entry, findings);
    }
    const std::vector<const CheckedTable *> tables = servedTablesOf(mapping);
    for (const CheckedTable *table : tables) {
        checkMissingRows(*table, findings);
    }
    checkRowCounts(tables, findings);
}
