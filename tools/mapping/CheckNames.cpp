#include "CheckedMapping.h"
#include "MibWriter.h"
#include "NotesSchema.h"
#include "ObjectNames.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace
{
/// The names that the MIB gives to its own definitions.
std::set<std::string> takenNames(const ModuleNotes &module)
{
    const std::string identity =
        mibWriter::identity(module.name.empty() ? objectNames::unnamedModule : module.name);
    return {identity, identity + "Conformance", identity + "Compliance", identity + "Group"};
}

/// Collects the names of a mapping, each with its first holder.
class Names
{
public:
    Names(const CheckedMapping &mapping, Findings &findings)
        : _taken(takenNames(mapping.source.module)), _findings(findings)
    {
    }

    /// The holder is what the name belongs to, such as a column.
    void add(const std::string &name, const std::string &holder, const FindingPlace &place)
    {
        if (name.empty()) {
            return;
        }
        if (_taken.contains(name)) {
            _findings.add("TM921", place, "name " + textForms::quoted(name));
            return;
        }
        const auto [first, isNew] = _holders.try_emplace(name, holder);
        if (!isNew && first->second != holder) {
            _findings.add("TM924", place, "name " + textForms::quoted(name));
        }
    }

private:
    std::set<std::string> _taken;
    std::map<std::string, std::string> _holders;
    Findings &_findings;
};

bool isDigits(const std::string &text, std::size_t start, std::size_t count)
{
    return text.size() >= start + count &&
           text.find_first_not_of("0123456789", start) >= start + count;
}

/// Whether a text is a day of the calendar, YYYY-MM-DD.
bool isDay(const std::string &text)
{
    constexpr std::array days{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    constexpr std::size_t length = 10;
    if (text.size() != length || text[4] != '-' || text[7] != '-' || !isDigits(text, 0, 4) ||
        !isDigits(text, 5, 2) || !isDigits(text, 8, 2)) {
        return false;
    }
    const int year = std::stoi(text.substr(0, 4));
    const int month = std::stoi(text.substr(5, 2));
    const int day = std::stoi(text.substr(8, 2));
    const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return month >= 1 && month <= 12 && day >= 1 &&
           day <= days.at(static_cast<std::size_t>(month - 1)) &&
           (month != 2 || day < 29 || isLeap);
}

bool endsInZero(const std::string &node)
{
    const std::size_t lastDigit = node.find_last_not_of('0');
    return lastDigit != std::string::npos && lastDigit + 1 < node.size() && node[lastDigit] == '.';
}

void checkLastArcs(const CheckedMapping &mapping, Findings &findings)
{
    for (const ScalarEntry &entry : mapping.source.scalars) {
        if (entry.record.oidArc3 == 0) {
            findings.add("TM922", placeOf(entry, "oidArc3"),
                         std::to_string(entry.record.oidArc1) + '.' +
                             std::to_string(entry.record.oidArc2) + ".0");
        }
    }
    for (const CheckedTable &table : mapping.tables) {
        if (table.isServed && endsInZero(table.node)) {
            findings.add("TM922", placeOf(*table.cells.front(), "tableNode"),
                         "table " + textForms::quoted(table.node));
        }
    }
}
} // namespace

void checkNames(const CheckedMapping &mapping, Findings &findings)
{
    Names names(mapping, findings);
    for (const TableNotes &table : mapping.source.tables) {
        names.add(table.name, "table " + table.node,
                  {.table = mappingSchema::notesTable, .row = 0, .column = "name"});
    }
    for (const ScalarEntry &entry : mapping.source.scalars) {
        names.add(entry.notes.name, "row " + std::to_string(entry.row), placeOf(entry, "name"));
    }
    std::set<std::tuple<std::string, std::uint32_t, std::string>> seen;
    for (const CellEntry &entry : mapping.source.cells) {
        const SnmpTableOid &cell = entry.record;
        if (seen.emplace(cell.tableNode, cell.column, entry.notes.name).second) {
            names.add(entry.notes.name,
                      "column " + std::to_string(cell.column) + " of " + cell.tableNode,
                      placeOf(entry, "name"));
        }
    }
    const std::string &updated = mapping.source.module.updated;
    if (!updated.empty() && !isDay(updated)) {
        findings.add("TM923", {.table = mappingSchema::notesTable, .row = 0, .column = "updated"},
                     textForms::quoted(updated));
    }
    checkLastArcs(mapping, findings);
}
