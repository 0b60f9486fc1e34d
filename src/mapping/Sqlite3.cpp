#include "Sqlite3.h"

#include <cstdio>

#include <sqlite3.h>

Sqlite3::Sqlite3(const char *path) : _path(path) {}

Sqlite3::~Sqlite3()
{
    closeConnection();
}

std::int32_t Sqlite3::open()
{
    if (_connection != nullptr) {
        return 0;
    }
    if (sqlite3_open(_path.c_str(), &_connection) != SQLITE_OK) {
        std::printf("ERROR: open file %s failed! \n", _path.c_str());
        return -1;
    }
    return 0;
}

std::int32_t Sqlite3::close()
{
    return closeConnection();
}

std::int32_t Sqlite3::selectAll(const char *tableName, char ***result, std::int32_t *rowCount,
                                std::int32_t *columnCount)
{
    const std::string statement = std::string("SELECT * FROM ") + tableName;
    return fetch(statement.c_str(), result, rowCount, columnCount);
}

void Sqlite3::freeTable(char **result)
{
    sqlite3_free_table(result);
}

std::int32_t Sqlite3::query(const char *statement, char ***result, std::int32_t *rowCount,
                            std::int32_t *columnCount)
{
    if (fetch(statement, result, rowCount, columnCount) == 0) {
        return 0;
    }
    std::printf("SQL ERROR  [%s] %s\n", statement, sqlite3_errmsg(_connection));
    return -1;
}

std::int32_t Sqlite3::exec(const char *statement)
{
    const int status = sqlite3_exec(_connection, statement, nullptr, nullptr, &_errorText);
    sqlite3_free(_errorText);
    _errorText = nullptr;
    return status == SQLITE_OK ? 0 : -1;
}

std::int32_t Sqlite3::fetch(const char *statement, char ***result, std::int32_t *rowCount,
                            std::int32_t *columnCount)
{
    const int status =
        sqlite3_get_table(_connection, statement, result, rowCount, columnCount, &_errorText);
    sqlite3_free(_errorText);
    _errorText = nullptr;
    return status == SQLITE_OK ? 0 : -1;
}

std::int32_t Sqlite3::closeConnection()
{
    if (_connection == nullptr) {
        return 0;
    }
    if (sqlite3_close(_connection) != SQLITE_OK) {
        return -1;
    }
    _connection = nullptr;
    return 0;
}
