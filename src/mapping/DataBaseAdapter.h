#pragma once

#include <cstdint>

/// A store of tables that the mapping is loaded from: open and close it, run a statement, fetch a
/// whole result as text. Results are arrays of (rows + 1) x columns NUL-terminated texts, null for
/// SQL NULL, the column names in the first row; the caller gives each back through `freeTable`,
/// also that of a failed call. Every operation returns 0, or -1 on failure. No lock; no exception.
class DataBaseAdapter
{
public:
    DataBaseAdapter() = default;
    virtual ~DataBaseAdapter() = default;
    DataBaseAdapter(const DataBaseAdapter &) = delete;
    DataBaseAdapter &operator=(const DataBaseAdapter &) = delete;

    virtual std::int32_t open() = 0;
    virtual std::int32_t close() = 0;
    /// Fetches all rows and columns of a table. An empty table reports no columns.
    virtual std::int32_t selectAll(const char *tableName, char ***result, std::int32_t *rowCount,
                                   std::int32_t *columnCount) = 0;
    virtual void freeTable(char **result) = 0;
    /// Runs a statement and fetches its result.
    virtual std::int32_t query(const char *statement, char ***result, std::int32_t *rowCount,
                               std::int32_t *columnCount) = 0;
    /// Runs a statement without a result.
    virtual std::int32_t exec(const char *statement) = 0;
};
