#pragma once

#include "DataBaseAdapter.h"
#include "MappingRecords.h"
#include "Mutex.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The whole mapping between SNMP objects and device objects, in memory: filled once from the
/// mapping database, then only read. An unreadable database is told in a line on standard output
/// and leaves the mapping empty. Lookups copy records out, take the one lock for that time and
/// return 0, or -1 for nothing found, unless they say otherwise. Any thread may look up. Copying
/// needs memory, as loading does: without it they throw std::bad_alloc, and what they had begun to
/// fill is left half filled. Only `getSlotFreq` never throws.
class SnmpDataBase
{
public:
    /// Loads the mapping from the database file.
    explicit SnmpDataBase(const char *path);
    virtual ~SnmpDataBase() = default;
    SnmpDataBase(const SnmpDataBase &) = delete;
    SnmpDataBase &operator=(const SnmpDataBase &) = delete;

    /// Empties the mapping and loads it again; readers see the old or the new one.
    void loadDataBase(const char *path);

    /// Each loads one table from a store that is not open yet: 0, or -1 when the store or the table
    /// cannot be read. The first row of a key wins. A NULL in the carried text column repeats
    /// the text of the nearest earlier row that had one. They do not lock.
    std::int32_t initSnmpObjOid(DataBaseAdapter &adapter);
    std::int32_t initSnmpTableOid(DataBaseAdapter &adapter);
    std::int32_t initTableSlotFreq(DataBaseAdapter &adapter);
    /// Looks one object's channel up in an open store and files it with the slot. Always 0.
    std::int32_t loadGenusGroup(DataBaseAdapter &adapter, std::uint16_t objId, std::uint16_t slot);

    /// The description of a device object. A scalar's is preferred to a table cell's.
    std::int32_t getSnmpObjInfo(std::uint16_t objId, SnmpObjInfo &info);
    /// The cell of a column and row of a table. One that is missing is told in a line.
    std::int32_t getSnmpTableOid(const std::string &tableNode, std::uint32_t column,
                                 std::uint8_t instance, SnmpTableOid &record);
    /// Appends all scalars in ascending object id. Always 0.
    std::int32_t getSnmpObjOidList(std::vector<SnmpObjOid> &list);
    /// Replaces the list by all tables in order of first appearance; -1, list untouched, without
    /// any.
    std::int32_t getSnmpTableList(std::vector<SnmpTableInfo> &list);
    /// Appends the cells of row 1 of a table in ascending column. Always 0. The cells of a table
    /// whose node is this one followed by "01" and more are taken for columns too.
    std::int32_t getSnmpTableColumns(const std::string &tableNode, std::vector<SnmpTableOid> &list);
    /// Completes the record from its `objId`.
    std::int32_t getSnmpObjOid(SnmpObjOid &record);
    /// Appends the object ids whose flag is set, scalars in ascending id, then cells in key order.
    std::int32_t getFlaggedObjIds(std::vector<std::uint16_t> &ids);
    /// How many cells lie between column 2 of row 1 and column 2 of row 255, both excluded.
    std::int32_t countTableKeys(const std::string &tableNode);
    /// The frequency of an object's slot and channel; 0 when there is none.
    std::int32_t getSlotFreq(std::uint16_t objId, std::uint16_t &freq);

protected:
    /// The sub-site that the database serves; other than 0 it makes every row use the cells of
    /// row 1.
    std::uint8_t subsite = 0;

private:
    enum class LoadResult { loaded, notOpened, notReadable };

    LoadResult fileCells(DataBaseAdapter &adapter);
    void fileCell(SnmpTableOid &&cell);
    [[nodiscard]] std::int32_t notOpened(const char *loader) const;
    [[nodiscard]] std::int32_t notReadable(const char *tableName) const;

    std::map<std::uint16_t, SnmpObjOid> _scalars;
    std::map<std::string, SnmpTableOid> _cells;
    /// Each points into `_cells`.
    std::map<std::uint16_t, const SnmpTableOid *> _cellsById;
    std::map<std::uint16_t, std::uint16_t> _slotFrequencies;
    std::map<std::uint16_t, std::uint16_t> _genusGroups;
    std::vector<SnmpTableInfo> _tables;
    Mutex _mutex;
};
