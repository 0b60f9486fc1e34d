#pragma once

#include "MappingSource.h"

#include <string>

/// Writes a mapping as a source (YAML) that gives the same records in the same order: tables as
/// columns if all their cells fit, otherwise cell by cell. Throws InputError for text that is not
/// UTF-8.
namespace sourceWriter
{
[[nodiscard]] std::string write(const MappingSource &mapping);
} // namespace sourceWriter
