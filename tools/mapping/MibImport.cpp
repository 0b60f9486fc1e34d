#include "MibImport.h"

#include "AlarmNotifications.h"
#include "Conformance.h"
#include "MappingWords.h"
#include "ObjectTypes.h"
#include "PublishedObjects.h"
#include "SmiText.h"
#include "SnmpObjConvertStrategy.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>

namespace
{
constexpr std::size_t scalarArcs = 3;
constexpr std::int64_t longestText = 64;
constexpr std::uint32_t firstColumn = 2;
constexpr std::uint32_t mostReserved = 100;
constexpr std::size_t dayDigits = 8;

/// The numbers below the base; nothing if the OID is elsewhere.
std::optional<Oid> below(const Oid &base, const Oid &oid)
{
    if (oid.size() <= base.size() || !std::equal(base.begin(), base.end(), oid.begin())) {
        return std::nullopt;
    }
    return Oid(oid.begin() + static_cast<std::ptrdiff_t>(base.size()), oid.end());
}

bool isNumber(const MibType &type)
{
    return type.base == "Integer32" || type.base == "Enumeration";
}

/// Why the agent cannot serve an object wherever it is; empty if it can.
std::string obstacleOf(const MibObject &object)
{
    if (object.access != "readonly" && object.access != "readwrite") {
        return "its access is " + object.access;
    }
    if (!isNumber(object.type) && object.type.base != "OctetString") {
        const std::string type = object.type.base.empty() ? "unknown" : object.type.base;
        return "the agent does not serve type " + type + " correctly";
    }
    return "";
}

/// Whether both components of the index are those of the agent: the row number in column 1, and a
/// column that is never read.
bool hasServedIndex(const MibTable &table)
{
    const auto isIndex = [&table](std::size_t position, const MibObject &column) {
        return column.name == table.index[position] && isNumber(column.type);
    };
    return table.index.size() == 2 &&
           std::any_of(
               table.columns.begin(), table.columns.end(),
               [&](const MibObject &each) { return isIndex(0, each) && each.oid.back() == 1; }) &&
           std::any_of(table.columns.begin(), table.columns.end(), [&](const MibObject &each) {
               return isIndex(1, each) && each.access == "noaccess";
           });
}

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

bool hasMember(const MibGroup &group, const std::string &name)
{
    return std::count(group.members.begin(), group.members.end(), name) != 0;
}

/// The day of the revision that the name of a group or a compliance statement ends in, or nothing.
std::string revisionIn(const std::string &group, const std::vector<Revision> &revisions)
{
    for (const Revision &revision : revisions) {
        std::string digits = revision.day;
        digits.erase(std::remove(digits.begin(), digits.end(), '-'), digits.end());
        if (digits.size() == dayDigits && group.ends_with(digits)) {
            return revision.day;
        }
    }
    return "";
}

class Importer
{
public:
    Importer(const MibModule &module, const std::string &base)
        : _module(module), _base(numbersIn(baseText(module.notes, base)))
    {
        _imported.source.module = module.notes;
        _imported.source.module.base = oidText(_base);
        auto &revisions = _imported.source.module.revisions;
        if (revisions.size() == 1 && revisions[0].text == publishedObjects::unstatedRevision) {
            _imported.source.module.updated = revisions[0].day;
            revisions.clear();
        }
    }

    ImportedMib import()
    {
        if (_module.notes.base.empty()) {
            remark(_module.notes.name, "the module has no MODULE-IDENTITY: check the base");
        }
        for (const auto &[oid, name] : _module.nodes) {
            addNode(oid, name);
        }
        for (const MibObject &scalar : _module.scalars) {
            addScalar(scalar);
        }
        for (const MibTable &table : _module.tables) {
            addTable(table);
        }
        for (const auto &[oid, name] : _module.notifications) {
            remark(name, "a notification: not imported, but an alarm can send it");
        }
        return std::move(_imported);
    }

private:
    void remark(const std::string &name, const std::string &what)
    {
        _imported.remarks.push_back(name + ": " + what);
    }

    /// Names that the tool makes itself need not be stated.
    void addNode(const Oid &oid, const std::string &name)
    {
        const auto arcs = below(_base, oid);
        const std::string &module = _module.notes.name;
        if (!arcs || !mappingWords::isName(name)) {
            return;
        }
        if (name == smiText::identity(module) + "Conformance") {
            keepConformanceAt(arcs->front());
        } else if (name != smiText::identity(module) + "Notifications" &&
                   !name.starts_with(smiText::stem(module) + "Node")) {
            _imported.source.module.groups.push_back({.node = oidText(*arcs), .name = name});
        }
    }

    /// Reserves the free numbers before it, or the conformance groups would move there.
    void keepConformanceAt(std::uint32_t arc)
    {
        std::set<std::uint32_t> used;
        const auto use = [&](const auto &object) {
            const auto arcs = below(_base, object.oid);
            used.insert(arcs ? arcs->front() : 0);
        };
        std::for_each(_module.scalars.begin(), _module.scalars.end(), use);
        std::for_each(_module.tables.begin(), _module.tables.end(), use);
        const std::uint32_t last = std::min(arc, firstConformanceArc + mostReserved);
        for (std::uint32_t number = firstConformanceArc; number < last; ++number) {
            if (!used.contains(number)) {
                _imported.source.module.reserved.push_back('.' + std::to_string(number));
            }
        }
    }

    void addScalar(const MibObject &scalar)
    {
        const auto arcs = below(_base, scalar.oid);
        std::string obstacle = obstacleOf(scalar);
        if (obstacle.empty() && scalar.status == "obsolete" && lifeOf(scalar).until.empty()) {
            obstacle = "it is obsolete";
        }
        if (!obstacle.empty()) {
            remark(scalar.name, "not served: " + obstacle);
            return;
        }
        if (!arcs || arcs->size() != scalarArcs) {
            remark(scalar.name, "not served: its OID " + oidText(scalar.oid) +
                                    " is not three numbers below the base " + oidText(_base));
            return;
        }
        ScalarEntry entry;
        entry.record.oidArc1 = (*arcs)[0];
        entry.record.oidArc2 = (*arcs)[1];
        entry.record.oidArc3 = (*arcs)[2];
        describe(scalar, entry.record, entry.notes);
        const bool isRetired = entry.notes.life.status == "obsolete";
        (isRetired ? _imported.source.retired : _imported.source.scalars)
            .push_back(std::move(entry));
    }

    void addTable(const MibTable &table)
    {
        const auto arcs = below(_base, table.oid);
        std::string obstacle;
        if (!arcs) {
            obstacle = "its OID " + oidText(table.oid) + " is not below the base " + oidText(_base);
        } else if (!hasServedIndex(table)) {
            obstacle = "its index is not the row number and 0, but " + joined(table.index);
        } else if (_imported.source.tables.size() == servedTables) {
            obstacle = "the agent serves only two tables";
        }
        if (!obstacle.empty()) {
            remark(table.name, "not served: " + obstacle);
            return;
        }
        const TableNotes notes{
            .node = oidText(*arcs), .name = nameOf(table.name), .description = table.description};
        _imported.source.tables.push_back(notes);
        const std::uint8_t rows = rowsOf(table);
        std::uint32_t next = firstColumn;
        auto &cells = _imported.source.cells;
        const auto start = static_cast<std::ptrdiff_t>(cells.size());
        for (const MibObject &column : table.columns) {
            addColumn(column, table, rows, next);
        }
        std::stable_sort(cells.begin() + start, cells.end(), [](const auto &a, const auto &b) {
            return a.record.instance < b.record.instance;
        });
    }

    std::uint8_t rowsOf(const MibTable &table)
    {
        for (const MibObject &column : table.columns) {
            const auto &ranges = column.type.ranges;
            const bool isRowNumber = column.name == table.index.front() && ranges.size() == 1;
            if (isRowNumber && (ranges[0].second == fewRows || ranges[0].second == manyRows)) {
                return static_cast<std::uint8_t>(ranges[0].second);
            }
        }
        remark(table.name, "rows: the MIB does not say whether there are 4 or 8");
        return manyRows;
    }

    void addColumn(const MibObject &column, const MibTable &table, std::uint8_t rows,
                   std::uint32_t &next)
    {
        if (std::count(table.index.begin(), table.index.end(), column.name) != 0) {
            return;
        }
        std::string obstacle = obstacleOf(column);
        if (obstacle.empty() && column.oid.back() != next) {
            obstacle =
                "column " + std::to_string(next) + " is missing, and the agent cannot skip one";
        }
        if (!obstacle.empty()) {
            remark(column.name, "not served: " + obstacle);
            return;
        }
        CellEntry entry;
        entry.record.tableNode = _imported.source.tables.back().node;
        entry.record.column = next++;
        describe(column, entry.record, entry.notes);
        for (std::uint8_t row = 1; row <= rows; ++row) {
            entry.record.instance = row;
            _imported.source.cells.push_back(entry);
        }
    }

    std::string nameOf(const std::string &name)
    {
        if (mappingWords::isName(name)) {
            return name;
        }
        std::string mended = mappingWords::withoutHyphens(name);
        remark(name, "becomes " + mended);
        return mended;
    }

    void describe(const MibObject &object, SnmpObjInfo &info, ObjectNotes &notes)
    {
        info.asnType = isNumber(object.type) ? objectType::integer : objectType::octetString;
        info.access = object.access == "readwrite" ? columnReadWrite : std::uint16_t{1};
        info.valueType = conversionOf(object.type);
        notes.name = nameOf(object.name);
        notes.description = object.description;
        notes.units = object.units;
        notes.life = lifeOf(object);
        if (mappingWords::isFormerStatus(object.status) && notes.life.status.empty()) {
            remark(object.name, "is " + object.status +
                                    " in the MIB, but current in the source: state status and "
                                    "until");
        }
        if (isNumber(object.type)) {
            describeNumber(object, notes);
        } else if (info.valueType == 0) {
            describeText(object, notes);
        }
        const bool isKnown = info.valueType != 0 || object.type.isOwn || isPlainText(object.type) ||
                             object.type.convention.empty();
        if (!isKnown && notes.labels.empty()) {
            remark(object.name, "is served, but not as type " + object.type.convention);
        }
    }

    /// The conversion whose convention this is, as the tool names it.
    [[nodiscard]] std::uint16_t conversionOf(const MibType &type) const
    {
        const std::string stem = smiText::capitalised(smiText::stem(_module.notes.name));
        if (!type.isOwn || !type.convention.starts_with(stem)) {
            return 0;
        }
        const std::string name = type.convention.substr(stem.size());
        for (const conversion::Conversion &each : conversion::all()) {
            const std::uint16_t most = each.usesPlaces() ? mappingWords::mostPlaces : 0;
            for (std::uint16_t places = 0; places <= most; ++places) {
                const auto code =
                    static_cast<std::uint16_t>((places << conversion::scaleShift) | each.kind);
                if (publishedConversion::nameOf(code) == name) {
                    return code;
                }
            }
        }
        return 0;
    }

    void describeNumber(const MibObject &object, ObjectNotes &notes)
    {
        for (const auto &[number, label] : object.type.labels) {
            notes.labels.emplace_back(number, mappingWords::withoutHyphens(label));
            if (notes.labels.back().second != label) {
                remark(object.name, "label " + label + " becomes " + notes.labels.back().second);
            }
        }
        const auto &ranges = object.type.ranges;
        if (!notes.labels.empty() || ranges.empty()) {
            return;
        }
        notes.range =
            std::to_string(ranges.front().first) + ".." + std::to_string(ranges.back().second);
        if (ranges.size() > 1) {
            remark(object.name, "several ranges become " + notes.range);
        }
    }

    static bool isPlainText(const MibType &type)
    {
        return type.convention == "DisplayString" || type.convention == "SnmpAdminString";
    }

    void describeText(const MibObject &object, ObjectNotes &notes)
    {
        const auto &ranges = object.type.ranges;
        const std::int64_t width = ranges.empty() ? longestText : ranges.back().second;
        if (width > longestText) {
            remark(object.name, "the agent serves at most 64 bytes");
        } else if (!ranges.empty() && ranges.front().first != 0) {
            remark(object.name, "its size becomes 0.." + std::to_string(width));
        }
        if (!isPlainText(object.type)) {
            notes.device.kind = "other";
        } else if (width < longestText) {
            notes.device.kind = "string";
        }
        if (width > 0 && width < longestText) {
            notes.device.width = static_cast<std::size_t>(width);
        }
    }

    /// The groups of a module of the tool say which revision added an object.
    [[nodiscard]] LifeNotes lifeOf(const MibObject &object) const
    {
        LifeNotes life;
        const auto added =
            std::find_if(_module.groups.begin(), _module.groups.end(),
                         [&object](const MibGroup &each) { return hasMember(each, object.name); });
        if (added != _module.groups.end()) {
            life.since = revisionIn(added->name, _module.notes.revisions);
        }
        life.until = mappingWords::isFormerStatus(object.status) ? dropped(object, life.since) : "";
        life.status = life.until.empty() ? "" : object.status;
        return life;
    }

    /// The first revision after `since` whose compliance statement does without the object.
    [[nodiscard]] std::string dropped(const MibObject &object, const std::string &since) const
    {
        for (const MibGroup &compliance : _module.compliances) {
            std::string day = revisionIn(compliance.name, _module.notes.revisions);
            const bool isRequired = std::any_of(
                _module.groups.begin(), _module.groups.end(), [&](const MibGroup &group) {
                    return hasMember(compliance, group.name) && hasMember(group, object.name);
                });
            if (day > since && !isRequired) {
                return day;
            }
        }
        return "";
    }

    const MibModule &_module;
    Oid _base;
    ImportedMib _imported;
};

/// What is wrong with an object that the mapping should serve; empty if nothing is.
std::string differenceOf(const MibObject &object, const std::map<Oid, const ServedObject *> &served)
{
    const auto found = served.find(object.oid);
    if (found == served.end()) {
        const std::string obstacle = obstacleOf(object);
        return "not served" + (obstacle.empty() ? "" : ": " + obstacle);
    }
    const ServedObject &same = *found->second;
    const bool isServedNumber = same.info.asnType == objectType::integer;
    const bool isServedText = same.info.asnType == objectType::octetString;
    if (!(isServedNumber && isNumber(object.type)) &&
        !(isServedText && object.type.base == "OctetString")) {
        return "served as " + mappingWords::snmpType(same.info.asnType) + ", not as " +
               object.type.base;
    }
    if (object.access == "readwrite" && !same.isWritable()) {
        return "served read-only, not read-write";
    }
    return "";
}

std::set<Oid> sentNotifications(const ServedMapping &served)
{
    std::set<Oid> oids;
    for (const ServedAlarm &alarm : served.alarms) {
        for (const AlarmNotification &each : alarmNotifications::of(served, alarm)) {
            oids.insert(each.oid);
        }
    }
    return oids;
}
} // namespace

ImportedMib mibImport::import(const MibModule &module, const std::string &base)
{
    return Importer(module, base).import();
}

std::vector<std::string> mibImport::unserved(const MibModule &module, const ServedMapping &served)
{
    std::map<Oid, const ServedObject *> known;
    for (const ServedObject &object : served.objects) {
        known.emplace(object.oid, &object);
    }
    std::vector<std::string> differences;
    const auto compare = [&](const MibObject &object) {
        const bool isExpected = object.status != "obsolete" && object.access != "noaccess" &&
                                object.access != "notifyonly";
        const std::string difference = isExpected ? differenceOf(object, known) : "";
        if (!difference.empty()) {
            differences.push_back(oidText(object.oid) + ' ' + object.name + ": " + difference);
        }
    };
    std::for_each(module.scalars.begin(), module.scalars.end(), compare);
    for (const MibTable &table : module.tables) {
        if (!hasServedIndex(table)) {
            differences.push_back(oidText(table.oid) + ' ' + table.name +
                                  ": its index is not the row number and 0, but " +
                                  joined(table.index));
        }
        std::for_each(table.columns.begin(), table.columns.end(), compare);
    }
    const std::set<Oid> sent = sentNotifications(served);
    for (const auto &[oid, name] : module.notifications) {
        if (!sent.contains(oid)) {
            differences.push_back(oidText(oid) + ' ' + name + ": no alarm sends it");
        }
    }
    return differences;
}
