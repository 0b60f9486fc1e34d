#pragma once

#include "MappingSource.h"
#include "YamlNodes.h"

#include <string>

/// The keys of a source about the life of its module: revisions, and when objects came and went.
/// Anything that would change what an earlier revision published fails with its place.
namespace sourceLife
{
/// "revisions", "reserved" and "groups".
void readModule(const YamlMap &map, YamlErrors &errors, ModuleNotes &module);

/// "since", "status" and "until" of an object; `since` if it does not say.
[[nodiscard]] LifeNotes life(const YamlMap &map, const ModuleNotes &module,
                             const std::string &since);
/// "range" of a number.
[[nodiscard]] std::string range(const YamlMap &map, const std::vector<Label> &labels);
/// "since" of a table: the default of its columns.
[[nodiscard]] std::string since(const YamlMap &map, const ModuleNotes &module);

/// Fails if the OID below the base is reserved, or is below one that is.
void checkFree(const YAML::Node &node, const std::string &oid, const ModuleNotes &module);
} // namespace sourceLife
