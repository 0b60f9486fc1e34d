#pragma once

#include "MappingSource.h"

#include <string>

/// Reads a mapping source (YAML). What cannot be taken throws InputError with
/// "file:line:column: reason" and the offending text; nothing is guessed: an unknown key, a number
/// out of its field's range, a second object of one id, OID, cell or name is an error. Object ids
/// that the scalars share with the cells are allowed, as the agent allows them.
namespace sourceReader
{
[[nodiscard]] MappingSource read(const std::string &path);

/// The same for a text; `name` stands for the file in errors.
[[nodiscard]] MappingSource parse(const std::string &text, const std::string &name);
} // namespace sourceReader
