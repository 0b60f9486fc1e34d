#include "support/MappingFile.h"

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

namespace
{
constexpr const char *emptyTables =
    "CREATE TABLE SNMP_GENERAL_OBJ_TABLE (objId TEXT, attr1, magic, asnType TEXT, access TEXT,"
    " oidArc1, oidArc2, oidArc3, oidArc4, valueType TEXT, flag TEXT, text TEXT, attr2 TEXT);"
    "CREATE TABLE SNMP_TABLE_OBJ_TABLE (objId TEXT, attr1, column_, asnType, access,"
    " tableNode TEXT, valueType TEXT, flag TEXT, text TEXT, instance, tableKind, attr2 TEXT,"
    " attr3 TEXT);";

std::string quoted(const std::string &text)
{
    return "'" + text + "'";
}
} // namespace

MappingFile::MappingFile()
{
    std::string name = testing::TempDir() + "mappingXXXXXX";
    const int descriptor = mkstemp(name.data());
    EXPECT_NE(descriptor, -1);
    close(descriptor);
    _path = name;
    run(emptyTables);
}

MappingFile::~MappingFile()
{
    std::remove(_path.c_str());
}

void MappingFile::run(const std::string &statement) const
{
    sqlite3 *connection = nullptr;
    ASSERT_EQ(sqlite3_open(_path.c_str(), &connection), SQLITE_OK);
    // The file lives for one test: nothing has to survive a power failure.
    sqlite3_exec(connection, "PRAGMA synchronous = OFF; PRAGMA journal_mode = MEMORY", nullptr,
                 nullptr, nullptr);
    const int status = sqlite3_exec(connection, statement.c_str(), nullptr, nullptr, nullptr);
    EXPECT_EQ(status, SQLITE_OK) << statement << ": " << sqlite3_errmsg(connection);
    sqlite3_close(connection);
}

void MappingFile::addScalar(const std::string &cells) const
{
    run("INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES (" + cells + ")");
}

void MappingFile::addCell(const std::string &cells) const
{
    run("INSERT INTO SNMP_TABLE_OBJ_TABLE VALUES (" + cells + ")");
}

void MappingFile::addScalar(const std::string &objId, const std::string &asnType,
                            const std::string &access, int arc1, int arc2, int arc3,
                            const std::string &valueType) const
{
    addScalar(quoted(objId) + ", 0, 0, " + quoted(asnType) + ", " + quoted(access) + ", " +
              std::to_string(arc1) + ", " + std::to_string(arc2) + ", " + std::to_string(arc3) +
              ", 0, " + quoted(valueType) + ", '0', NULL, '0'");
}

void MappingFile::addCell(const std::string &objId, const std::string &node, int column, int row,
                          int asnType, int access, const std::string &valueType) const
{
    addCell(quoted(objId) + ", 0, " + std::to_string(column) + ", " + std::to_string(asnType) +
            ", " + std::to_string(access) + ", " + quoted(node) + ", " + quoted(valueType) +
            ", '0', NULL, " + std::to_string(row) + ", 0, '0', '0'");
}

void MappingFile::dropTable(const std::string &name) const
{
    run("DROP TABLE " + name);
}
