#include "SnmpDataBase.h"

#include "MappingSchema.h"
#include "MappingTable.h"
#include "Sqlite3.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <utility>

namespace
{
using mappingSchema::cellColumns;
using mappingSchema::cellTable;
using mappingSchema::columnsRead;
using mappingSchema::Reading;
using mappingSchema::scalarColumns;
using mappingSchema::scalarTable;

constexpr const char *slotFrequencyTable = "TABLE_SLOT_FREQ_OBJ";
constexpr const char *genusGroupTable = "TABLE_OBJ_GENUS_GROUP";
constexpr std::int32_t slotFrequencyColumns = 3;
constexpr std::int32_t genusGroupColumns = 2;
constexpr std::int32_t firstRow = 1;
constexpr std::int32_t nodeColumn = mappingSchema::cellPosition::tableNode;

/// The row whose cells define the columns of a table.
constexpr std::uint8_t columnDefinitionRow = 1;

std::uint32_t numberAt(const MappingTable &table, std::int32_t row, std::int32_t position,
                       Reading reading)
{
    return reading == Reading::hexadecimal ? table.hexadecimal(row, position)
                                           : table.decimal(row, position);
}

void assignText(std::string &field, const char *cell, Reading reading, std::string &latest)
{
    if (reading == Reading::text) {
        field = cell;
        return;
    }
    if (cell != nullptr) {
        latest = cell;
    }
    field = latest;
}

template <typename Record>
Record recordOf(const MappingTable &table, std::int32_t row,
                const mappingSchema::Columns<Record> &columns, std::string &latestText)
{
    Record record;
    std::int32_t position = 0;
    for (const mappingSchema::FieldColumn<Record> &column : columns) {
        if (column.text == nullptr) {
            column.setNumber(record, numberAt(table, row, position, column.reading));
        } else {
            assignText(record.*column.text, table.text(row, position), column.reading, latestText);
        }
        ++position;
    }
    return record;
}

/// Slot and channel as one map key.
std::uint16_t slotAndChannel(std::uint32_t slot, std::uint32_t channel)
{
    return static_cast<std::uint16_t>((channel & 0xFF) + slot * 256);
}
} // namespace

SnmpDataBase::SnmpDataBase(const char *path)
{
    loadDataBase(path);
}

void SnmpDataBase::loadDataBase(const char *path)
{
    const Mutex::Guard guard(_mutex);
    _scalars.clear();
    _cells.clear();
    _tables.clear();
    _slotFrequencies.clear();
    _genusGroups.clear();
    _cellsById.clear();
    Sqlite3 store(path);
    initSnmpObjOid(store);
    initSnmpTableOid(store);
}

std::int32_t SnmpDataBase::initSnmpObjOid(DataBaseAdapter &adapter)
{
    const OpenStore store(adapter);
    if (!store.isOpen()) {
        return notOpened("initSnmpObjOid");
    }
    const MappingTable table(adapter, &DataBaseAdapter::selectAll, scalarTable, columnsRead);
    if (!table.isReadable()) {
        return notReadable(scalarTable);
    }
    std::string latestText;
    for (std::int32_t row = firstRow; row <= table.rowCount(); ++row) {
        fileScalar(recordOf(table, row, scalarColumns, latestText));
    }
    return 0;
}

void SnmpDataBase::fileScalar(SnmpObjOid &&scalar)
{
    const std::uint16_t objId = scalar.objId;
    _scalars.try_emplace(objId, std::move(scalar));
}

std::int32_t SnmpDataBase::initSnmpTableOid(DataBaseAdapter &adapter)
{
    // Logs an unreadable table only after the store is closed again.
    const LoadResult result = fileCells(adapter);
    if (result == LoadResult::notOpened) {
        return notOpened("initSnmpTableOid");
    }
    return result == LoadResult::notReadable ? notReadable(cellTable) : 0;
}

SnmpDataBase::LoadResult SnmpDataBase::fileCells(DataBaseAdapter &adapter)
{
    const OpenStore store(adapter);
    if (!store.isOpen()) {
        return LoadResult::notOpened;
    }
    const MappingTable table(adapter, &DataBaseAdapter::selectAll, cellTable, columnsRead);
    if (!table.isReadable()) {
        return LoadResult::notReadable;
    }
    std::string latestText;
    for (std::int32_t row = firstRow; row <= table.rowCount(); ++row) {
        if (table.text(row, nodeColumn) != nullptr) {
            fileCell(recordOf(table, row, cellColumns, latestText));
        }
    }
    return LoadResult::loaded;
}

void SnmpDataBase::fileCell(SnmpTableOid &&cell)
{
    const auto sameTable = [&cell](const SnmpTableInfo &table) {
        return table.tableNode == cell.tableNode;
    };
    if (std::none_of(_tables.begin(), _tables.end(), sameTable)) {
        _tables.push_back({.tableKind = cell.tableKind, .tableNode = cell.tableNode});
    }
    const std::uint16_t objId = cell.objId;
    const auto filed =
        _cells.try_emplace(tableKey(cell.tableNode, cell.instance, cell.column), std::move(cell));
    // If two cells have one key, the first stays and answers for the object of the second too.
    _cellsById.try_emplace(objId, &filed.first->second);
}

std::int32_t SnmpDataBase::initTableSlotFreq(DataBaseAdapter &adapter)
{
    const OpenStore store(adapter);
    if (!store.isOpen()) {
        std::puts(" db open error");
        return -1;
    }
    const MappingTable table(adapter, &DataBaseAdapter::selectAll, slotFrequencyTable,
                             slotFrequencyColumns);
    if (!table.isReadable()) {
        std::puts(" db get table error");
        return -1;
    }
    for (std::int32_t row = firstRow; row <= table.rowCount(); ++row) {
        _slotFrequencies.try_emplace(
            slotAndChannel(table.hexadecimal(row, 2), table.hexadecimal(row, 0)),
            static_cast<std::uint16_t>(table.hexadecimal(row, 1)));
    }
    return 0;
}

std::int32_t SnmpDataBase::loadGenusGroup(DataBaseAdapter &adapter, std::uint16_t objId,
                                          std::uint16_t slot)
{
    std::array<char, 256> statement{};
    std::snprintf(statement.data(), statement.size(),
                  "select objId,channelNum FROM %s where objId=\"%04X\"", genusGroupTable, objId);
    const MappingTable table(adapter, &DataBaseAdapter::query, statement.data(), genusGroupColumns);
    if (table.isReadable() && table.rowCount() > 0) {
        _genusGroups.try_emplace(static_cast<std::uint16_t>(table.hexadecimal(firstRow, 0)),
                                 slotAndChannel(slot, table.hexadecimal(firstRow, 1)));
    } else {
        _genusGroups.try_emplace(objId, std::uint16_t{0});
    }
    return 0;
}

std::int32_t SnmpDataBase::getSnmpObjInfo(std::uint16_t objId, SnmpObjInfo &info)
{
    const Mutex::Guard guard(_mutex);
    const auto scalar = _scalars.find(objId);
    if (scalar != _scalars.end()) {
        info = static_cast<const SnmpObjInfo &>(scalar->second);
        return 0;
    }
    const auto cell = _cellsById.find(objId);
    if (cell != _cellsById.end()) {
        info = static_cast<const SnmpObjInfo &>(*cell->second);
        return 0;
    }
    return -1;
}

std::int32_t SnmpDataBase::getSnmpTableOid(const std::string &tableNode, std::uint32_t column,
                                           std::uint8_t instance, SnmpTableOid &record)
{
    const std::string key =
        tableKey(tableNode, subsite == 0 ? instance : columnDefinitionRow, column);
    {
        const Mutex::Guard guard(_mutex);
        const auto cell = _cells.find(key);
        if (cell != _cells.end()) {
            record = cell->second;
            return 0;
        }
    }
    std::printf(" %s %s\n ", "getSnmpTableOid", key.c_str());
    return -1;
}

std::int32_t SnmpDataBase::getSnmpObjOidList(std::vector<SnmpObjOid> &list)
{
    const Mutex::Guard guard(_mutex);
    for (const auto &[objId, scalar] : _scalars) {
        list.push_back(scalar);
    }
    return 0;
}

std::int32_t SnmpDataBase::getSnmpTableList(std::vector<SnmpTableInfo> &list)
{
    const Mutex::Guard guard(_mutex);
    if (_tables.empty()) {
        return -1;
    }
    list = _tables;
    return 0;
}

std::int32_t SnmpDataBase::getSnmpTableColumns(const std::string &tableNode,
                                               std::vector<SnmpTableOid> &list)
{
    const std::string low = tableKey(tableNode, columnDefinitionRow, 0);
    const std::string high =
        tableKey(tableNode, columnDefinitionRow, std::numeric_limits<std::uint32_t>::max());
    const Mutex::Guard guard(_mutex);
    const auto end = _cells.lower_bound(high);
    for (auto cell = _cells.upper_bound(low); cell != end; ++cell) {
        list.push_back(cell->second);
    }
    return 0;
}

std::int32_t SnmpDataBase::getSnmpObjOid(SnmpObjOid &record)
{
    const Mutex::Guard guard(_mutex);
    const auto scalar = _scalars.find(record.objId);
    if (scalar == _scalars.end()) {
        return -1;
    }
    record = scalar->second;
    return 0;
}

std::int32_t SnmpDataBase::getFlaggedObjIds(std::vector<std::uint16_t> &ids)
{
    const Mutex::Guard guard(_mutex);
    for (const auto &[objId, scalar] : _scalars) {
        if (scalar.flag != 0) {
            ids.push_back(objId);
        }
    }
    for (const auto &[key, cell] : _cells) {
        if (cell.flag != 0) {
            ids.push_back(cell.objId);
        }
    }
    return 0;
}

std::int32_t SnmpDataBase::countTableKeys(const std::string &tableNode)
{
    const std::string low = tableKey(tableNode, 1, 2);
    const std::string high = tableKey(tableNode, 255, 2);
    const Mutex::Guard guard(_mutex);
    const auto first = _cells.upper_bound(low);
    const auto end = _cells.lower_bound(high);
    return static_cast<std::int32_t>(std::distance(first, end));
}

std::int32_t SnmpDataBase::getSlotFreq(std::uint16_t objId, std::uint16_t &freq)
{
    freq = 0;
    const Mutex::Guard guard(_mutex);
    const auto group = _genusGroups.find(objId);
    if (group == _genusGroups.end()) {
        return -1;
    }
    const auto frequency = _slotFrequencies.find(group->second);
    if (frequency == _slotFrequencies.end()) {
        return -1;
    }
    freq = frequency->second;
    return 0;
}

std::int32_t SnmpDataBase::notOpened(const char *loader) const
{
    std::printf("%s subsite %d db open error\n", loader, subsite);
    return -1;
}

std::int32_t SnmpDataBase::notReadable(const char *tableName) const
{
    std::printf(" subsite %d get %s error\n", subsite, tableName);
    return -1;
}
