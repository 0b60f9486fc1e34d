#pragma once

#include <string>
#include <string_view>

/// Writing whole files so that nobody ever sees half of one: into a temporary file beside it, made
/// durable, then renamed over the old one. On failure InputError, nothing is left behind and an
/// old file stands as it was.
namespace atomicFile
{
/// "-" is standard output.
void write(const std::string &path, std::string_view content);
} // namespace atomicFile
