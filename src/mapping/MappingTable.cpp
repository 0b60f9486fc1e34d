#include "MappingTable.h"

#include "TextNumbers.h"

#include <functional>

OpenStore::OpenStore(DataBaseAdapter &adapter) : _adapter(adapter), _isOpen(adapter.open() == 0) {}

OpenStore::~OpenStore()
{
    if (_isOpen) {
        _adapter.close();
    }
}

MappingTable::MappingTable(DataBaseAdapter &adapter, Read read, const char *what,
                           std::int32_t columnsNeeded)
    : _adapter(adapter)
{
    const std::int32_t status =
        std::invoke(read, adapter, what, &_cells, &_rowCount, &_columnCount);
    _isReadable = status == 0 && (_rowCount == 0 || _columnCount >= columnsNeeded);
}

MappingTable::~MappingTable()
{
    _adapter.freeTable(_cells);
}

const char *MappingTable::text(std::int32_t row, std::int32_t column) const
{
    return _cells[static_cast<std::ptrdiff_t>(row) * _columnCount + column];
}

std::uint32_t MappingTable::decimal(std::int32_t row, std::int32_t column) const
{
    return parseUnsigned(text(row, column), 10);
}

std::uint32_t MappingTable::hexadecimal(std::int32_t row, std::int32_t column) const
{
    return parseUnsigned(text(row, column), 16);
}
