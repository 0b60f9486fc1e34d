#pragma once

#include "DataBaseAdapter.h"
#include "MappingRecords.h"
#include "Mutex.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The whole mapping between SNMP objects and device objects, in memory: loaded once from the
/// mapping database, then only read. An unreadable database is logged and leaves the mapping empty.
/// Lookups copy records out under the one lock and, unless noted, return 0, or -1 if nothing is
/// found. Any thread may look up. If an allocation fails, loading and lookups throw std::bad_alloc
/// and leave what they were filling incomplete; only `getSlotFreq` never throws.
class SnmpDataBase
{
public:
    /// Loads the mapping from the database file.
    explicit SnmpDataBase(const char *path);
    virtual ~SnmpDataBase() = default;
    SnmpDataBase(const SnmpDataBase &) = delete;
    SnmpDataBase &operator=(const SnmpDataBase &) = delete;

    /// Clears the mapping and loads it again; readers see the old or the new one.
    void loadDataBase(const char *path);

    /// Each loads one table from a store that is not open yet: 0, or -1 if the store or the table
    /// cannot be read. The first row of a key wins. A NULL in the carried text column repeats the
    /// text of the nearest earlier row that has one. Not locked.
    std::int32_t initSnmpObjOid(DataBaseAdapter &adapter);
    std::int32_t initSnmpTableOid(DataBaseAdapter &adapter);
    std::int32_t initTableSlotFreq(DataBaseAdapter &adapter);
    /// Looks up one object's channel in an open store and files it with the slot. Always 0.
    std::int32_t loadGenusGroup(DataBaseAdapter &adapter, std::uint16_t objId, std::uint16_t slot);

    /// The description of a device object. A scalar takes precedence over a table cell.
    std::int32_t getSnmpObjInfo(std::uint16_t objId, SnmpObjInfo &info);
    /// The cell of a column and row of a table. A missing one is logged.
    std::int32_t getSnmpTableOid(const std::string &tableNode, std::uint32_t column,
                                 std::uint8_t instance, SnmpTableOid &record);
    /// Appends all scalars in ascending object id. Always 0.
    std::int32_t getSnmpObjOidList(std::vector<SnmpObjOid> &list);
    /// Replaces the list by all tables in order of first appearance; -1, with the list untouched,
    /// if there are none.
    std::int32_t getSnmpTableList(std::vector<SnmpTableInfo> &list);
    /// Appends the cells of row 1 of a table in ascending column. Always 0. Also appends the cells
    /// of a table whose node is this one followed by "01" and more.
    std::int32_t getSnmpTableColumns(const std::string &tableNode, std::vector<SnmpTableOid> &list);
    /// Fills in the record from its `objId`.
    std::int32_t getSnmpObjOid(SnmpObjOid &record);
    /// Appends the object ids whose flag is set: scalars in ascending id, then cells in key order.
    std::int32_t getFlaggedObjIds(std::vector<std::uint16_t> &ids);
    /// How many cells lie between column 2 of row 1 and column 2 of row 255, both exclusive.
    std::int32_t countTableKeys(const std::string &tableNode);
    /// The frequency of an object's slot and channel; 0 if there is none.
    std::int32_t getSlotFreq(std::uint16_t objId, std::uint16_t &freq);

protected:
    /// The sub-site that the database serves; if it is not 0, every row uses the cells of row 1.
    std::uint8_t subsite = 0;

private:
    enum class LoadResult { loaded, notOpened, notReadable };

    void fileScalar(SnmpObjOid &&scalar);
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
