#pragma once

#include <string>

/// What the program smidump says of a MIB module. It finds imported modules where SMIPATH and the
/// configuration of libsmi say.
namespace smidump
{
/// The module as XML. `module` is a path with a slash, or the name of a module. Throws InputError
/// if smidump is not installed, does not finish within 30 s, or cannot find a module; `name` is the
/// module's name in errors.
[[nodiscard]] std::string xml(const std::string &module, const std::string &name);
} // namespace smidump
