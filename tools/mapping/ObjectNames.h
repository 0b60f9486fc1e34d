#pragma once

struct ServedMapping;

/// Names for everything that the author left unnamed, so that it can be published.
namespace objectNames
{
/// The name of a module that the author left unnamed.
inline constexpr const char *unnamedModule = "DEVICE-MIB";

/// Gives the module and every object and table a unique name: the author's, else one made from the
/// stored text, the id or the number. Existing names stay unless an earlier object has the same
/// name.
void complete(ServedMapping &served);
} // namespace objectNames
