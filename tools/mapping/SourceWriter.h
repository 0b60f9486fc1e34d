#pragma once

#include "MappingSource.h"

#include <string>

/// Writes a mapping as a source (YAML) that gives the same records in the same order: tables as
/// columns if all their cells fit, otherwise cell by cell. Throws InputError for text that is not
/// UTF-8.
namespace sourceWriter
{
/// What a MIB does not say, such as object ids, is left open: a word that no reader accepts, with a
/// comment. The remarks come first, as comments.
[[nodiscard]] std::string writeOpen(const MappingSource &mapping,
                                    const std::vector<std::string> &remarks);

[[nodiscard]] std::string write(const MappingSource &mapping);
} // namespace sourceWriter
