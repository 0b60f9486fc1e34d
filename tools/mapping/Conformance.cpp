#include "Conformance.h"

#include "AlarmNotifications.h"
#include "InputError.h"
#include "SmiText.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace
{
constexpr std::string_view current = "current";
constexpr std::string_view obsolete = "obsolete";

/// Numbers of the first revision: compliance statements have odd numbers and groups even ones,
/// those of notifications behind all that objects can have.
constexpr std::size_t firstCompliance = 1;
constexpr std::size_t firstGroup = 2;
constexpr std::size_t firstNotificationGroup = 65536;

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

/// The groups of one kind of members, revision by revision.
class GroupHistory
{
public:
    /// The members are in the order of their OIDs. Their groups have every second number, from that
    /// of the first revision on.
    GroupHistory(std::string name, std::size_t firstNumber, std::vector<ConformanceMember> members)
        : _name(std::move(name)), _firstNumber(firstNumber), _members(std::move(members))
    {
    }

    /// Whether the revision, whose names end with the suffix, changes anything.
    bool addRevision(std::size_t revision, const std::string &suffix)
    {
        std::set<Oid> joining;
        for (const ConformanceMember &member : _members) {
            if (member.life.added == revision) {
                joining.insert(member.oid);
            }
        }
        const bool isChanged = endGroups(revision, joining) || !joining.empty();
        ConformanceGroup group{
            .name = _name + suffix, .number = _firstNumber + 2 * revision, .revision = revision};
        for (const ConformanceMember &member : _members) {
            if (joining.contains(member.oid)) {
                group.members.push_back(member);
            }
        }
        if (!group.members.empty()) {
            _current.push_back(_groups.size());
            _groups.push_back(std::move(group));
        }
        return isChanged;
    }

    /// Those that are current in the latest revision.
    [[nodiscard]] std::vector<std::string> currentNames() const
    {
        std::vector<std::string> names;
        names.reserve(_current.size());
        for (const std::size_t index : _current) {
            names.push_back(_groups[index].name);
        }
        return names;
    }

    [[nodiscard]] std::vector<ConformanceGroup> take() { return std::move(_groups); }

private:
    /// Ends the groups of which the revision drops a member; the others join the revision's own.
    bool endGroups(std::size_t revision, std::set<Oid> &joining)
    {
        const auto isDropped = [revision](const ConformanceMember &member) {
            return member.life.dropped && *member.life.dropped <= revision;
        };
        std::vector<std::size_t> kept;
        for (const std::size_t index : _current) {
            ConformanceGroup &group = _groups[index];
            if (std::none_of(group.members.begin(), group.members.end(), isDropped)) {
                kept.push_back(index);
                continue;
            }
            for (const ConformanceMember &member : group.members) {
                group.status = worse(group.status, member.life.status);
                if (!isDropped(member)) {
                    joining.insert(member.oid);
                }
            }
        }
        const bool hasEnded = kept.size() != _current.size();
        _current = std::move(kept);
        return hasEnded;
    }

    std::string _name;
    std::size_t _firstNumber;
    std::vector<ConformanceMember> _members;
    /// Positions of the groups that are current in the revision at hand.
    std::vector<std::size_t> _current;
    std::vector<ConformanceGroup> _groups;
};

std::vector<ConformanceMember> publishedMembers(const ServedMapping &served)
{
    std::vector<ConformanceMember> members;
    for (const ServedObject *object : publishedObjects::all(served)) {
        members.push_back({.oid = object->oid,
                           .name = object->notes.name,
                           .life = publishedObjects::life(served.module, *object)});
    }
    return members;
}

std::vector<ConformanceMember> notificationMembers(const ServedMapping &served)
{
    std::vector<ConformanceMember> members;
    for (const ServedAlarm &alarm : served.alarms) {
        if (!alarmNotifications::isPublished(served, alarm)) {
            continue;
        }
        for (const AlarmNotification &each : alarmNotifications::of(served, alarm)) {
            members.push_back({.oid = each.oid,
                               .name = each.name,
                               .life = publishedObjects::life(served.module, alarm.notes.life)});
        }
    }
    return members;
}

class Builder
{
public:
    explicit Builder(const ServedMapping &served)
        : _served(served), _identity(smiText::identity(served.module.name)),
          _objects(_identity + "Group", firstGroup, publishedMembers(served)),
          _notifications(_identity + "NotificationGroup", firstNotificationGroup,
                         notificationMembers(served))
    {
    }

    Conformance build()
    {
        _conformance.arc = arcOf(_served);
        const std::size_t revisions = std::max<std::size_t>(_served.module.revisions.size(), 1);
        for (std::size_t revision = 0; revision < revisions; ++revision) {
            addRevision(revision);
        }
        _conformance.groups = _objects.take();
        _conformance.notificationGroups = _notifications.take();
        markSuperseded();
        return std::move(_conformance);
    }

private:
    /// The first revision's names have no suffix.
    [[nodiscard]] std::string suffixOf(std::size_t revision) const
    {
        std::string day = revision == 0 ? "" : _served.module.revisions[revision].day;
        day.erase(std::remove(day.begin(), day.end(), '-'), day.end());
        return day;
    }

    void addRevision(std::size_t revision)
    {
        const std::string suffix = suffixOf(revision);
        const bool changesObjects = _objects.addRevision(revision, suffix);
        const bool changesNotifications = _notifications.addRevision(revision, suffix);
        std::vector<std::string> groups = _objects.currentNames();
        for (std::string &name : _notifications.currentNames()) {
            groups.push_back(std::move(name));
        }
        if ((changesObjects || changesNotifications) && !groups.empty()) {
            _conformance.compliances.push_back({.name = _identity + "Compliance" + suffix,
                                                .number = firstCompliance + 2 * revision,
                                                .revision = revision,
                                                .groups = std::move(groups)});
        }
    }

    /// A statement is as old as its oldest group, and only the latest one is current.
    void markSuperseded()
    {
        for (ComplianceStatement &each : _conformance.compliances) {
            const bool isLatest = &each == &_conformance.compliances.back();
            each.status = isLatest ? "current" : "deprecated";
            for (const auto *groups : {&_conformance.groups, &_conformance.notificationGroups}) {
                for (const ConformanceGroup &group : *groups) {
                    if (std::count(each.groups.begin(), each.groups.end(), group.name) != 0) {
                        each.status = worse(each.status, group.status);
                    }
                }
            }
        }
    }

    const ServedMapping &_served;
    std::string _identity;
    GroupHistory _objects;
    GroupHistory _notifications;
    Conformance _conformance;
};
} // namespace

Conformance conformanceOf(const ServedMapping &served)
{
    return Builder(served).build();
}
