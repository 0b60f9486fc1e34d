#pragma once

#include <cstdint>

/// The store that the mapping is loaded from: opens and closes it, runs statements, fetches whole
/// results as text. Results are arrays of (rows + 1) x columns NUL-terminated texts, null for SQL
/// NULL, with the column names in the first row. The caller frees each result with `freeTable`,
/// even after a failed call. Every operation returns 0, or -1 on failure. Not locked; nothing
/// throws.
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
    /// Runs a statement that has no result.
    virtual std::int32_t exec(const char *statement) = 0;
};
