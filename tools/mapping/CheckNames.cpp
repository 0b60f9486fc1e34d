#include "CheckedMapping.h"
#include "MappingWords.h"
#include "NotesSchema.h"
#include "ObjectNames.h"
#include "SmiText.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace
{
/// The names that the MIB gives to its own definitions.
std::set<std::string> takenNames(const MappingSource &source)
{
    const std::string &module = source.module.name;
    const std::string identity =
        smiText::identity(module.empty() ? objectNames::unnamedModule : module);
    std::set<std::string> names{identity, identity + "Conformance", identity + "Compliance",
                                identity + "Group"};
    if (!source.alarms.empty()) {
        names.insert({identity + "Notifications", identity + "NotificationGroup"});
    }
    return names;
}

/// Collects the names of a mapping, each with its first holder.
class Names
{
public:
    Names(const CheckedMapping &mapping, Findings &findings)
        : _taken(takenNames(mapping.source)), _findings(findings)
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
    if (!updated.empty() && !mappingWords::isDay(updated)) {
        findings.add("TM923", {.table = mappingSchema::notesTable, .row = 0, .column = "updated"},
                     textForms::quoted(updated));
    }
    checkLastArcs(mapping, findings);
}
