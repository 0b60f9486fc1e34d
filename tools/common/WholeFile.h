#pragma once

#include <string>

/// The bytes of a file; throws InputError if it cannot be read.
[[nodiscard]] std::string readWholeFile(const std::string &path);
