#pragma once

#include "DataBaseAdapter.h"

#include <string>

struct sqlite3;

/// The store on one SQLite connection. Construction opens nothing; destruction closes. A file that
/// does not exist is created, empty. A failed `open` keeps its connection object: a further `open`
/// then returns 0, and everything else fails. Failures of `open` and `query` are logged.
class Sqlite3 : public DataBaseAdapter
{
public:
    explicit Sqlite3(const char *path);
    ~Sqlite3() override;
    Sqlite3(const Sqlite3 &) = delete;
    Sqlite3 &operator=(const Sqlite3 &) = delete;

    std::int32_t open() override;
    std::int32_t close() override;
    std::int32_t selectAll(const char *tableName, char ***result, std::int32_t *rowCount,
                           std::int32_t *columnCount) override;
    void freeTable(char **result) override;
    std::int32_t query(const char *statement, char ***result, std::int32_t *rowCount,
                       std::int32_t *columnCount) override;
    std::int32_t exec(const char *statement) override;

private:
    std::int32_t fetch(const char *statement, char ***result, std::int32_t *rowCount,
                       std::int32_t *columnCount);
    std::int32_t closeConnection();

    std::string _path;
    sqlite3 *_connection = nullptr;
    char *_errorText = nullptr;
};
