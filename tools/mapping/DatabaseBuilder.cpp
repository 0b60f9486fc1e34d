#include "DatabaseBuilder.h"

#include "AlarmWords.h"
#include "InputError.h"
#include "MappingSchema.h"
#include "MappingWords.h"
#include "NotesSchema.h"
#include "Numbers.h"

#include <memory>
#include <vector>

#include <sqlite3.h>

namespace
{
using Row = std::vector<std::string>;

struct CloseConnection {
    void operator()(sqlite3 *connection) const { sqlite3_close(connection); }
};

struct EndStatement {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

struct FreeBytes {
    void operator()(unsigned char *bytes) const { sqlite3_free(bytes); }
};

/// A database in memory, and its bytes.
class NewDatabase
{
public:
    NewDatabase()
    {
        sqlite3 *connection = nullptr;
        const int status = sqlite3_open(":memory:", &connection);
        _pConnection.reset(connection);
        check(status);
    }

    void run(const std::string &statement)
    {
        check(sqlite3_exec(_pConnection.get(), statement.c_str(), nullptr, nullptr, nullptr));
    }

    void insert(const std::string &table, const std::vector<Row> &rows)
    {
        if (rows.empty()) {
            return;
        }
        std::string marks = "?";
        for (std::size_t column = 1; column < rows.front().size(); ++column) {
            marks += ",?";
        }
        const std::string text = "INSERT INTO " + table + " VALUES (" + marks + ')';
        sqlite3_stmt *prepared = nullptr;
        check(sqlite3_prepare_v2(_pConnection.get(), text.c_str(), -1, &prepared, nullptr));
        const std::unique_ptr<sqlite3_stmt, EndStatement> statement(prepared);
        for (const Row &row : rows) {
            insertRow(*statement, row);
        }
    }

    [[nodiscard]] std::string bytes() const
    {
        sqlite3_int64 size = 0;
        const std::unique_ptr<unsigned char, FreeBytes> bytes(
            sqlite3_serialize(_pConnection.get(), "main", &size, 0));
        if (!bytes) {
            throw InputError("cannot build the database: out of memory");
        }
        return {reinterpret_cast<const char *>(bytes.get()), static_cast<std::size_t>(size)};
    }

private:
    void insertRow(sqlite3_stmt &statement, const Row &row)
    {
        int position = 0;
        for (const std::string &cell : row) {
            check(sqlite3_bind_text(&statement, ++position, cell.data(),
                                    static_cast<int>(cell.size()), SQLITE_STATIC));
        }
        if (sqlite3_step(&statement) != SQLITE_DONE) {
            check(sqlite3_errcode(_pConnection.get()));
        }
        check(sqlite3_reset(&statement));
    }

    void check(int status) const
    {
        if (status != SQLITE_OK) {
            throw InputError(std::string("cannot build the database: ") +
                             sqlite3_errmsg(_pConnection.get()));
        }
    }

    std::unique_ptr<sqlite3, CloseConnection> _pConnection;
};

std::string hexadecimal(unsigned number, int digits)
{
    return numbers::hexadecimal(number, digits).substr(2);
}

void appendNotes(const ObjectNotes &notes, Row &row)
{
    const DeviceNotes &device = notes.device;
    row.insert(row.end(),
               {notes.name, notes.description, notes.units, mappingWords::labels(notes.labels),
                device.kind, device.width == 0 ? "" : std::to_string(device.width), device.value,
                device.motion, monitoringNotes::words(notes.monitoring), notes.range,
                notes.life.since, notes.life.status, notes.life.until});
}

template <typename Record>
std::string cellOf(const Record &record, const mappingSchema::FieldColumn<Record> &column)
{
    switch (column.reading) {
    case mappingSchema::Reading::hexadecimal:
        return hexadecimal(column.number(record), column.digits);
    case mappingSchema::Reading::decimal:
        return std::to_string(column.number(record));
    default:
        return record.*column.text;
    }
}

template <typename Entry, typename Columns>
std::vector<Row> rowsOf(const std::vector<Entry> &entries, const Columns &columns)
{
    std::vector<Row> rows;
    rows.reserve(entries.size());
    for (const Entry &entry : entries) {
        Row &row = rows.emplace_back();
        for (const auto &column : columns) {
            row.push_back(cellOf(entry.record, column));
        }
        appendNotes(entry.notes, row);
    }
    return rows;
}

std::vector<Row> notesOf(const MappingSource &mapping)
{
    const ModuleNotes &module = mapping.module;
    std::vector<Row> rows;
    const auto add = [&rows](const std::string &subject, const char *property,
                             const std::string &value) {
        if (!value.empty()) {
            rows.push_back({subject, property, value});
        }
    };
    add("", "name", module.name);
    add("", "base", module.base);
    add("", "organization", module.organization);
    add("", "contact", module.contact);
    add("", "description", module.description);
    add("", "updated", module.updated);
    for (const Revision &revision : module.revisions) {
        rows.push_back({mappingSchema::revisionsSubject, revision.day, revision.text});
    }
    for (const std::string &node : module.reserved) {
        add(mappingSchema::reservedSubject, node.c_str(), node);
    }
    for (const NodeName &group : module.groups) {
        add(mappingSchema::groupsSubject, group.node.c_str(), group.name);
    }
    for (const TableNotes &table : mapping.tables) {
        add(table.node, "name", table.name);
        add(table.node, "description", table.description);
    }
    return rows;
}

std::string lines(const std::vector<std::string> &entries)
{
    std::string text;
    for (const std::string &entry : entries) {
        text += (text.empty() ? "" : "\n") + entry;
    }
    return text;
}

std::vector<Row> alarmsOf(const MappingSource &mapping)
{
    std::vector<Row> rows;
    rows.reserve(mapping.alarms.size());
    for (const AlarmNotes &alarm : mapping.alarms) {
        rows.push_back({alarm.name, std::to_string(alarm.number), alarm.object,
                        std::string(alarmWords::word(alarm.condition)), lines(alarm.raise),
                        alarm.clear, std::to_string(alarm.every), alarm.severity, alarm.text,
                        lines(alarm.with), alarm.life.since, alarm.life.status, alarm.life.until});
    }
    return rows;
}

template <typename Names>
std::string textColumns(const Names &names)
{
    std::string columns;
    for (const char *name : names) {
        columns += std::string(columns.empty() ? "" : ", ") + name + " TEXT";
    }
    return columns;
}

template <typename Columns>
std::string objectColumns(const Columns &all)
{
    std::vector<const char *> names;
    names.reserve(all.size() + mappingSchema::noteColumns.size());
    for (const mappingSchema::Column &column : all) {
        names.push_back(column.name);
    }
    names.insert(names.end(), mappingSchema::noteColumns.begin(), mappingSchema::noteColumns.end());
    return textColumns(names);
}
} // namespace

std::string databaseBuilder::build(const MappingSource &mapping)
{
    using namespace mappingSchema;
    NewDatabase database;
    database.run("BEGIN");
    const auto make = [&database](const char *table, const std::string &columns) {
        database.run(std::string("CREATE TABLE ") + table + " (" + columns + ')');
    };
    make(scalarTable, objectColumns(scalarColumns));
    make(cellTable, objectColumns(cellColumns));
    make(notesTable, textColumns(notesColumns));
    database.insert(scalarTable, rowsOf(mapping.scalars, scalarColumns));
    database.insert(cellTable, rowsOf(mapping.cells, cellColumns));
    database.insert(notesTable, notesOf(mapping));
    if (!mapping.retired.empty()) {
        make(retiredTable, objectColumns(scalarColumns));
        database.insert(retiredTable, rowsOf(mapping.retired, scalarColumns));
    }
    if (!mapping.alarms.empty()) {
        make(alarmTable, textColumns(alarmColumns));
        database.insert(alarmTable, alarmsOf(mapping));
    }
    database.run("COMMIT");
    return database.bytes();
}
