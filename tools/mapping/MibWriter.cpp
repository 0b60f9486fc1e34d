#include "MibWriter.h"

#include "AlarmNotifications.h"
#include "Conformance.h"
#include "InputError.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "ObjectNames.h"
#include "PublishedObjects.h"
#include "SmiText.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace
{
/// More columns than there are object ids, so that no column ever has this number.
constexpr std::uint32_t subIndexColumn = 65536;
constexpr std::array<std::uint32_t, 6> enterprises{1, 3, 6, 1, 4, 1};
constexpr const char *unknownDay = "2000-01-01";
constexpr const char *current = "current";

using publishedObjects::bare;
using smiText::capitalised;

std::string orElse(const std::string &text, const char *otherwise)
{
    return text.empty() ? otherwise : text;
}

std::string listOf(const std::string &keyword, const std::vector<std::string> &names)
{
    std::string list = "    " + keyword + " {";
    for (const std::string &name : names) {
        list += (name == names.front() ? "\n        " : ",\n        ") + name;
    }
    return list + "\n    }";
}

std::string descriptionOf(const ServedObject &object)
{
    if (object.isRowNumber()) {
        return "The row number.";
    }
    const std::string &said = object.notes.description;
    if (!said.empty()) {
        return said;
    }
    if (object.instances.empty()) {
        return "A former object of the device.";
    }
    return "Device object " + numbers::objectIdText(*object.instances.front().objId) +
           (object.table ? " in the first row." : ".");
}

class Module
{
public:
    explicit Module(const ServedMapping &served)
        : _served(served), _identity(smiText::identity(served.module.name)),
          _isEnterprise(served.base.size() > enterprises.size() &&
                        std::equal(enterprises.begin(), enterprises.end(), served.base.begin())),
          _objects(publishedObjects::all(served)),
          _conventions(publishedObjects::conventions(served)), _conformance(conformanceOf(served))
    {
        if (served.base.size() < 2 || served.base.front() != 1) {
            throw InputError("base " + oidText(served.base) + " is not below iso (1)");
        }
        for (const ServedObject *object : _objects) {
            _types.insert(bare(syntaxOf(*object)));
        }
        for (const auto &convention : _conventions) {
            _types.insert(bare(convention.syntax));
        }
        for (const ServedAlarm &alarm : served.alarms) {
            if (alarmNotifications::isPublished(served, alarm)) {
                _alarms.push_back(&alarm);
            }
        }
    }

    PublishedMib write()
    {
        writeHead();
        writeConventions();
        writeNodes();
        for (const ServedObject *object : _objects) {
            if (object->isRowNumber()) {
                writeTable(*object);
            }
            writeObject(*object);
            if (object->table && object == lastOf(*object->table)) {
                writeSubIndex(*object->table);
            }
        }
        writeNotifications();
        writeConformance();
        _mib.text += "END\n";
        addUnpublished();
        return std::move(_mib);
    }

private:
    void line(const std::string &text) { _mib.text += text + '\n'; }

    void clause(const std::string &keyword, const std::string &value)
    {
        std::string text = "    " + keyword;
        text.append(16 - std::min<std::size_t>(text.size(), 15), ' ');
        line(text + value);
    }

    /// `owner` names whose text it is, for a remark about characters that get lost.
    std::string quoted(const std::string &text, const std::string &owner)
    {
        std::vector<std::string> lost;
        std::string ascii = smiText::quoted(text, lost);
        for (const std::string &character : lost) {
            _mib.remarks.push_back(
                owner + ": \"" +
                (textForms::isUtf8(character) ? character : textForms::oneLine(character)) +
                R"(" is not ASCII; the module has "?" instead)");
        }
        return ascii;
    }

    void description(const std::string &text, const std::string &owner)
    {
        line("    DESCRIPTION");
        line("        " + quoted(text, owner));
    }

    [[nodiscard]] std::string syntaxOf(const ServedObject &object) const
    {
        return publishedObjects::syntax(_served, object);
    }

    [[nodiscard]] const char *statusOf(const ServedObject &object) const
    {
        return publishedObjects::life(_served.module, object).status;
    }

    static std::string when(std::string day)
    {
        day.erase(std::remove(day.begin(), day.end(), '-'), day.end());
        return '"' + day + "0000Z\"";
    }

    void writeHead()
    {
        const ModuleNotes &module = _served.module;
        std::vector<Revision> revisions = module.revisions;
        if (revisions.empty()) {
            const bool isKnown = mappingWords::isDay(module.updated);
            revisions.push_back({.day = isKnown ? module.updated : unknownDay,
                                 .text = publishedObjects::unstatedRevision});
        }
        std::reverse(revisions.begin(), revisions.end());
        line(module.name + " DEFINITIONS ::= BEGIN\n");
        writeImports();
        line(_identity + " MODULE-IDENTITY");
        line("    LAST-UPDATED " + when(revisions.front().day));
        line("    ORGANIZATION " + quoted(orElse(module.organization, "not stated"), "module"));
        line("    CONTACT-INFO " + quoted(orElse(module.contact, "not stated"), "module"));
        description(orElse(module.description, "The objects of the device."), "module");
        for (const Revision &each : revisions) {
            line("    REVISION " + when(each.day));
            description(each.text, "revision " + each.day);
        }
        line("    ::= " + baseValue() + '\n');
    }

    [[nodiscard]] std::string baseValue() const
    {
        std::string value = _isEnterprise ? "{ enterprises" : "{ iso";
        for (std::size_t index = _isEnterprise ? enterprises.size() : 1;
             index < _served.base.size(); ++index) {
            value += ' ' + std::to_string(_served.base[index]);
        }
        return value + " }";
    }

    void writeImports()
    {
        std::string smi = "MODULE-IDENTITY";
        if (!_objects.empty()) {
            smi += ", OBJECT-TYPE";
        }
        if (!_alarms.empty()) {
            smi += ", NOTIFICATION-TYPE";
        }
        if (_types.contains("Integer32")) {
            smi += ", Integer32";
        }
        line("IMPORTS");
        line("    " + smi + (_isEnterprise ? ", enterprises" : "") + "\n        FROM SNMPv2-SMI");
        std::string conventions = _conventions.empty() ? "" : "TEXTUAL-CONVENTION";
        if (_types.contains("DisplayString")) {
            conventions += (conventions.empty() ? "" : ", ") + std::string("DisplayString");
        }
        if (!conventions.empty()) {
            line("    " + conventions + "\n        FROM SNMPv2-TC");
        }
        if (!_conformance.groups.empty()) {
            const bool hasCompliance = !_conformance.compliances.empty();
            line(std::string("    ") + (hasCompliance ? "MODULE-COMPLIANCE, " : "") +
                 "OBJECT-GROUP" + (_alarms.empty() ? "" : ", NOTIFICATION-GROUP") +
                 "\n        FROM SNMPv2-CONF");
        }
        _mib.text.insert(_mib.text.size() - 1, ";\n");
    }

    void writeConventions()
    {
        for (const publishedConversion::TextualConvention &each : _conventions) {
            line(each.name + " ::= TEXTUAL-CONVENTION");
            line("    DISPLAY-HINT \"" + each.displayHint + '"');
            clause("STATUS", current);
            description(each.description, each.name);
            clause("SYNTAX", each.syntax + '\n');
        }
    }

    /// Names everything between the module and its scalars and tables.
    void writeNodes()
    {
        std::set<Oid> parents;
        const auto addParents = [&](Oid oid) {
            for (oid.pop_back(); oid.size() > _served.base.size(); oid.pop_back()) {
                parents.insert(oid);
            }
        };
        for (const ServedObject *object : _objects) {
            if (!object->table) {
                addParents(object->oid);
            } else if (object->isRowNumber()) {
                addParents(_served.tables[*object->table].oid);
            }
        }
        if (!_alarms.empty()) {
            parents.insert(alarmNotifications::node(_served));
        }
        for (const Oid &oid : parents) {
            const std::string value = valueOf(oid);
            const auto node = _nodes.emplace(oid, nodeName(oid)).first;
            writeNode(node->second, value);
        }
    }

    void writeNode(const std::string &name, const std::string &value)
    {
        line(name + " OBJECT IDENTIFIER ::= " + value + '\n');
    }

    /// The author's name, or one that never changes.
    [[nodiscard]] std::string nodeName(const Oid &oid) const
    {
        const Oid below(oid.begin() + static_cast<std::ptrdiff_t>(_served.base.size()), oid.end());
        const auto &groups = _served.module.groups;
        const auto named =
            std::find_if(groups.begin(), groups.end(), [&below](const NodeName &group) {
                return numbersIn(group.node) == below;
            });
        if (named != groups.end()) {
            return named->name;
        }
        if (!_alarms.empty() && oid == alarmNotifications::node(_served)) {
            return _identity + "Notifications";
        }
        std::string name = smiText::stem(_served.module.name) + "Node";
        for (std::size_t index = 0; index < below.size(); ++index) {
            name.append(index == 0 ? "" : "x").append(std::to_string(below[index]));
        }
        return name;
    }

    /// "{ parent 3 }"
    [[nodiscard]] std::string valueOf(const Oid &oid) const
    {
        const auto parent = _nodes.find(Oid(oid.begin(), oid.end() - 1));
        return "{ " + (parent == _nodes.end() ? _identity : parent->second) + ' ' +
               std::to_string(oid.back()) + " }";
    }

    void writeDefinition(const std::string &name, const std::string &syntax,
                         const std::string &units, const char *access, const char *status,
                         const std::string &what, const std::string &value)
    {
        line(name + " OBJECT-TYPE");
        clause("SYNTAX", syntax);
        if (!units.empty()) {
            clause("UNITS", quoted(units, name));
        }
        clause("MAX-ACCESS", access);
        clause("STATUS", status);
        description(what, name);
        line(value);
    }

    void writeObject(const ServedObject &object)
    {
        const std::string value = object.table ? "{ " + tableStem(_served.tables[*object.table]) +
                                                     "Entry " + std::to_string(object.column) + " }"
                                               : valueOf(object.oid);
        writeDefinition(object.notes.name, syntaxOf(object), object.notes.units,
                        publishedObjects::access(object), statusOf(object), descriptionOf(object),
                        "    ::= " + value + '\n');
    }

    void writeTable(const ServedObject &rowNumber)
    {
        const ServedTable &table = _served.tables[*rowNumber.table];
        const std::string stem = tableStem(table);
        const std::string row = capitalised(stem) + "Entry";
        const std::string what = orElse(table.notes.description, "A table of the device.");
        std::string columns;
        for (const ServedObject *object : _objects) {
            if (object->table == rowNumber.table) {
                columns += "    " + object->notes.name + ' ' + bare(syntaxOf(*object)) + ",\n";
            }
        }
        const char *const status = statusOf(rowNumber);
        writeDefinition(table.notes.name, "SEQUENCE OF " + row, "", "not-accessible", status, what,
                        "    ::= " + valueOf(table.oid) + '\n');
        writeDefinition(stem + "Entry", row, "", "not-accessible", status, "A row of the table.",
                        "    INDEX { " + rowNumber.notes.name + ", " + stem +
                            "SubIndex }\n    ::= { " + table.notes.name + " 1 }\n");
        line(row + " ::= SEQUENCE {\n" + columns + "    " + stem + "SubIndex Integer32\n}\n");
    }

    [[nodiscard]] const ServedObject *lastOf(std::size_t table) const
    {
        const auto last =
            std::find_if(_objects.rbegin(), _objects.rend(),
                         [table](const ServedObject *each) { return each->table == table; });
        return last == _objects.rend() ? nullptr : *last;
    }

    void writeSubIndex(std::size_t number)
    {
        const ServedTable &table = _served.tables[number];
        const auto rowNumber =
            std::find_if(_objects.begin(), _objects.end(), [&](const auto *each) {
                return each->table == number && each->isRowNumber();
            });
        writeDefinition(
            tableStem(table) + "SubIndex", "Integer32 (0..2147483647)", "", "not-accessible",
            statusOf(**rowNumber), "The second index component, which is 0 in every row.",
            "    ::= { " + tableStem(table) + "Entry " + std::to_string(subIndexColumn) + " }\n");
    }

    void writeNotifications()
    {
        for (const ServedAlarm *alarm : _alarms) {
            std::vector<std::string> objects;
            for (const ServedObject *object : alarmNotifications::objects(_served, *alarm)) {
                objects.push_back(object->notes.name);
            }
            for (const AlarmNotification &each : alarmNotifications::of(_served, *alarm)) {
                line(each.name + " NOTIFICATION-TYPE");
                line(listOf("OBJECTS", objects));
                clause("STATUS", publishedObjects::life(_served.module, alarm->notes.life).status);
                description(each.description, each.name);
                line("    ::= " + valueOf(each.oid) + '\n');
            }
        }
    }

    [[nodiscard]] std::string conformanceValue(std::size_t number) const
    {
        return "    ::= { " + _identity + "Conformance " + std::to_string(number) + " }\n";
    }

    /// The second text, followed by the day, if the module has revisions.
    [[nodiscard]] std::string ofRevision(const std::string &plain, const std::string &dated,
                                         std::size_t revision) const
    {
        const auto &revisions = _served.module.revisions;
        return (revisions.empty() ? plain : dated + revisions[revision].day) + '.';
    }

    void writeConformance()
    {
        if (_conformance.groups.empty()) {
            return;
        }
        writeNode(_identity + "Conformance",
                  "{ " + _identity + ' ' + std::to_string(_conformance.arc) + " }");
        for (const ComplianceStatement &each : _conformance.compliances) {
            line(each.name + " MODULE-COMPLIANCE");
            clause("STATUS", each.status);
            description(ofRevision("The objects that the agent of this device serves",
                                   "The objects that the agent of this device serves as of ",
                                   each.revision),
                        each.name);
            line("    MODULE");
            line(listOf("MANDATORY-GROUPS", each.groups));
            line(conformanceValue(each.number));
        }
        for (const ConformanceGroup &each : _conformance.groups) {
            line(each.name + " OBJECT-GROUP");
            writeGroup(each, "OBJECTS",
                       ofRevision("All objects", "Objects of the revision of ", each.revision));
        }
        for (const ConformanceGroup &each : _conformance.notificationGroups) {
            line(each.name + " NOTIFICATION-GROUP");
            writeGroup(each, "NOTIFICATIONS",
                       ofRevision("All alarms", "Alarms of the revision of ", each.revision));
        }
    }

    void writeGroup(const ConformanceGroup &group, const std::string &keyword,
                    const std::string &what)
    {
        std::vector<std::string> names;
        names.reserve(group.members.size());
        for (const ConformanceMember &member : group.members) {
            names.push_back(member.name);
        }
        line(listOf(keyword, names));
        clause("STATUS", group.status);
        description(what, group.name);
        line(conformanceValue(group.number));
    }

    void addUnpublished()
    {
        for (const auto *objects : {&_served.objects, &_served.retired}) {
            for (const ServedObject &object : *objects) {
                if (!publishedObjects::isPublished(object)) {
                    _mib.remarks.push_back(object.notes.name +
                                           ": not published: the agent does "
                                           "not serve type " +
                                           mappingWords::snmpType(object.info.asnType) +
                                           " correctly");
                }
            }
        }
        for (const ServedAlarm &alarm : _served.alarms) {
            if (!alarmNotifications::isPublished(_served, alarm)) {
                _mib.remarks.push_back(alarm.notes.name + ": not published: its object is not");
            }
        }
    }

    const ServedMapping &_served;
    std::string _identity;
    bool _isEnterprise;
    std::vector<const ServedObject *> _objects;
    /// Only those in use.
    std::vector<publishedConversion::TextualConvention> _conventions;
    Conformance _conformance;
    std::vector<const ServedAlarm *> _alarms;
    /// Base types and conventions in use.
    std::set<std::string> _types;
    /// Names of everything between the module and its objects.
    std::map<Oid, std::string> _nodes;
    PublishedMib _mib;
};
} // namespace

PublishedMib mibWriter::write(const ServedMapping &served)
{
    ServedMapping published = served;
    published.module.name = objectNames::ofModule(served.module.name);
    return Module(published).write();
}
