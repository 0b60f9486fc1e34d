#pragma once

#include "DeviceMotion.h"
#include "Findings.h"
#include "MappingDatabase.h"
#include "MappingSchema.h"
#include "ServedObjects.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The cells of one table node, as the rules see them.
struct CheckedTable {
    std::string node;
    /// Including the base.
    Oid oid;
    bool isServed = false;
    std::vector<const CellEntry *> cells;
    /// The rows of each column from 2 on.
    std::map<std::uint32_t, std::set<std::uint8_t>> columns;
};

/// What the rules read: the rows of the file, and the records that the agent makes from them.
struct CheckedMapping {
    const MappingDatabase &database;
    /// Without the cells of tables that are not served.
    MappingSource source;
    /// The cells of all tables.
    std::vector<CellEntry> allCells;
    /// The stated base, that of the file or, if that is bad, the default.
    std::string baseText;
    Oid base;
    /// Why the base in the file is not an OID; empty if it is one, or if --base overrides it.
    std::string badBase;
    std::vector<CheckedTable> tables;
};

/// The records of a database, still without tables. `base` as in ServedOptions; throws InputError
/// if it is not an OID.
[[nodiscard]] CheckedMapping checkedMapping(const MappingDatabase &database,
                                            const std::string &base);
/// Sets the tables, and drops the cells of those that are not served.
void keepServed(CheckedMapping &mapping);

/// Names the objects of findings by their rows. Rows that the agent drops stay without a name.
void nameObjects(const CheckedMapping &mapping, Findings &findings);
/// Says where a source writes it. Findings of the whole mapping belong to the module.
void placeInSource(const SourcePlaces &places, Finding &finding);

/// Rules that belong together.
using RuleGroup = void (*)(const CheckedMapping &, Findings &);

void checkSchema(const CheckedMapping &mapping, Findings &findings);
void checkFile(const CheckedMapping &mapping, Findings &findings);
void checkNotes(const CheckedMapping &mapping, Findings &findings);
void checkNumbers(const CheckedMapping &mapping, Findings &findings);
void checkTexts(const CheckedMapping &mapping, Findings &findings);
void checkDuplicates(const CheckedMapping &mapping, Findings &findings);
void checkSharedObjects(const CheckedMapping &mapping, Findings &findings);
void checkTypes(const CheckedMapping &mapping, Findings &findings);
void checkConversions(const CheckedMapping &mapping, Findings &findings);
void checkAccess(const CheckedMapping &mapping, Findings &findings);
void checkNodes(const CheckedMapping &mapping, Findings &findings);
void checkOverlaps(const CheckedMapping &mapping, Findings &findings);
void checkDevices(const CheckedMapping &mapping, Findings &findings);
void checkNames(const CheckedMapping &mapping, Findings &findings);
void checkArcs(const CheckedMapping &mapping, Findings &findings);
void checkColumns(const CheckedMapping &mapping, Findings &findings);
void checkRows(const CheckedMapping &mapping, Findings &findings);
void checkAlarms(const CheckedMapping &mapping, Findings &findings);

/// Reports the tables whose columns are all one position off, and takes their records out of the
/// mapping. The other rules would find a fault in every row of them.
[[nodiscard]] std::vector<std::string> takeShiftedTables(CheckedMapping &mapping,
                                                         Findings &findings);

[[nodiscard]] FindingPlace placeOf(const ScalarEntry &entry, const char *column);
[[nodiscard]] FindingPlace placeOf(const CellEntry &entry, const char *column);
[[nodiscard]] FindingPlace placeOf(const AlarmNotes &alarm, const char *column);

/// The numbers that fit in the device's object, if it is a number of a valid width.
[[nodiscard]] std::optional<deviceMotion::Range> deviceNumbers(const DeviceNotes &device);

/// The name of another object in a finding; without a name its row.
[[nodiscard]] std::string shownAs(const ScalarEntry &entry);
[[nodiscard]] std::string shownAs(const CellEntry &entry);
