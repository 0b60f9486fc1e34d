// Arbitrary: the number of columns of both mapping tables and the cells of their rows, each NULL,
// integer, real, text or blob.
// Must hold: the mapping equals an independent reading of the same cells; the first row of a key
// wins, a NULL repeats the carried text, and tables with too few columns give nothing.

#include "Sqlite3.h"
#include "support/Invariant.h"
#include "support/MappingLookups.h"
#include "support/SqliteSettings.h"
#include "support/UnsignedText.h"

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>
#include <sqlite3.h>

namespace
{
constexpr std::array columnCounts{13, 12, 15};
constexpr int neededColumns = 13;
constexpr const char *scalarTable = "SNMP_GENERAL_OBJ_TABLE";
constexpr const char *cellTable = "SNMP_TABLE_OBJ_TABLE";

using Cell = std::optional<std::string>;
using Row = std::vector<Cell>;

struct Finalize {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

/// An in-memory database that every connection of the process can open by its path.
class SharedStore
{
public:
    explicit SharedStore(int columns)
        : _columns(columns), _path("file:/mapping" + std::to_string(columns) + "?vfs=memdb")
    {
        mustHold(sqlite3_open(_path.c_str(), &_connection) == SQLITE_OK, "the store opens");
        for (const char *const table : {scalarTable, cellTable}) {
            std::string names = "c0";
            std::string places = "?";
            for (int column = 1; column < columns; ++column) {
                names += ",c" + std::to_string(column);
                places += ",?";
            }
            run(std::string("CREATE TABLE ") + table + "(" + names + ")");
            _inserts[table] =
                prepared(std::string("INSERT INTO ") + table + " VALUES(" + places + ")");
        }
        run("CREATE TABLE TABLE_SLOT_FREQ_OBJ(channel, frequency, slot)");
        run("CREATE TABLE TABLE_OBJ_GENUS_GROUP(objId, channelNum)");
    }

    ~SharedStore()
    {
        _inserts.clear();
        sqlite3_close(_connection);
    }

    SharedStore(const SharedStore &) = delete;
    SharedStore &operator=(const SharedStore &) = delete;

    [[nodiscard]] const char *path() const { return _path.c_str(); }

    void run(const std::string &statement) const
    {
        mustHold(sqlite3_exec(_connection, statement.c_str(), nullptr, nullptr, nullptr) ==
                     SQLITE_OK,
                 "the store takes a statement");
    }

    /// Returns the cells of the row as SQLite returns them, as text.
    Row insert(const std::string &table, FuzzedDataProvider &input) const
    {
        sqlite3_stmt *const statement = _inserts.at(table).get();
        for (int column = 1; column <= _columns; ++column) {
            bindCell(statement, column, input);
        }
        mustHold(sqlite3_step(statement) == SQLITE_DONE, "a row is taken");
        sqlite3_reset(statement);
        return lastRow(table);
    }

private:
    [[nodiscard]] Statement prepared(const std::string &text) const
    {
        sqlite3_stmt *statement = nullptr;
        mustHold(sqlite3_prepare_v2(_connection, text.c_str(), -1, &statement, nullptr) ==
                     SQLITE_OK,
                 "a statement is understood");
        return Statement(statement);
    }

    static void bindCell(sqlite3_stmt *statement, int column, FuzzedDataProvider &input)
    {
        switch (input.ConsumeIntegralInRange(0, 5)) {
        case 1:
            sqlite3_bind_int64(statement, column, input.ConsumeIntegral<std::int64_t>());
            break;
        case 2:
            sqlite3_bind_double(statement, column, input.ConsumeFloatingPoint<double>());
            break;
        case 3: {
            const std::string text = input.ConsumeRandomLengthString(24);
            sqlite3_bind_text(statement, column, text.data(), static_cast<int>(text.size()),
                              SQLITE_TRANSIENT);
            break;
        }
        case 4: {
            const std::string blob = input.ConsumeRandomLengthString(24);
            sqlite3_bind_blob(statement, column, blob.data(), static_cast<int>(blob.size()),
                              SQLITE_TRANSIENT);
            break;
        }
        case 5:
            sqlite3_bind_null(statement, column);
            break;
        default:
            sqlite3_bind_int(statement, column, input.ConsumeIntegralInRange(0, 3));
            break;
        }
    }

    [[nodiscard]] Row lastRow(const std::string &table) const
    {
        auto &select = _selects[table];
        if (!select) {
            select = prepared("SELECT * FROM " + table + " WHERE rowid = last_insert_rowid()");
        }
        mustHold(sqlite3_step(select.get()) == SQLITE_ROW, "a row is given back");
        Row row;
        for (int column = 0; column < _columns; ++column) {
            const auto *const text =
                reinterpret_cast<const char *>(sqlite3_column_text(select.get(), column));
            row.push_back(text == nullptr ? Cell() : Cell(text));
        }
        sqlite3_reset(select.get());
        return row;
    }

    int _columns;
    std::string _path;
    sqlite3 *_connection = nullptr;
    std::map<std::string, Statement> _inserts;
    mutable std::map<std::string, Statement> _selects;
};

/// The expected mapping, read from the same cells in a simpler way.
class ExpectedMapping
{
public:
    void addScalar(const Row &row)
    {
        SnmpObjOid scalar;
        put(row, 0, 16, scalar.objId);
        put(row, 1, 10, scalar.attr1);
        put(row, 2, 10, scalar.magic);
        put(row, 3, 16, scalar.asnType);
        put(row, 4, 16, scalar.access);
        put(row, 5, 10, scalar.oidArc1);
        put(row, 6, 10, scalar.oidArc2);
        put(row, 7, 10, scalar.oidArc3);
        put(row, 8, 10, scalar.oidArc4);
        put(row, 9, 16, scalar.valueType);
        put(row, 10, 16, scalar.flag);
        scalar.text = _scalarText = row[11].value_or(_scalarText);
        put(row, 12, 16, scalar.attr2);
        scalars.try_emplace(scalar.objId, scalar);
    }

    void addCell(const Row &row)
    {
        if (!row[5]) {
            return;
        }
        SnmpTableOid cell;
        put(row, 0, 16, cell.objId);
        put(row, 1, 10, cell.attr1);
        put(row, 2, 10, cell.column);
        put(row, 3, 10, cell.asnType);
        put(row, 4, 10, cell.access);
        cell.tableNode = *row[5];
        put(row, 6, 16, cell.valueType);
        put(row, 7, 16, cell.flag);
        cell.text = _cellText = row[8].value_or(_cellText);
        put(row, 9, 10, cell.instance);
        put(row, 10, 10, cell.tableKind);
        put(row, 11, 16, cell.attr2);
        put(row, 12, 16, cell.attr3);
        std::array<char, 11> rowAndColumn{};
        std::snprintf(rowAndColumn.data(), rowAndColumn.size(), "%02x%08x", cell.instance,
                      cell.column);
        const std::string key = cell.tableNode + rowAndColumn.data();
        cells.try_emplace(key, cell);
        cellOf.try_emplace(cell.objId, key);
        kinds.try_emplace(cell.tableNode, cell.tableKind);
    }

    std::map<std::uint16_t, SnmpObjOid> scalars;
    std::map<std::string, SnmpTableOid> cells;
    std::map<std::uint16_t, std::string> cellOf;
    std::map<std::string, std::uint8_t> kinds;

private:
    template <typename Field>
    static void put(const Row &row, std::size_t column, int base, Field &field)
    {
        const Cell &cell = row[column];
        field = cell ? static_cast<Field>(unsignedAt(*cell, 0, base)) : Field{0};
    }

    std::string _scalarText;
    std::string _cellText;
};

void checkScalars(SnmpDataBase &database, const ExpectedMapping &expected)
{
    std::vector<SnmpObjOid> scalars;
    database.getSnmpObjOidList(scalars);
    mustHold(scalars.size() == expected.scalars.size(), "every scalar is loaded");
    for (const SnmpObjOid &scalar : scalars) {
        const auto found = expected.scalars.find(scalar.objId);
        mustHold(found != expected.scalars.end() && isSame(scalar, found->second),
                 "a scalar is the first row of its id");
    }
}

void checkCells(SnmpDataBase &database, const ExpectedMapping &expected)
{
    for (const auto &[key, cell] : expected.cells) {
        SnmpTableOid found;
        mustHold(database.getSnmpTableOid(cell.tableNode, cell.column, cell.instance, found) == 0 &&
                     isSame(found, cell),
                 "a cell is the first row of its key");
    }
    for (const auto &[objId, key] : expected.cellOf) {
        SnmpObjInfo info;
        mustHold(database.getSnmpObjInfo(objId, info) == 0, "an object of a cell is described");
        mustHold(expected.scalars.count(objId) > 0 || isSame(info, expected.cells.at(key)),
                 "the first cell of an object describes it");
    }
    std::vector<SnmpTableInfo> tables;
    database.getSnmpTableList(tables);
    mustHold(tables.size() == expected.kinds.size(), "every table is listed");
    for (const SnmpTableInfo &table : tables) {
        mustHold(expected.kinds.count(table.tableNode) > 0 &&
                     expected.kinds.at(table.tableNode) == table.tableKind,
                 "a table has the kind of its first row");
    }
}

/// The two tables that no other part of the agent loads.
void checkSlots(SnmpDataBase &database, const SharedStore &cells, FuzzedDataProvider &input)
{
    const auto objId = input.ConsumeIntegral<std::uint16_t>();
    const unsigned channel = input.ConsumeIntegralInRange(0U, 0xFFFFU);
    const unsigned slot = input.ConsumeIntegralInRange(0U, 0xFFFFU);
    const auto frequency = input.ConsumeIntegral<std::uint16_t>();
    std::array<char, 200> statement{};
    std::snprintf(statement.data(), statement.size(),
                  "INSERT INTO TABLE_SLOT_FREQ_OBJ VALUES('%x','%x','%x');"
                  "INSERT INTO TABLE_OBJ_GENUS_GROUP VALUES('%04X','%x')",
                  channel, frequency, slot, objId, channel);
    cells.run(statement.data());
    Sqlite3 store(cells.path());
    mustHold(database.initTableSlotFreq(store) == 0 && store.open() == 0, "frequencies are loaded");
    database.loadGenusGroup(store, objId, static_cast<std::uint16_t>(slot));
    std::uint16_t found = 0;
    mustHold(database.getSlotFreq(objId, found) == 0 && found == frequency,
             "an object has the frequency of its slot and channel");
    store.close();
    cells.run("DELETE FROM TABLE_SLOT_FREQ_OBJ; DELETE FROM TABLE_OBJ_GENUS_GROUP");
}

const SharedStore &storeOf(std::size_t which)
{
    static const std::array<SharedStore, columnCounts.size()> s_stores{
        SharedStore(columnCounts[0]), SharedStore(columnCounts[1]), SharedStore(columnCounts[2])};
    return s_stores.at(which);
}

/// Replaces all rows.
void fill(const SharedStore &store, bool isReadable, FuzzedDataProvider &input,
          ExpectedMapping &expected)
{
    store.run("BEGIN; DELETE FROM SNMP_GENERAL_OBJ_TABLE; DELETE FROM SNMP_TABLE_OBJ_TABLE");
    for (unsigned rows = input.ConsumeIntegralInRange(0U, 12U); rows > 0; --rows) {
        const bool isScalar = input.ConsumeBool();
        const Row row = store.insert(isScalar ? scalarTable : cellTable, input);
        if (isReadable && isScalar) {
            expected.addScalar(row);
        } else if (isReadable) {
            expected.addCell(row);
        }
    }
    store.run("COMMIT");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    configureSqlite();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    const std::size_t which = input.ConsumeIntegralInRange<std::size_t>(0, columnCounts.size() - 1);
    const SharedStore &store = storeOf(which);
    ExpectedMapping expected;
    fill(store, columnCounts.at(which) >= neededColumns, input, expected);
    SnmpDataBase database(store.path());
    checkScalars(database, expected);
    checkCells(database, expected);
    lookupsMustAgree(database);
    if (input.ConsumeBool()) {
        checkSlots(database, store, input);
    }
    return 0;
}
