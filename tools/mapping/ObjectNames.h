#pragma once

struct ServedMapping;

/// Names for what its author left unnamed, so that everything served can be published.
namespace objectNames
{
/// Gives every object and table a name of its own: the author's, else one made from the carried
/// text or from the id or number. Names that are there stay, unless an earlier object has the same.
/// The module gets a name too.
void complete(ServedMapping &served);
} // namespace objectNames
