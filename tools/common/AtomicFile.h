#pragma once

#include <string>
#include <string_view>

/// Writes files completely or not at all: to a temporary file in the same directory, which is
/// synced and then renamed over the old one. The new file keeps owner and mode of the old one; a
/// symbolic link stays, and the file that it names is written. A device or a FIFO is written to,
/// not replaced. On failure throws InputError, leaves no temporary file and keeps the old one; an
/// interrupt leaves no temporary file either.
namespace atomicFile
{
/// "-" is standard output.
void write(const std::string &path, std::string_view content);

/// Whether both paths lead to one file, also through links. Character devices do not count: writing
/// to one overwrites nothing.
[[nodiscard]] bool isSame(const std::string &path, const std::string &other);
/// Throws InputError if they are the same.
void requireOther(const std::string &input, const std::string &output);
} // namespace atomicFile
