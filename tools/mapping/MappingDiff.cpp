#include "MappingDiff.h"

#include "MappingWords.h"
#include "Numbers.h"

#include <algorithm>
#include <map>

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;
using Objects = std::map<Oid, const ServedObject *>;

Objects objectsOf(const ServedMapping &served)
{
    Objects objects;
    for (const ServedObject &object : served.objects) {
        objects.emplace(object.oid, &object);
    }
    return objects;
}

std::string accessOf(const ServedObject &object)
{
    return object.isWritable() ? "read-write" : "read-only";
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

class Comparison
{
public:
    Comparison(const ServedMapping &before, const ServedMapping &after)
        : _before(objectsOf(before)), _after(objectsOf(after))
    {
    }

    std::vector<MappingChange> compare()
    {
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
        std::stable_sort(
            _changes.begin(), _changes.end(),
            [](const MappingChange &a, const MappingChange &b) { return a.oid < b.oid; });
        return std::move(_changes);
    }

private:
    void add(const char *kind, bool breaks, const ServedObject &object, const std::string &before,
             const std::string &after)
    {
        _changes.push_back({.kind = kind,
                            .breaks = breaks,
                            .oid = object.oid,
                            .name = object.notes.name,
                            .before = before,
                            .after = after});
    }

    /// An object that went and came again elsewhere has moved.
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
        compare("access", before.isWritable(), accessOf(before), accessOf(after));
        compare("conversion", true, mappingWords::conversion(before.info.valueType),
                mappingWords::conversion(after.info.valueType));
        compare("name", false, before.notes.name, after.notes.name);
        const auto &labels = before.notes.labels;
        const bool keepsLabels = std::all_of(labels.begin(), labels.end(), [&](const Label &each) {
            const auto &now = after.notes.labels;
            return std::find(now.begin(), now.end(), each) != now.end();
        });
        compare("labels", !keepsLabels, mappingWords::labels(labels),
                mappingWords::labels(after.notes.labels));
    }

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
    return text.empty() ? "no difference\n" : text;
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
