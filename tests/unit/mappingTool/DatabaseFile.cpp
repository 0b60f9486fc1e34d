#include "DatabaseFile.h"

#include <cstdlib>
#include <sstream>

#include <gtest/gtest.h>
#include <sqlite3.h>

DatabaseFile::DatabaseFile(const std::string &statements) : _path(_directory.file("mapping.db"))
{
    run("VACUUM; " + statements);
}

void DatabaseFile::run(const std::string &statements) const
{
    sqlite3 *connection = nullptr;
    EXPECT_EQ(sqlite3_open(_path.c_str(), &connection), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(connection, ("PRAGMA synchronous = OFF; " + statements).c_str(), nullptr,
                           nullptr, nullptr),
              SQLITE_OK)
        << sqlite3_errmsg(connection) << " in " << statements;
    sqlite3_close(connection);
}

std::string DatabaseFile::bytes() const
{
    return contentOf(_path);
}

void DatabaseFile::replaceBytes(const std::string &bytes) const
{
    writeContent(_path, bytes);
}

std::string soundDatabase()
{
    return R"sql(
CREATE TABLE SNMP_GENERAL_OBJ_TABLE (objId TEXT, attr1 TEXT, magic TEXT, asnType TEXT, access TEXT,
    oidArc1 TEXT, oidArc2 TEXT, oidArc3 TEXT, oidArc4 TEXT, valueType TEXT, flag TEXT, text TEXT,
    attr2 TEXT);
INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES
    ('0110', '0', '1', '2', '1', '1', '1', '1', '0', '0000', '0', 'state', '0'),
    ('0111', '0', '2', '4', '1', '1', '1', '2', '0', '0000', '0', 'serial number', '0'),
    ('0112', '0', '3', '4', '3', '1', '1', '3', '0', '0000', '0', 'contact', '0'),
    ('0113', '0', '4', '2', '3', '1', '1', '4', '0', '0000', '1', 'limit', '0'),
    ('0114', '0', '5', '4', '3', '1', '1', '5', '0', '1004', '0', 'threshold', '0');
CREATE TABLE SNMP_TABLE_OBJ_TABLE (objId TEXT, attr1 TEXT, columnId TEXT, asnType TEXT, access TEXT,
    tableNode TEXT, valueType TEXT, flag TEXT, text TEXT, instance TEXT, tableKind TEXT, attr2 TEXT,
    attr3 TEXT);
WITH RECURSIVE slots(row) AS (VALUES (1) UNION ALL SELECT row + 1 FROM slots WHERE row < 8),
    definitions(node, columnId, firstId, type, access, conversion, text) AS (VALUES
        ('.2.1', 2, 0x2100, 2, 3, '0000', 'level'), ('.2.1', 3, 0x2110, 4, 1, '0000', 'name'),
        ('.2.2', 2, 0x2200, 4, 1, '1004', 'current'))
INSERT INTO SNMP_TABLE_OBJ_TABLE
    SELECT printf('%04X', firstId + row - 1), '0', columnId, type, access, node, conversion, '0',
           text, row, '0', '0', '0'
    FROM definitions, slots ORDER BY node, row, columnId;
)sql";
}

namespace
{
void writeInfo(const SnmpObjInfo &info, std::ostream &out)
{
    out << unsigned{info.attr1} << ' ' << unsigned{info.flag} << ' ' << info.valueType << ' '
        << info.attr2 << ' ' << info.asnType << ' ' << info.access << " [" << info.text << "]\n";
}
} // namespace

std::string recordsOf(const MappingSource &mapping)
{
    std::ostringstream out;
    for (const ScalarEntry &entry : mapping.scalars) {
        const SnmpObjOid &scalar = entry.record;
        out << "scalar " << scalar.objId << ' ' << unsigned{scalar.magic} << ' ' << scalar.oidArc1
            << ' ' << scalar.oidArc2 << ' ' << scalar.oidArc3 << ' ' << scalar.oidArc4 << ' ';
        writeInfo(scalar, out);
    }
    for (const CellEntry &entry : mapping.cells) {
        const SnmpTableOid &cell = entry.record;
        out << "cell " << cell.objId << ' ' << cell.tableNode << ' ' << cell.column << ' '
            << unsigned{cell.instance} << ' ' << unsigned{cell.tableKind} << ' ' << cell.attr3
            << ' ';
        writeInfo(cell, out);
    }
    return out.str();
}

std::set<std::string> codesOf(const Findings &findings)
{
    std::set<std::string> codes;
    for (const Finding &finding : findings.all()) {
        codes.emplace(finding.rule->code);
    }
    return codes;
}

std::string goldenPath(const std::string &name)
{
    return std::string(TEST_GOLDEN_DIRECTORY) + '/' + name;
}

void expectGolden(const std::string &name, const std::string &text)
{
    const std::string path = goldenPath(name);
    if (std::getenv("UPDATE_GOLDEN") != nullptr) {
        writeContent(path, text);
    }
    EXPECT_EQ(text, contentOf(path)) << "differs from " << path;
}
