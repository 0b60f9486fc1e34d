#pragma once

#include "PublishedObjects.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// An object or a notification.
struct ConformanceMember {
    Oid oid;
    std::string name;
    publishedObjects::Life life{};
};

/// The conformance part of a module. Each revision that adds objects has a group of them, each that
/// adds alarms a group of their notifications, and both a compliance statement with all groups that
/// are current by then. The members of a group never change: a revision that drops one of them ends
/// the group, and the revision's own group takes over the others. So nothing that an earlier
/// revision published changes, except for its status.
struct ConformanceGroup {
    std::string name;
    /// Below the node of the conformance part.
    std::size_t number = 0;
    const char *status = "current";
    std::size_t revision = 0;
    std::vector<ConformanceMember> members{};
};

struct ComplianceStatement {
    std::string name;
    std::size_t number = 0;
    const char *status = "current";
    std::size_t revision = 0;
    /// Names of groups.
    std::vector<std::string> groups{};
};

inline constexpr std::uint32_t firstConformanceArc = 100;

struct Conformance {
    /// The number of its node below the base.
    std::uint32_t arc = 0;
    /// Of objects.
    std::vector<ConformanceGroup> groups{};
    std::vector<ConformanceGroup> notificationGroups{};
    std::vector<ComplianceStatement> compliances{};
};

/// Throws InputError if a later revision uses the number of the conformance part.
[[nodiscard]] Conformance conformanceOf(const ServedMapping &served);
