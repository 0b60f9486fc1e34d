#pragma once

#include "PublishedConversions.h"
#include "ServedObjects.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// What a MIB says of each object: its syntax, its status and the revisions that have it.
namespace publishedObjects
{
/// The text of the only revision of a module whose source states none.
inline constexpr const char *unstatedRevision = "Generated from a mapping.";

/// Whether the module has it: only types that the agent serves correctly.
[[nodiscard]] bool isPublished(const ServedObject &object);
/// All that are published, in the order of a walk, and the retired scalars among them.
[[nodiscard]] std::vector<const ServedObject *> all(const ServedMapping &served);

/// "Integer32 (0..255)", "SampleShelfDecimalText"
[[nodiscard]] std::string syntax(const ServedMapping &served, const ServedObject &object);
/// A syntax without its range, size or labels, as a SEQUENCE lists it.
[[nodiscard]] std::string bare(const std::string &syntax);
/// The textual conventions in use, in the order of a MIB.
[[nodiscard]] std::vector<publishedConversion::TextualConvention>
conventions(const ServedMapping &served);

[[nodiscard]] const char *access(const ServedObject &object);

/// Positions in the revisions of the module.
struct Life {
    std::size_t added = 0;
    std::optional<std::size_t> dropped{};
    /// "current", "deprecated" or "obsolete"
    const char *status = "current";
};

/// Days that are not those of a revision count as the first revision.
[[nodiscard]] Life life(const ModuleNotes &module, const LifeNotes &notes);
[[nodiscard]] Life life(const ModuleNotes &module, const ServedObject &object);
} // namespace publishedObjects
