#pragma once

#include "DataBaseAdapter.h"

#include <cstddef>
#include <cstdint>

/// An open store, closed at the end of the scope if opening it succeeded.
class OpenStore
{
public:
    explicit OpenStore(DataBaseAdapter &adapter);
    ~OpenStore();
    OpenStore(const OpenStore &) = delete;
    OpenStore &operator=(const OpenStore &) = delete;

    [[nodiscard]] bool isOpen() const noexcept { return _isOpen; }

private:
    DataBaseAdapter &_adapter;
    bool _isOpen;
};

/// The result of a read of the store, freed at the end of the scope. Cells are addressed by
/// position, rows from 1. Numbers are parsed by `parseUnsigned`; the record fields truncate them to
/// their width.
class MappingTable
{
public:
    /// Either read of the adapter: a whole table by name, or the result of a statement.
    using Read = std::int32_t (DataBaseAdapter::*)(const char *, char ***, std::int32_t *,
                                                   std::int32_t *);

    /// A result with fewer than `columnsNeeded` columns counts as unreadable, unless it has no
    /// rows.
    MappingTable(DataBaseAdapter &adapter, Read read, const char *what, std::int32_t columnsNeeded);
    ~MappingTable();
    MappingTable(const MappingTable &) = delete;
    MappingTable &operator=(const MappingTable &) = delete;

    [[nodiscard]] bool isReadable() const noexcept { return _isReadable; }

    [[nodiscard]] std::int32_t rowCount() const noexcept { return _rowCount; }

    /// 0 if there are no rows; then there are no names either.
    [[nodiscard]] std::int32_t columnCount() const noexcept { return _columnCount; }

    [[nodiscard]] const char *columnName(std::int32_t column) const { return text(0, column); }

    /// The cell's text, null for SQL NULL; valid as long as this object.
    [[nodiscard]] const char *text(std::int32_t row, std::int32_t column) const;
    [[nodiscard]] std::uint32_t decimal(std::int32_t row, std::int32_t column) const;
    [[nodiscard]] std::uint32_t hexadecimal(std::int32_t row, std::int32_t column) const;

private:
    DataBaseAdapter &_adapter;
    char **_cells = nullptr;
    std::int32_t _rowCount = 0;
    std::int32_t _columnCount = 0;
    bool _isReadable = false;
};
