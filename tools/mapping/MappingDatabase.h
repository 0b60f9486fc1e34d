#pragma once

#include "InputError.h"
#include "MappingSource.h"
#include "SnmpDataBase.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class TemporaryFile;

/// A file that is no mapping database, or a damaged one.
class UnreadableDatabase : public InputError
{
public:
    using InputError::InputError;
};

/// A whole table as the agent's store gives it: every cell as text, or nothing for SQL NULL.
struct RawTable {
    /// No names, and so no columns, where there are no rows.
    std::vector<std::string> columnNames;
    std::vector<std::vector<std::optional<std::string>>> rows;

    /// The position of a further column, or nothing.
    [[nodiscard]] std::optional<std::size_t> find(const std::string &columnName) const;
};

/// A mapping database as the agent loads it, with its rows as they stand in the file beside that.
/// Everything about records comes from the agent's own classes. Their lines on standard output
/// are not seen. A file that is missing, no database or damaged throws UnreadableDatabase; opening
/// changes no file.
class MappingDatabase
{
public:
    explicit MappingDatabase(const std::string &path);
    /// The database that is built from a source; the name stands for the file in errors.
    MappingDatabase(const MappingSource &mapping, const std::string &name);

    /// Null when the database has no such table.
    [[nodiscard]] const RawTable *scalars() const noexcept { return get(_scalars); }

    [[nodiscard]] const RawTable *cells() const noexcept { return get(_cells); }

    /// The records that the agent has; the caller keeps its lines off standard output.
    [[nodiscard]] SnmpDataBase &agent() const noexcept { return *_pAgent; }

    /// The agent's records in the order of the rows that they come from, and all notes. Rows that
    /// the agent drops are not in it; tables are those that have notes, and those that have none.
    [[nodiscard]] MappingSource source() const;

private:
    [[nodiscard]] static const RawTable *get(const std::optional<RawTable> &table) noexcept
    {
        return table ? &*table : nullptr;
    }

    void load(const TemporaryFile &file, const std::string &name);
    void appendScalars(MappingSource &mapping) const;
    void appendCells(MappingSource &mapping) const;
    void addNotes(MappingSource &mapping) const;

    std::optional<RawTable> _scalars;
    std::optional<RawTable> _cells;
    std::optional<RawTable> _notes;
    std::unique_ptr<SnmpDataBase> _pAgent;
};

/// The database behind a file that is either a mapping database or a mapping source.
class MappingInput
{
public:
    explicit MappingInput(const std::string &path);

    [[nodiscard]] const MappingDatabase &database() const noexcept { return *_pDatabase; }

private:
    std::unique_ptr<MappingDatabase> _pDatabase;
};
