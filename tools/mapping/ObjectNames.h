#pragma once

#include <string>

struct ServedMapping;

/// Names for everything that the author left unnamed, so that it can be published.
namespace objectNames
{
/// The name of a module that the author left unnamed.
inline constexpr const char *unnamedModule = "DEVICE-MIB";

/// The name under which a module is published: its own, if SMI allows it.
[[nodiscard]] std::string ofModule(const std::string &name);

/// Whether a module, by its name, gives the name to a definition of its own or may do so in a later
/// revision, in upper or lower case: its identity, a part of its conformance, its notifications, or
/// a node without a name of the author.
[[nodiscard]] bool isOfModule(const std::string &name, const std::string &module);

/// In lower case: names in a module differ in more than upper and lower case.
[[nodiscard]] std::string folded(std::string name);

/// Gives the module and every object and table a unique name: the author's, else one made from the
/// stored text, the id or the number. Existing names stay unless an earlier object or the module
/// itself has the same name, or SMI does not allow them.
void complete(ServedMapping &served);
} // namespace objectNames
