#include "CheckedMapping.h"
#include "DeviceObjects.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "TextNumbers.h"

#include <array>
#include <cstdint>

namespace
{
/// Reports every row of a raw table whose key an earlier row has. Tables that the agent cannot read
/// are skipped.
template <typename Key, typename KeyOf, typename Report>
void reportRepeated(const RawTable *table, KeyOf keyOf, Report report)
{
    if (table == nullptr || table->columnNames.size() < mappingSchema::columnsRead) {
        return;
    }
    std::map<Key, std::size_t> firstRows;
    for (std::size_t row = 0; row < table->rows.size(); ++row) {
        const std::optional<Key> key = keyOf(table->rows[row]);
        if (key) {
            const auto [first, isNew] = firstRows.try_emplace(*key, row + 1);
            if (!isNew) {
                report(*key, row + 1, first->second);
            }
        }
    }
}

using Row = std::vector<std::optional<std::string>>;

std::uint32_t numberIn(const Row &row, std::size_t column, int base)
{
    return row[column] ? parseUnsigned(row[column]->c_str(), base) : 0;
}

std::optional<std::uint16_t> scalarId(const Row &row)
{
    return static_cast<std::uint16_t>(numberIn(row, mappingSchema::scalarPosition::objId, 16));
}

std::optional<std::string> cellKey(const Row &row)
{
    namespace position = mappingSchema::cellPosition;
    if (!row[position::tableNode]) {
        return std::nullopt;
    }
    return tableKey(*row[position::tableNode],
                    static_cast<std::uint8_t>(numberIn(row, position::instance, 10)),
                    numberIn(row, position::column, 10));
}

std::string alsoInRow(std::size_t row)
{
    return ", already in row " + std::to_string(row);
}

std::string converted(std::uint16_t applied, std::uint16_t written)
{
    return "; converted by " + mappingWords::conversion(applied) + ", not by " +
           mappingWords::conversion(written);
}

void checkDuplicateOids(const CheckedMapping &mapping, Findings &findings)
{
    // The agent registers in order of object ids; the library keeps the first of an OID.
    std::map<std::uint16_t, const ScalarEntry *> byId;
    for (const ScalarEntry &entry : mapping.source.scalars) {
        byId.emplace(entry.record.objId, &entry);
    }
    std::map<std::array<std::uint32_t, 3>, std::uint16_t> winners;
    for (const auto &[objId, entry] : byId) {
        const SnmpObjOid &scalar = entry->record;
        const auto [winner, isNew] =
            winners.try_emplace(std::array{scalar.oidArc1, scalar.oidArc2, scalar.oidArc3}, objId);
        if (!isNew) {
            findings.add("TM302", placeOf(*entry, "oidArc1"),
                         std::to_string(scalar.oidArc1) + '.' + std::to_string(scalar.oidArc2) +
                             '.' + std::to_string(scalar.oidArc3) + " is served for object " +
                             numbers::objectIdText(winner->second) + ", not for " +
                             numbers::objectIdText(objId));
        }
    }
}

void checkIdsOfCells(const CheckedMapping &mapping, Findings &findings)
{
    std::map<std::uint16_t, const ScalarEntry *> scalars;
    for (const ScalarEntry &entry : mapping.source.scalars) {
        scalars.emplace(entry.record.objId, &entry);
    }
    std::map<std::uint16_t, const CellEntry *> cells;
    for (const CellEntry &entry : mapping.allCells) {
        const std::uint16_t objId = entry.record.objId;
        const std::uint16_t conversion = entry.record.valueType;
        const std::string shown = "object " + numbers::objectIdText(objId);
        const auto scalar = scalars.find(objId);
        if (scalar != scalars.end() && scalar->second->record.valueType != conversion) {
            findings.add("TM305", placeOf(entry, "objId"),
                         shown + " is also the scalar of " + shownAs(*scalar->second) +
                             converted(scalar->second->record.valueType, conversion));
        }
        const CellEntry &first = *cells.try_emplace(objId, &entry).first->second;
        if (scalar == scalars.end() && first.record.valueType != conversion) {
            findings.add("TM304", placeOf(entry, "objId"),
                         shown + ", already in " + shownAs(first) +
                             converted(first.record.valueType, conversion));
        }
    }
}

/// The ids that the link uses, each with the object id that it was first used for.
class LinkObjects
{
public:
    template <typename Entry>
    void add(const Entry &entry, Findings &findings)
    {
        const std::uint16_t objId = entry.record.objId;
        const auto [first, isNew] = _firstIds.try_emplace(deviceObject::onLink(objId), objId);
        if (isNew && first->first != objId) {
            _loneMembers.emplace(first->first, placeOf(entry, "objId"));
        }
        if (!isNew && first->second != objId) {
            findings.add("TM306", placeOf(entry, "objId"),
                         "objects " + numbers::objectIdText(first->second) + " and " +
                             numbers::objectIdText(objId) + " are both requested as " +
                             numbers::objectIdText(first->first));
            _loneMembers.erase(first->first);
        }
    }

    /// Reports the members of a group that no other id joined.
    void reportLoneMembers(Findings &findings) const
    {
        for (const auto &[linkId, place] : _loneMembers) {
            findings.add("TM308", place,
                         "object " + numbers::objectIdText(_firstIds.at(linkId)) +
                             " is requested as " + numbers::objectIdText(linkId));
        }
    }

private:
    std::map<std::uint16_t, std::uint16_t> _firstIds;
    std::map<std::uint16_t, FindingPlace> _loneMembers;
};

template <typename Entry>
void checkOwnObject(const Entry &entry, bool isWritable, Findings &findings)
{
    const std::uint16_t objId = entry.record.objId;
    if (isWritable && (objId == deviceObject::baseOid || objId == deviceObject::tableRows)) {
        findings.add(
            "TM307", placeOf(entry, "access"),
            "object " + numbers::objectIdText(objId) +
                (objId == deviceObject::baseOid ? " is the base OID" : " is the number of rows"));
    }
}
} // namespace

void checkDuplicates(const CheckedMapping &mapping, Findings &findings)
{
    reportRepeated<std::uint16_t>(
        mapping.database.scalars(), scalarId,
        [&](std::uint16_t objId, std::size_t row, std::size_t first) {
            findings.add("TM301",
                         {.table = mappingSchema::scalarTable, .row = row, .column = "objId"},
                         "object " + numbers::objectIdText(objId) + alsoInRow(first));
        });
    reportRepeated<std::string>(
        mapping.database.cells(), cellKey,
        [&](const std::string & /*key*/, std::size_t row, std::size_t first) {
            findings.add("TM303",
                         {.table = mappingSchema::cellTable, .row = row, .column = "instance"},
                         "the cell" + alsoInRow(first));
        });
    checkDuplicateOids(mapping, findings);
}

void checkSharedObjects(const CheckedMapping &mapping, Findings &findings)
{
    checkIdsOfCells(mapping, findings);
    LinkObjects link;
    for (const ScalarEntry &entry : mapping.source.scalars) {
        link.add(entry, findings);
        checkOwnObject(entry, (entry.record.access & scalarWriteBit) != 0, findings);
    }
    for (const CellEntry &entry : mapping.source.cells) {
        link.add(entry, findings);
        checkOwnObject(entry, entry.record.access == columnReadWrite, findings);
    }
    link.reportLoneMembers(findings);
}
