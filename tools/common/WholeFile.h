#pragma once

#include <string>

/// The bytes of a file; InputError when it cannot be read.
[[nodiscard]] std::string readWholeFile(const std::string &path);
