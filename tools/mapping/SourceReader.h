#pragma once

#include "MappingSource.h"
#include "SourcePlaces.h"

#include <string>

/// Reads a mapping source (YAML). Throws InputError with "file:line:column: reason" and the
/// offending text for everything that it cannot take, up to 20 errors: an unknown key, a number out
/// of range, a duplicate id, OID, cell or name. Scalars and cells may share object ids, as in the
/// agent.
namespace sourceReader
{
/// A source, and where its parts are written.
struct WrittenMapping {
    MappingSource mapping;
    SourcePlaces places;
};

[[nodiscard]] WrittenMapping parseWritten(const std::string &text, const std::string &name);

[[nodiscard]] MappingSource read(const std::string &path);

/// The same for a text; `name` is the file name in errors.
[[nodiscard]] MappingSource parse(const std::string &text, const std::string &name);
} // namespace sourceReader
