#pragma once

#include "MappingRecords.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// One mapping as its author wrote it: the records that the agent loads, in the order of their
/// rows in the database, and beside each what managers and the device simulator want to know of it.
/// Plain values. Every text is UTF-8; an empty text means that nothing was said.

/// How the device keeps an object.
struct DeviceNotes {
    /// "unsigned", "signed", "string" or "other".
    std::string kind;
    /// Bytes of a number or block, room of a text; 0: not said.
    std::size_t width = 0;
    /// As the simulator's object file has it.
    std::string value;
    /// How the value moves in the simulator.
    std::string motion;
};

/// A number and what it stands for.
using Label = std::pair<std::int32_t, std::string>;

/// What the agent does not read of an object.
struct ObjectNotes {
    std::string name;
    std::string description;
    std::string units;
    std::vector<Label> labels;
    DeviceNotes device;
};

struct ScalarEntry {
    SnmpObjOid record;
    ObjectNotes notes;
    /// The row of the database that it was loaded from, counted from 1; 0: none yet.
    std::size_t row = 0;
};

struct CellEntry {
    SnmpTableOid record;
    ObjectNotes notes;
    /// As of a scalar.
    std::size_t row = 0;
};

struct TableNotes {
    std::string node;
    std::string name;
    std::string description;
};

struct ModuleNotes {
    std::string name;
    /// The dotted base OID, with a leading period.
    std::string base;
    std::string organization;
    std::string contact;
    std::string description;
    /// Day of the last change, YYYY-MM-DD.
    std::string updated;
};

struct MappingSource {
    ModuleNotes module;
    std::vector<ScalarEntry> scalars;
    std::vector<TableNotes> tables;
    std::vector<CellEntry> cells;
};
