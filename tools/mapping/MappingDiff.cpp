#include "MappingDiff.h"

#include "AlarmNotifications.h"
#include "Conformance.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "ObjectNames.h"
#include "PublishedObjects.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <set>
#include <string_view>

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;
using Objects = std::map<Oid, const ServedObject *>;

Objects objectsOf(const ServedMapping &served)
{
    Objects objects;
    for (const auto *all : {&served.objects, &served.retired}) {
        for (const ServedObject &object : *all) {
            objects.emplace(object.oid, &object);
        }
    }
    return objects;
}

/// The position of a status in the life of an object, which never goes back.
std::ptrdiff_t ageOf(const std::string &status)
{
    constexpr std::array<std::string_view, 3> ages{"current", "deprecated", "obsolete"};
    return std::find(ages.begin(), ages.end(), status) - ages.begin();
}

bool keepsLabels(const std::vector<Label> &before, const std::vector<Label> &after)
{
    return before.empty() == after.empty() &&
           std::all_of(before.begin(), before.end(), [&after](const Label &each) {
               return std::find(after.begin(), after.end(), each) != after.end();
           });
}

/// The names of the members of `group` whose OIDs `other` does not have.
std::string missingIn(const std::vector<ConformanceMember> &other,
                      const std::vector<ConformanceMember> &group)
{
    std::set<Oid> known;
    for (const ConformanceMember &member : other) {
        known.insert(member.oid);
    }
    std::string names;
    for (const ConformanceMember &member : group) {
        if (!known.contains(member.oid)) {
            names += (names.empty() ? "" : " ") + member.name;
        }
    }
    return names;
}

std::string objectIds(const ServedObject &object)
{
    std::string ids;
    for (const ServedInstance &instance : object.instances) {
        if (instance.objId) {
            ids += (ids.empty() ? "" : " ") + numbers::objectIdText(*instance.objId);
        }
    }
    return ids;
}

std::string rowsOf(const ServedObject &object)
{
    std::string rows;
    for (const ServedInstance &instance : object.instances) {
        rows += (rows.empty() ? "" : " ") + std::to_string(instance.row);
    }
    return rows;
}

bool hasAll(const ServedObject &object, const ServedObject &wanted)
{
    return std::all_of(
        wanted.instances.begin(), wanted.instances.end(), [&](const ServedInstance &each) {
            return std::any_of(object.instances.begin(), object.instances.end(),
                               [&](const ServedInstance &other) { return other.row == each.row; });
        });
}

/// The alarm whose notifications have the same numbers, or null.
const ServedAlarm *sameIn(const ServedMapping &served, const ServedAlarm &alarm)
{
    const auto same =
        std::find_if(served.alarms.begin(), served.alarms.end(), [&alarm](const ServedAlarm &each) {
            return each.notes.number == alarm.notes.number;
        });
    return same == served.alarms.end() ? nullptr : &*same;
}

std::string namesOf(const std::vector<const ServedObject *> &objects)
{
    std::string names;
    for (const ServedObject *object : objects) {
        names += (names.empty() ? "" : " ") + object->notes.name;
    }
    return names;
}

class Comparison
{
public:
    Comparison(const ServedMapping &before, const ServedMapping &after)
        : _old(before), _new(after), _wasNamed(before.module.name != objectNames::unnamedModule),
          _before(objectsOf(before)), _after(objectsOf(after))
    {
    }

    std::vector<MappingChange> compare()
    {
        compareModules();
        compareTables();
        for (const auto &[oid, object] : _before) {
            const auto same = _after.find(oid);
            if (same == _after.end()) {
                addGone(*object);
            } else {
                compareObjects(*object, *same->second);
            }
        }
        for (const auto &[oid, object] : _after) {
            if (!_before.contains(oid) && !_moved.contains(oid)) {
                add("added", false, *object, "", oidText(oid));
            }
        }
        compareAlarms();
        std::stable_sort(
            _changes.begin(), _changes.end(),
            [](const MappingChange &a, const MappingChange &b) { return a.oid < b.oid; });
        return std::move(_changes);
    }

private:
    void add(const char *kind, bool breaks, const ServedObject &object, const std::string &before,
             const std::string &after)
    {
        add(kind, breaks, object.oid, object.notes.name, before, after);
    }

    void add(const char *kind, bool breaks, const Oid &oid, const std::string &name,
             const std::string &before, const std::string &after)
    {
        _changes.push_back({.kind = kind,
                            .breaks = breaks,
                            .oid = oid,
                            .name = name,
                            .before = before,
                            .after = after});
    }

    void compareModules()
    {
        const ModuleNotes &before = _old.module;
        const ModuleNotes &after = _new.module;
        if (before.name != after.name) {
            add("module", _wasNamed, _old.base, before.name, before.name, after.name);
        }
        if (before.revisions.empty() && after.revisions.empty()) {
            return;
        }
        for (const Revision &revision : before.revisions) {
            if (!hasRevision(after, revision)) {
                add("revision", false, _old.base, before.name, revision.day, "");
            }
        }
        for (const Revision &revision : after.revisions) {
            if (!hasRevision(before, revision)) {
                add("revision", false, _old.base, before.name, "", revision.day);
            }
        }
        compareGroups();
    }

    static bool hasRevision(const ModuleNotes &module, const Revision &revision)
    {
        return std::any_of(module.revisions.begin(), module.revisions.end(),
                           [&revision](const Revision &each) { return each.day == revision.day; });
    }

    /// The members of a published group never change.
    void compareGroups()
    {
        const Conformance before = conformanceOf(_old);
        const Conformance after = conformanceOf(_new);
        compareGroups(before.arc, before.groups, after.groups);
        compareGroups(before.arc, before.notificationGroups, after.notificationGroups);
    }

    void compareGroups(std::uint32_t arc, const std::vector<ConformanceGroup> &before,
                       const std::vector<ConformanceGroup> &after)
    {
        for (const ConformanceGroup &group : before) {
            const auto same =
                std::find_if(after.begin(), after.end(), [&group](const ConformanceGroup &each) {
                    return each.number == group.number;
                });
            const std::vector<ConformanceMember> members =
                same == after.end() ? std::vector<ConformanceMember>() : same->members;
            const std::string left = missingIn(members, group.members);
            const std::string joined = missingIn(group.members, members);
            if (!(left + joined).empty()) {
                Oid oid = _old.base;
                oid.insert(oid.end(), {arc, static_cast<std::uint32_t>(group.number)});
                add("group", true, oid, group.name, left, joined);
            }
        }
    }

    void compareTables()
    {
        for (const ServedTable &table : _old.tables) {
            for (const ServedTable &other : _new.tables) {
                if (table.oid == other.oid && table.notes.name != other.notes.name) {
                    add("name", _wasNamed, table.oid, table.notes.name, table.notes.name,
                        other.notes.name);
                }
            }
        }
    }

    /// An object that reappears elsewhere has moved.
    void addGone(const ServedObject &object)
    {
        const std::string ids = objectIds(object);
        for (const auto &[oid, other] : _after) {
            if (!ids.empty() && objectIds(*other) == ids && !_before.contains(oid) &&
                !_moved.contains(oid)) {
                _moved.emplace(oid, other);
                add("moved", true, object, oidText(object.oid), oidText(oid));
                compareForms(object, *other);
                return;
            }
        }
        add("gone", true, object, oidText(object.oid), "");
    }

    void compareObjects(const ServedObject &before, const ServedObject &after)
    {
        if (before.instances.empty() || after.instances.empty()) {
            compareForms(before, after);
            return;
        }
        const std::string ids = objectIds(before);
        const std::string newIds = objectIds(after);
        const std::string rows = rowsOf(before);
        const std::string newRows = rowsOf(after);
        if (rows != newRows) {
            add("rows", !hasAll(after, before), before, rows, newRows);
        } else if (ids != newIds) {
            add("object", true, before, ids, newIds);
        }
        compareForms(before, after);
    }

    void compareForms(const ServedObject &before, const ServedObject &after)
    {
        const auto compare = [&](const char *kind, bool breaks, const std::string &old,
                                 const std::string &now) {
            if (old != now) {
                add(kind, breaks, before, old, now);
            }
        };
        compare("type", true, mappingWords::snmpType(before.info.asnType),
                mappingWords::snmpType(after.info.asnType));
        compare("access", before.isWritable(), publishedObjects::access(before),
                publishedObjects::access(after));
        compare("conversion", true, mappingWords::conversion(before.info.valueType),
                mappingWords::conversion(after.info.valueType));
        compare("name", _wasNamed, before.notes.name, after.notes.name);
        const auto &labels = before.notes.labels;
        const auto &newLabels = after.notes.labels;
        compare("labels", !keepsLabels(labels, newLabels), mappingWords::labels(labels),
                mappingWords::labels(newLabels));
        const bool isSameKind = before.info.asnType == after.info.asnType &&
                                before.info.valueType == after.info.valueType;
        if (isSameKind && labels.empty() && newLabels.empty() &&
            publishedObjects::isPublished(before)) {
            compare("syntax", _wasNamed, publishedObjects::syntax(_old, before),
                    publishedObjects::syntax(_new, after));
        }
        compare("units", after.notes.units.empty(), before.notes.units, after.notes.units);
        const std::string status = publishedObjects::life(_old.module, before).status;
        const std::string newStatus = publishedObjects::life(_new.module, after).status;
        compare("status", ageOf(newStatus) < ageOf(status), status, newStatus);
    }

    void compareAlarms()
    {
        for (const ServedAlarm &alarm : _old.alarms) {
            const AlarmNotification raise = alarmNotifications::raise(_old, alarm);
            const ServedAlarm *const same = sameIn(_new, alarm);
            if (same == nullptr) {
                add("gone", true, raise.oid, raise.name, oidText(raise.oid), "");
            } else {
                compareAlarms(alarm, *same, raise);
            }
        }
        for (const ServedAlarm &alarm : _new.alarms) {
            if (sameIn(_old, alarm) == nullptr) {
                const AlarmNotification raise = alarmNotifications::raise(_new, alarm);
                add("added", false, raise.oid, raise.name, "", oidText(raise.oid));
            }
        }
    }

    void compareAlarms(const ServedAlarm &before, const ServedAlarm &after,
                       const AlarmNotification &raise)
    {
        const auto compare = [&](const char *kind, bool breaks, const std::string &old,
                                 const std::string &now) {
            if (old != now) {
                add(kind, breaks, raise.oid, raise.name, old, now);
            }
        };
        compare("name", _wasNamed, before.notes.name, after.notes.name);
        compare("objects", true, namesOf(alarmNotifications::objects(_old, before)),
                namesOf(alarmNotifications::objects(_new, after)));
        compare("alarm", false, raise.description,
                alarmNotifications::raise(_new, after).description);
        compare("clear", servedAlarms::hasClear(before) && !servedAlarms::hasClear(after),
                clearText(_old, before), clearText(_new, after));
        const std::string status = publishedObjects::life(_old.module, before.notes.life).status;
        const std::string newStatus = publishedObjects::life(_new.module, after.notes.life).status;
        compare("status", ageOf(newStatus) < ageOf(status), status, newStatus);
    }

    static std::string clearText(const ServedMapping &served, const ServedAlarm &alarm)
    {
        return servedAlarms::hasClear(alarm) ? alarmNotifications::clear(served, alarm).description
                                             : std::string();
    }

    const ServedMapping &_old;
    const ServedMapping &_new;
    /// Nobody relies on a module that has no name of its own.
    bool _wasNamed;
    Objects _before;
    Objects _after;
    Objects _moved;
    std::vector<MappingChange> _changes;
};
} // namespace

std::vector<MappingChange> mappingDiff::compare(const ServedMapping &before,
                                                const ServedMapping &after)
{
    return Comparison(before, after).compare();
}

bool mappingDiff::breaksManagers(const std::vector<MappingChange> &changes)
{
    return std::any_of(changes.begin(), changes.end(),
                       [](const MappingChange &each) { return each.breaks; });
}

std::string mappingDiff::text(const std::vector<MappingChange> &changes)
{
    std::string text;
    for (const MappingChange &change : changes) {
        text += change.breaks ? "! " : "  ";
        text += oidText(change.oid) + ' ' + change.name + ": " + change.kind;
        if (change.kind != "added" && change.kind != "gone") {
            text += ": " + (change.before.empty() ? "none" : change.before) + " -> " +
                    (change.after.empty() ? "none" : change.after);
        }
        text += '\n';
    }
    return text.empty() ? "no differences\n" : text;
}

std::string mappingDiff::json(const std::vector<MappingChange> &changes)
{
    Json entries = Json::array();
    for (const MappingChange &change : changes) {
        entries.push_back({{"kind", change.kind},
                           {"breaks", change.breaks},
                           {"oid", oidText(change.oid)},
                           {"name", change.name},
                           {"before", change.before},
                           {"after", change.after}});
    }
    const Json all{{"breaks", breaksManagers(changes)}, {"changes", std::move(entries)}};
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}
