#include "Conformance.h"

#include "InputError.h"
#include "SmiText.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace
{
constexpr std::string_view current = "current";
constexpr std::string_view obsolete = "obsolete";

using publishedObjects::Life;

const char *worse(const char *a, const char *b)
{
    return a == obsolete || b == current ? a : b;
}

/// The first number from 100 on that neither the first revision nor a reserved number uses.
std::uint32_t arcOf(const ServedMapping &served)
{
    std::set<std::uint32_t> used;
    std::set<std::uint32_t> usedLater;
    for (const auto *objects : {&served.objects, &served.retired}) {
        for (const ServedObject &object : *objects) {
            if (object.oid.size() > served.base.size()) {
                const bool isFirst = publishedObjects::life(served.module, object).added == 0;
                (isFirst ? used : usedLater).insert(object.oid[served.base.size()]);
            }
        }
    }
    for (const std::string &node : served.module.reserved) {
        const Oid numbers = numbersIn(node);
        if (!numbers.empty()) {
            used.insert(numbers.front());
        }
    }
    std::uint32_t arc = firstConformanceArc;
    while (used.contains(arc)) {
        ++arc;
    }
    if (usedLater.contains(arc)) {
        throw InputError("number " + std::to_string(arc) +
                         " below the base has held the conformance groups since the first "
                         "revision: use another number for the new objects");
    }
    return arc;
}

class Builder
{
public:
    explicit Builder(const ServedMapping &served)
        : _served(served), _identity(smiText::identity(served.module.name)),
          _objects(publishedObjects::all(served))
    {
    }

    Conformance build()
    {
        _conformance.arc = arcOf(_served);
        const std::size_t revisions = std::max<std::size_t>(_served.module.revisions.size(), 1);
        for (std::size_t revision = 0; revision < revisions; ++revision) {
            addRevision(revision);
        }
        markSuperseded();
        return std::move(_conformance);
    }

private:
    [[nodiscard]] Life lifeOf(const ServedObject &object) const
    {
        return publishedObjects::life(_served.module, object);
    }

    /// The first revision's names have no suffix.
    [[nodiscard]] std::string nameOf(const char *kind, std::size_t revision) const
    {
        std::string day = revision == 0 ? "" : _served.module.revisions[revision].day;
        day.erase(std::remove(day.begin(), day.end(), '-'), day.end());
        return _identity + kind + day;
    }

    [[nodiscard]] bool isDroppedBy(const ServedObject &object, std::size_t revision) const
    {
        const auto dropped = lifeOf(object).dropped;
        return dropped && *dropped <= revision;
    }

    void addRevision(std::size_t revision)
    {
        std::set<const ServedObject *> members;
        for (const ServedObject *object : _objects) {
            if (lifeOf(*object).added == revision) {
                members.insert(object);
            }
        }
        const bool isChanged = endGroups(revision, members) || !members.empty();
        ConformanceGroup group{
            .name = nameOf("Group", revision), .number = 2 * revision + 2, .revision = revision};
        for (const ServedObject *object : _objects) {
            if (members.contains(object)) {
                group.members.push_back(object);
            }
        }
        if (!group.members.empty()) {
            _current.push_back(_conformance.groups.size());
            _conformance.groups.push_back(std::move(group));
        }
        if (isChanged && !_current.empty()) {
            addCompliance(revision);
        }
    }

    /// Ends the groups of which the revision drops a member; the others go into `members`.
    bool endGroups(std::size_t revision, std::set<const ServedObject *> &members)
    {
        const auto isEnded = [&](std::size_t index) {
            const auto &group = _conformance.groups[index].members;
            return std::any_of(group.begin(), group.end(), [&](const ServedObject *each) {
                return isDroppedBy(*each, revision);
            });
        };
        std::vector<std::size_t> kept;
        for (const std::size_t index : _current) {
            if (!isEnded(index)) {
                kept.push_back(index);
                continue;
            }
            ConformanceGroup &group = _conformance.groups[index];
            for (const ServedObject *each : group.members) {
                group.status = worse(group.status, lifeOf(*each).status);
                if (!isDroppedBy(*each, revision)) {
                    members.insert(each);
                }
            }
        }
        const bool hasEnded = kept.size() != _current.size();
        _current = std::move(kept);
        return hasEnded;
    }

    void addCompliance(std::size_t revision)
    {
        ComplianceStatement compliance{.name = nameOf("Compliance", revision),
                                       .number = 2 * revision + 1,
                                       .revision = revision};
        for (const std::size_t index : _current) {
            compliance.groups.push_back(_conformance.groups[index].name);
        }
        _conformance.compliances.push_back(std::move(compliance));
    }

    /// A statement is as old as its oldest group, and only the latest one is current.
    void markSuperseded()
    {
        for (ComplianceStatement &each : _conformance.compliances) {
            const bool isLatest = &each == &_conformance.compliances.back();
            each.status = isLatest ? "current" : "deprecated";
            for (const ConformanceGroup &group : _conformance.groups) {
                if (std::count(each.groups.begin(), each.groups.end(), group.name) != 0) {
                    each.status = worse(each.status, group.status);
                }
            }
        }
    }

    const ServedMapping &_served;
    std::string _identity;
    std::vector<const ServedObject *> _objects;
    /// Positions of the groups that are current in the revision at hand.
    std::vector<std::size_t> _current;
    Conformance _conformance;
};
} // namespace

Conformance conformanceOf(const ServedMapping &served)
{
    return Builder(served).build();
}
