#pragma once

#include "DataBaseAdapter.h"

#include <string>
#include <vector>

/// A store that prints a line for each call on standard output, so that captured output shows the
/// order of calls and messages. Every read returns `result`; all members may be set before use.
class NarratingStore : public DataBaseAdapter
{
public:
    /// Rows of cells, the first with the column names; a cell is null for SQL NULL.
    using Result = std::vector<std::vector<const char *>>;

    std::int32_t open() override;
    std::int32_t close() override;
    std::int32_t selectAll(const char *tableName, char ***result, std::int32_t *rowCount,
                           std::int32_t *columnCount) override;
    void freeTable(char **result) override;
    std::int32_t query(const char *statement, char ***result, std::int32_t *rowCount,
                       std::int32_t *columnCount) override;
    std::int32_t exec(const char *statement) override;

    std::int32_t openStatus = 0;
    std::int32_t readStatus = 0;
    Result result;

private:
    std::int32_t give(char ***cells, std::int32_t *rowCount, std::int32_t *columnCount);

    std::vector<char *> _cells;
};
