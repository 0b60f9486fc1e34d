#pragma once

#include "MappingSource.h"

#include <string>

/// Makes the bytes of a mapping database: every record in its place, each number in the base of its
/// column, and all notes. The same mapping always gives the same bytes. InputError when SQLite
/// refuses.
namespace databaseBuilder
{
[[nodiscard]] std::string build(const MappingSource &mapping);
} // namespace databaseBuilder
