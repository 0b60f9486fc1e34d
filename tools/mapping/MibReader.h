#pragma once

#include "MappingSource.h"
#include "ServedObjects.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A MIB module as its managers know it.

/// The syntax of an object.
struct MibType {
    /// "Integer32", "Enumeration", "OctetString", "Counter32", ...; empty if it is unknown.
    std::string base;
    /// The textual convention, or empty.
    std::string convention;
    /// Whether the module itself defines the convention.
    bool isOwn = false;
    std::vector<Label> labels;
    std::vector<std::pair<std::int64_t, std::int64_t>> ranges;
};

struct MibObject {
    std::string name;
    Oid oid;
    MibType type;
    /// "readonly", "readwrite", "noaccess", ...
    std::string access;
    std::string status;
    std::string units;
    std::string description;
};

struct MibTable {
    std::string name;
    Oid oid;
    std::string description;
    std::string status;
    Oid entry;
    /// The names of the index objects.
    std::vector<std::string> index;
    std::vector<MibObject> columns;
};

struct MibGroup {
    std::string name;
    std::vector<std::string> members;
};

struct MibModule {
    /// Its base is the OID of the module.
    ModuleNotes notes;
    std::vector<MibObject> scalars;
    std::vector<MibTable> tables;
    std::vector<MibGroup> groups;
    /// Compliance statements, with the names of their mandatory groups.
    std::vector<MibGroup> compliances;
    std::vector<std::pair<Oid, std::string>> nodes;
    std::vector<std::pair<Oid, std::string>> notifications;
};

/// Reads modules with the program smidump.
namespace mibReader
{
/// Throws InputError if the file is not a module, or if a module that it imports is missing.
[[nodiscard]] MibModule read(const std::string &path);
} // namespace mibReader
