#pragma once

#include <string>

/// The bytes of a file; MappingError where it is no file or cannot be read.
[[nodiscard]] std::string readWholeFile(const std::string &path);
