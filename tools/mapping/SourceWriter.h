#pragma once

#include "MappingSource.h"

#include <string>

/// Writes a mapping as a source (YAML) from which the same records come in the same order: tables
/// column by column where all their cells fit into columns, and cell by cell where not.
/// InputError for a text that is not UTF-8.
namespace sourceWriter
{
[[nodiscard]] std::string write(const MappingSource &mapping);
} // namespace sourceWriter
