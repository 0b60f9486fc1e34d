#pragma once

#include "InputError.h"
#include "MappingSource.h"
#include "SnmpDataBase.h"
#include "SourcePlaces.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class TemporaryFile;

/// How the file of a database begins.
inline constexpr std::string_view databaseStart = "SQLite format 3";

/// A file that cannot be read, is not a database or is damaged.
class UnreadableDatabase : public InputError
{
public:
    using InputError::InputError;
};

/// A whole table as the agent's store returns it: every cell is text, or nothing for SQL NULL.
struct RawTable {
    /// Empty if the table has no rows.
    std::vector<std::string> columnNames;
    /// As declared, such as "TEXT"; as long as the names or longer.
    std::vector<std::string> columnTypes;
    std::vector<std::vector<std::optional<std::string>>> rows;

    /// The position of a column, or nothing.
    [[nodiscard]] std::optional<std::size_t> find(const std::string &columnName) const;
};

/// A mapping database as the agent loads it, and its raw rows. All records come from the agent's
/// own classes, whose messages on standard output are suppressed. Throws UnreadableDatabase if the
/// file is missing, not a database or damaged. Never modifies a file.
class MappingDatabase
{
public:
    explicit MappingDatabase(const std::string &path);
    /// The database that a source builds; `name` is the file name in errors.
    MappingDatabase(const MappingSource &mapping, const std::string &name);

    /// Null if the database has no such table.
    [[nodiscard]] const RawTable *scalars() const noexcept { return get(_scalars); }

    [[nodiscard]] const RawTable *cells() const noexcept { return get(_cells); }

    [[nodiscard]] const RawTable *notes() const noexcept { return get(_notes); }

    /// Whether the file is in the write-ahead mode of SQLite.
    [[nodiscard]] bool isWriteAhead() const noexcept { return _isWriteAhead; }

    /// The agent's records; callers suppress its messages with QuietOutput.
    [[nodiscard]] SnmpDataBase &agent() const noexcept { return *_pAgent; }

    /// The agent's records in row order, and all notes. Rows that the agent drops are left out;
    /// tables are included with or without notes.
    [[nodiscard]] MappingSource source() const;

private:
    [[nodiscard]] static const RawTable *get(const std::optional<RawTable> &table) noexcept
    {
        return table ? &*table : nullptr;
    }

    void load(const TemporaryFile &file, const std::string &name);
    void appendScalars(MappingSource &mapping) const;
    void appendCells(MappingSource &mapping) const;
    void appendRetired(MappingSource &mapping) const;
    void addNotes(MappingSource &mapping) const;
    void addLists(ModuleNotes &module) const;
    void appendAlarms(MappingSource &mapping) const;

    std::optional<RawTable> _scalars;
    std::optional<RawTable> _cells;
    std::optional<RawTable> _notes;
    bool _isWriteAhead = false;
    std::optional<RawTable> _retired;
    std::optional<RawTable> _alarms;
    std::unique_ptr<SnmpDataBase> _pAgent;
};

/// The bytes of a database or source; throws UnreadableDatabase if it cannot be read.
[[nodiscard]] std::string readMappingFile(const std::string &path);

/// The database of a file that is either a mapping database or a source.
class MappingInput
{
public:
    explicit MappingInput(const std::string &path);
    MappingInput(const std::string &path, const std::string &content);

    [[nodiscard]] const MappingDatabase &database() const noexcept { return *_pDatabase; }

    /// Where the parts of a source are written; nothing for a database.
    [[nodiscard]] const std::optional<SourcePlaces> &places() const noexcept { return _places; }

private:
    std::optional<SourcePlaces> _places;
    std::unique_ptr<MappingDatabase> _pDatabase;
};
