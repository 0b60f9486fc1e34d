#pragma once

#include "MappingSource.h"

#include <string>

/// Builds the bytes of a mapping database: all records in order, each number in the base of its
/// column, and all notes. The same mapping always gives the same bytes. Throws InputError if SQLite
/// fails.
namespace databaseBuilder
{
[[nodiscard]] std::string build(const MappingSource &mapping);
} // namespace databaseBuilder
