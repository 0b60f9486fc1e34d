#include "mapping/NarratingStore.h"

#include <cstdio>

#include <gtest/gtest.h>

std::int32_t NarratingStore::open()
{
    std::puts("open");
    return openStatus;
}

std::int32_t NarratingStore::close()
{
    std::puts("close");
    return 0;
}

std::int32_t NarratingStore::selectAll(const char *tableName, char ***cells, std::int32_t *rowCount,
                                       std::int32_t *columnCount)
{
    std::printf("selectAll %s\n", tableName);
    return give(cells, rowCount, columnCount);
}

void NarratingStore::freeTable(char **cells)
{
    EXPECT_EQ(cells, _cells.data());
    std::puts("freeTable");
}

std::int32_t NarratingStore::query(const char *statement, char ***cells, std::int32_t *rowCount,
                                   std::int32_t *columnCount)
{
    std::printf("query %s\n", statement);
    return give(cells, rowCount, columnCount);
}

std::int32_t NarratingStore::exec(const char *statement)
{
    std::printf("exec %s\n", statement);
    return 0;
}

std::int32_t NarratingStore::give(char ***cells, std::int32_t *rowCount, std::int32_t *columnCount)
{
    _cells.clear();
    for (const auto &row : result) {
        for (const char *const cell : row) {
            _cells.push_back(
                const_cast<char *>(cell)); // NOLINT(cppcoreguidelines-pro-type-const-cast)
        }
    }
    *cells = _cells.data();
    if (!result.empty()) {
        *rowCount = static_cast<std::int32_t>(result.size() - 1);
        *columnCount = static_cast<std::int32_t>(result.front().size());
    }
    return readStatus;
}
