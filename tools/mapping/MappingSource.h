#pragma once

#include "MappingRecords.h"
#include "MonitoringNotes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// One mapping as its author wrote it: the records that the agent loads, in row order, each with
/// notes for managers and the device simulator. Plain data. All text is UTF-8; empty text means not
/// given.

/// How the device stores an object.
struct DeviceNotes {
    /// "unsigned", "signed", "string" or "other".
    std::string kind;
    /// Size of the number, block or text in bytes; 0: not given.
    std::size_t width = 0;
    /// As in the simulator's object file.
    std::string value;
    /// How the simulator changes the value.
    std::string motion;
};

/// A number and its meaning.
using Label = std::pair<std::int32_t, std::string>;

/// The revisions of the module that have an object.
struct LifeNotes {
    /// Day of the one that added it; empty: the first.
    std::string since;
    /// "deprecated" or "obsolete"; empty: current.
    std::string status;
    /// Day of the one that gave it this status.
    std::string until;
};

enum class AlarmCondition { above, below, equal, notEqual, changed, oneOf };

/// A condition of an object that managers are notified of. Limits and values are what a manager
/// reads over SNMP.
struct AlarmNotes {
    std::string name;
    /// Of its notifications, from 1.
    std::uint32_t number = 0;
    /// The name of a scalar or column. A column is watched row by row.
    std::string object;
    AlarmCondition condition = AlarmCondition::above;
    /// The limit, the value or the labels; nothing for `changed`.
    std::vector<std::string> raise;
    /// The limit of `above` or `below` that clears it; empty: the one that raises it.
    std::string clear;
    /// Seconds between polls.
    std::uint32_t every = 60;
    /// "critical", "major", "minor", "warning" or "info"
    std::string severity = "warning";
    std::string text;
    /// Names of the objects that are sent along.
    std::vector<std::string> with;
    LifeNotes life;
    /// As in a scalar.
    std::size_t row = 0;
};

/// What the agent does not read about an object.
struct ObjectNotes {
    std::string name;
    std::string description;
    std::string units;
    std::vector<Label> labels;
    DeviceNotes device;
    MonitoringNotes monitoring{};
    /// Of a number: "-20..60".
    std::string range{};
    LifeNotes life{};
};

struct ScalarEntry {
    SnmpObjOid record;
    ObjectNotes notes;
    /// The database row that it was loaded from, counted from 1; 0: none.
    std::size_t row = 0;
};

struct CellEntry {
    SnmpTableOid record;
    ObjectNotes notes;
    /// As in a scalar.
    std::size_t row = 0;
};

struct TableNotes {
    std::string node;
    std::string name;
    std::string description;
};

/// A published state of the module.
struct Revision {
    /// YYYY-MM-DD
    std::string day;
    std::string text;
};

/// A name for an OID below the base that has objects under it.
struct NodeName {
    /// As in a table.
    std::string node;
    std::string name;
};

struct ModuleNotes {
    std::string name;
    /// The dotted base OID, with a leading period.
    std::string base;
    std::string organization;
    std::string contact;
    std::string description;
    /// Date of the last change, YYYY-MM-DD.
    std::string updated;
    /// The oldest first.
    std::vector<Revision> revisions{};
    /// OIDs below the base, as in a table, that must not be used again.
    std::vector<std::string> reserved{};
    std::vector<NodeName> groups{};
};

struct MappingSource {
    ModuleNotes module;
    std::vector<ScalarEntry> scalars;
    std::vector<TableNotes> tables;
    std::vector<CellEntry> cells;
    /// Obsolete scalars: published, but not served.
    std::vector<ScalarEntry> retired{};
    std::vector<AlarmNotes> alarms{};
};
