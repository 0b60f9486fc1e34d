#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// Where the parts of a mapping are written in its source. Plain data, made by the source reader;
/// the checker uses it to report findings at the author's line.

/// Counted from 1; line 0: nowhere.
struct SourceMark {
    std::size_t line = 0;
    std::size_t column = 0;

    [[nodiscard]] bool isSomewhere() const noexcept { return line != 0; }
};

/// A finding that the author expects, and why.
struct Acceptance {
    std::string code;
    std::string reason;
    SourceMark mark;
};

/// The module, a table, a scalar, a column, a single cell or an alarm.
struct WrittenObject {
    std::string name;
    /// Of a table, or that a column or cell belongs to.
    std::string node;
    SourceMark mark;
    /// The values of its keys.
    std::map<std::string, SourceMark, std::less<>> keys;
    std::vector<Acceptance> accepted;
};

struct SourcePlaces {
    WrittenObject module;
    /// By node.
    std::map<std::string, WrittenObject, std::less<>> tables;
    /// Scalars, columns and single cells.
    std::vector<WrittenObject> objects;
    /// The object of each row of the database's tables.
    std::vector<std::size_t> scalars;
    std::vector<std::size_t> cells;
    std::vector<WrittenObject> alarms;

    /// The object or alarm of a row, counted from 1; null for a row that was not written.
    [[nodiscard]] const WrittenObject *objectOf(std::string_view table, std::size_t row) const;
    /// The table that an object belongs to; null if it has no entry of its own.
    [[nodiscard]] const WrittenObject *tableOf(const WrittenObject &object) const;
};

/// Where an object writes what a column of the database holds: the value of the key, else the
/// object.
[[nodiscard]] SourceMark markOf(const WrittenObject &object, std::string_view column);
