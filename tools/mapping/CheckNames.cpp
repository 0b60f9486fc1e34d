#include "AlarmWords.h"
#include "CheckedMapping.h"
#include "MappingWords.h"
#include "NotesSchema.h"
#include "ObjectNames.h"
#include "ServedObjects.h"
#include "TextForms.h"

#include <tuple>

namespace
{
/// The names of a mapping that the MIB defines besides those of the objects, in lower case: the
/// nodes that the author names, and the parts of tables.
std::set<std::string> takenNames(const MappingSource &source)
{
    std::set<std::string> names;
    for (const NodeName &group : source.module.groups) {
        names.insert(objectNames::folded(group.name));
    }
    for (const TableNotes &table : source.tables) {
        const std::string stem = objectNames::folded(tableStem({.notes = table, .oid = {}}));
        if (!stem.empty()) {
            names.insert({stem + "entry", stem + "subindex"});
        }
    }
    return names;
}

/// Collects the names of a mapping, each with its first holder.
class Names
{
public:
    Names(const CheckedMapping &mapping, Findings &findings)
        : _module(objectNames::ofModule(mapping.source.module.name)),
          _taken(takenNames(mapping.source)), _findings(findings)
    {
    }

    /// The holder is what the name belongs to, such as a column. The effect is that of the rules
    /// unless it is stated.
    void add(const std::string &name, const std::string &holder, const FindingPlace &place,
             const std::string &effect = {})
    {
        if (name.empty()) {
            return;
        }
        const std::string plain = objectNames::folded(name);
        if (_taken.contains(plain) || objectNames::isOfModule(name, _module)) {
            _findings.add("TM921", place, "name " + textForms::quoted(name), effect);
            return;
        }
        const auto [first, isNew] = _holders.try_emplace(plain, Holder{holder, name});
        if (!isNew && first->second.what != holder) {
            const std::string &other = first->second.name;
            _findings.add("TM924", place,
                          "name " + textForms::quoted(name) +
                              (other == name ? "" : ", as " + textForms::quoted(other)),
                          effect);
        }
    }

    /// A group of the module has the name of another definition of it.
    void addGroup(const std::string &name)
    {
        if (objectNames::isOfModule(name, _module)) {
            _findings.add("TM921", inNotes("name"), "group " + textForms::quoted(name));
        }
    }

    [[nodiscard]] static FindingPlace inNotes(const char *column)
    {
        return {.table = mappingSchema::notesTable, .row = 0, .column = column};
    }

private:
    struct Holder {
        std::string what;
        std::string name;
    };

    std::string _module;
    std::set<std::string> _taken;
    /// By their names in lower case.
    std::map<std::string, Holder> _holders;
    Findings &_findings;
};

constexpr const char *refusedEffect =
    "The module defines the name twice, and tools refuse to load it.";

void addAlarms(const MappingSource &source, Names &names)
{
    for (const AlarmNotes &alarm : source.alarms) {
        const std::string holder = "alarm " + std::to_string(alarm.number);
        for (const std::string &name : {alarm.name, alarm.name + alarmWords::clearSuffix}) {
            names.add(name, holder, placeOf(alarm, "name"), refusedEffect);
        }
    }
}

/// Names in the file that the records do not have, because SMI does not allow them.
void checkForms(const RawTable *table, const char *name, Findings &findings)
{
    const auto column = table == nullptr ? std::nullopt : table->find("name");
    if (!column || *column < mappingSchema::columnsRead) {
        return;
    }
    std::set<std::string> seen;
    for (std::size_t row = 0; row < table->rows.size(); ++row) {
        const std::string text = table->rows[row][*column].value_or("");
        if (!text.empty() && !mappingWords::isName(text) && seen.insert(text).second) {
            findings.add("TM925", {.table = name, .row = row + 1, .column = "name"},
                         "name " + textForms::quoted(text));
        }
    }
}

void checkFormsOfModule(const MappingSource &source, Findings &findings)
{
    const std::string &module = source.module.name;
    if (!module.empty() && !mappingWords::isModuleName(module)) {
        findings.add("TM925", Names::inNotes("name"), "module " + textForms::quoted(module));
    }
    for (const TableNotes &table : source.tables) {
        if (!table.name.empty() && !mappingWords::isName(table.name)) {
            findings.add("TM925", Names::inNotes("name"), "table " + textForms::quoted(table.name));
        }
    }
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
    checkForms(mapping.database.scalars(), mappingSchema::scalarTable, findings);
    checkForms(mapping.database.cells(), mappingSchema::cellTable, findings);
    checkFormsOfModule(mapping.source, findings);
    Names names(mapping, findings);
    for (const NodeName &group : mapping.source.module.groups) {
        names.addGroup(group.name);
    }
    for (const TableNotes &table : mapping.source.tables) {
        names.add(table.name, "table " + table.node, Names::inNotes("name"));
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
    addAlarms(mapping.source, names);
    const std::string &updated = mapping.source.module.updated;
    if (!updated.empty() && !mappingWords::isDay(updated)) {
        findings.add("TM923", Names::inNotes("updated"), textForms::quoted(updated));
    }
    checkLastArcs(mapping, findings);
}
