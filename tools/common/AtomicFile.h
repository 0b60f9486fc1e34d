#pragma once

#include <string>
#include <string_view>

/// Writes files completely or not at all: to a temporary file in the same directory, which is
/// synced and then renamed over the old one. On failure throws InputError, leaves no temporary file
/// and keeps the old one.
namespace atomicFile
{
/// "-" is standard output.
void write(const std::string &path, std::string_view content);
} // namespace atomicFile
