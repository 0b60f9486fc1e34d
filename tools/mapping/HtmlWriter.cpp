#include "HtmlWriter.h"

#include "AlarmNotifications.h"
#include "Listing.h"
#include "MappingWords.h"
#include "Markup.h"
#include "ObjectTypes.h"
#include "PageParts.h"
#include "PublishedConversions.h"
#include "PublishedObjects.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace
{
using Element = Markup::Element;

/// The timeout is longer than the agent's for a silent device.
constexpr const char *getCommand = "snmpget -v2c -c public -t 10 -r 1 HOST ";
constexpr const char *setCommand = "snmpset -v2c -c private -t 10 -r 1 HOST ";
constexpr const char *walkCommand = "snmpbulkwalk -v2c -c public -t 10 -r 1 HOST ";

std::string policy()
{
    return "default-src 'none'; style-src '" + std::string(pageParts::styleHash) +
           "'; script-src '" + std::string(pageParts::scriptHash) +
           "'; base-uri 'none'; form-action 'none'";
}

/// How the numbers or texts of a type are to be read; empty for types that need no words.
std::string formatOf(const ServedMapping &served, const std::string &syntax)
{
    for (const publishedConversion::TextualConvention &each :
         publishedObjects::conventions(served)) {
        if (each.name == syntax) {
            return each.description;
        }
    }
    return "";
}

/// The type and an example of a value, as snmpset takes them.
std::string setValueOf(const ServedObject &object)
{
    if (object.isLabelledNumber()) {
        return "i " + std::to_string(object.notes.labels.front().first);
    }
    return object.info.asnType == objectType::integer ? "i NUMBER" : "s TEXT";
}

class Page
{
public:
    explicit Page(const ServedMapping &served) : _served(served) {}

    std::string write()
    {
        _markup.addRaw("<!DOCTYPE html>\n");
        {
            const Element html(_markup, "html", {{"lang", "en"}});
            writeHead();
            writeBody();
        }
        return _markup.text();
    }

private:
    void writeHead()
    {
        const Element head(_markup, "head", {});
        _markup.addVoid("meta", {{"charset", "utf-8"}});
        _markup.addVoid("meta", {{"http-equiv", "Content-Security-Policy"}, {"content", policy()}});
        _markup.addVoid("meta",
                        {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
        _markup.add("title", _served.module.name);
        const Element style(_markup, "style", {});
        _markup.addRaw(pageParts::style);
    }

    void writeBody()
    {
        const Element body(_markup, "body", {});
        _markup.add("a", "Skip to the objects", {{"class", "skip"}, {"href", "#all-objects"}});
        writeHeader();
        {
            const Element columns(_markup, "div", {{"class", "columns"}});
            writeNavigation();
            writeMain();
        }
        _markup.add("footer", "Generated from a mapping by tarnoMapping.");
        const Element script(_markup, "script", {});
        _markup.addRaw(pageParts::script);
    }

    void writeHeader()
    {
        const ModuleNotes &module = _served.module;
        const Element header(_markup, "header", {});
        _markup.add("h1", module.name);
        if (!module.description.empty()) {
            _markup.add("p", module.description);
        }
        const Element facts(_markup, "dl", {});
        writeFact("Base OID", oidText(_served.base));
        writeFact("Organization", module.organization);
        writeFact("Contact", module.contact);
    }

    /// Nothing if there is nothing to say.
    void writeFact(const char *what, const std::string &text)
    {
        if (!text.empty()) {
            _markup.add("dt", what);
            _markup.add("dd", text);
        }
    }

    void writeNavigation()
    {
        const Element navigation(_markup, "nav", {{"aria-label", "Objects"}});
        writeSearch();
        writeBranch("Scalars", std::nullopt);
        for (std::size_t index = 0; index < _served.tables.size(); ++index) {
            writeBranch(_served.tables[index].notes.name, index);
        }
        std::vector<std::string> alarms;
        alarms.reserve(_served.alarms.size());
        for (const ServedAlarm &alarm : _served.alarms) {
            alarms.push_back(alarm.notes.name);
        }
        writeBranch("Alarms", alarms);
    }

    /// Hidden until the script runs.
    void writeSearch()
    {
        const Element form(_markup, "form",
                           {{"id", "search-form"}, {"role", "search"}, {"hidden", "hidden"}});
        _markup.add("label", "Search", {{"for", "search-field"}});
        _markup.addVoid("input",
                        {{"id", "search-field"}, {"type", "search"}, {"autocomplete", "off"}});
        _markup.add("output", "", {{"id", "search-count"}, {"for", "search-field"}});
    }

    /// The scalars, or the columns of a table.
    [[nodiscard]] std::vector<const ServedObject *>
    objectsOf(std::optional<std::size_t> table) const
    {
        std::vector<const ServedObject *> objects;
        for (const ServedObject &object : _served.objects) {
            if (object.table == table) {
                objects.push_back(&object);
            }
        }
        return objects;
    }

    void writeBranch(const std::string &name, std::optional<std::size_t> table)
    {
        std::vector<std::string> objects;
        for (const ServedObject *object : objectsOf(table)) {
            objects.push_back(object->notes.name);
        }
        writeBranch(name, objects);
    }

    /// Nothing if it has no entries.
    void writeBranch(const std::string &name, const std::vector<std::string> &entries)
    {
        if (entries.empty()) {
            return;
        }
        const Element branch(_markup, "details", {{"open", "open"}});
        _markup.add("summary", name);
        const Element list(_markup, "ul", {});
        for (const std::string &entry : entries) {
            const Element item(_markup, "li", {});
            writeLink(entry);
        }
    }

    void writeLink(const std::string &name) { _markup.add("a", name, {{"href", '#' + name}}); }

    void writeMain()
    {
        const Element main(_markup, "main", {{"id", "all-objects"}});
        writeIntroduction();
        writeScalars();
        for (std::size_t index = 0; index < _served.tables.size(); ++index) {
            writeTable(index);
        }
        writeAlarms();
        writeRevisions();
    }

    void writeIntroduction()
    {
        const Element section(_markup, "section", {});
        _markup.add("h2", "Read and set");
        _markup.add("p", "Replace HOST and the communities with those of your device. The "
                         "timeout leaves the agent time to find out that the device is silent. "
                         "Everything at once:");
        writeCommand(walkCommand + oidText(_served.base));
    }

    void writeCommand(const std::string &command)
    {
        const Element block(_markup, "pre", {});
        _markup.add(command);
    }

    void writeScalars()
    {
        const auto objects = objectsOf(std::nullopt);
        if (objects.empty()) {
            return;
        }
        const Element section(_markup, "section", {});
        _markup.add("h2", "Scalars");
        for (const ServedObject *object : objects) {
            writeObject(*object);
        }
    }

    void writeTable(std::size_t number)
    {
        const auto objects = objectsOf(number);
        if (objects.empty()) {
            return;
        }
        const ServedTable &table = _served.tables[number];
        const Element section(_markup, "section", {});
        _markup.add("h2", table.notes.name);
        if (!table.notes.description.empty()) {
            _markup.add("p", table.notes.description);
        }
        {
            const Element facts(_markup, "dl", {});
            writeFact("OID", oidText(table.oid));
            writeFact("Index", "the row number and 0");
        }
        for (const ServedObject *object : objects) {
            writeObject(*object);
        }
    }

    void writeObject(const ServedObject &object)
    {
        const Element article(_markup, "article", {{"id", object.notes.name}});
        _markup.add("h3", object.notes.name);
        const std::string description =
            object.isRowNumber() ? "The row number." : object.notes.description;
        if (!description.empty()) {
            _markup.add("p", description);
        }
        writeFacts(object);
        writeLabels(object);
        const std::string first = oidText(object.instances.front().oid);
        writeCommand(getCommand + first +
                     (object.isWritable() ? '\n' + (setCommand + first) + ' ' + setValueOf(object)
                                          : std::string()));
    }

    void writeFacts(const ServedObject &object)
    {
        const std::string syntax = publishedObjects::syntax(_served, object);
        const Element facts(_markup, "dl", {});
        writeFact("OID", listing::shownOid(object));
        writeFact("Rows", listing::rowsText(object));
        writeFact("Type", mappingWords::snmpType(object.info.asnType));
        writeFact("Syntax", object.isLabelledNumber() ? "" : syntax);
        writeFact("Units", object.notes.units);
        _markup.add("dt", "Access");
        if (object.isWritable()) {
            _markup.add("dd", "read-write", {{"class", "writable"}});
        } else {
            _markup.add("dd", "read-only");
        }
        writeFact("Format", formatOf(_served, syntax));
        writeFact("Meaning", object.isCounter() ? "a counter" : "");
        writeFact("Device object", listing::objectsText(object));
        writeLife(object.notes.life);
    }

    void writeLife(const LifeNotes &life)
    {
        writeFact("Since", life.since);
        writeFact("Status", life.status);
        writeFact("Until", life.until);
    }

    void writeLabels(const ServedObject &object)
    {
        if (!object.isLabelledNumber()) {
            return;
        }
        const Element table(_markup, "table", {});
        _markup.add("caption", "Values");
        for (const auto &[number, label] : object.notes.labels) {
            const Element row(_markup, "tr", {});
            _markup.add("th", std::to_string(number), {{"scope", "row"}});
            _markup.add("td", label);
        }
    }

    void writeAlarms()
    {
        if (_served.alarms.empty()) {
            return;
        }
        const Element section(_markup, "section", {});
        _markup.add("h2", "Alarms");
        for (const ServedAlarm &alarm : _served.alarms) {
            writeAlarm(alarm);
        }
    }

    void writeAlarm(const ServedAlarm &alarm)
    {
        const Element article(_markup, "article", {{"id", alarm.notes.name}});
        _markup.add("h3", alarm.notes.name);
        for (const AlarmNotification &each : alarmNotifications::of(_served, alarm)) {
            _markup.add("p", each.description);
        }
        const Element facts(_markup, "dl", {});
        for (const AlarmNotification &each : alarmNotifications::of(_served, alarm)) {
            writeFact("Notification", each.name + ' ' + oidText(each.oid));
        }
        writeFact("Polled", "every " + std::to_string(alarm.notes.every) + " s");
        for (const ServedObject *object : servedAlarms::alongWith(_served, alarm)) {
            _markup.add("dt", "Object");
            const Element definition(_markup, "dd", {});
            if (object->instances.empty()) {
                _markup.add(object->notes.name);
            } else {
                writeLink(object->notes.name);
            }
        }
        writeLife(alarm.notes.life);
    }

    /// The latest first. A module without revisions has the day of its last change.
    void writeRevisions()
    {
        std::vector<Revision> revisions = _served.module.revisions;
        if (revisions.empty() && !_served.module.updated.empty()) {
            revisions.push_back({.day = _served.module.updated, .text = {}});
        }
        if (revisions.empty()) {
            return;
        }
        const Element section(_markup, "section", {});
        _markup.add("h2", "Revisions");
        const Element list(_markup, "ul", {});
        std::reverse(revisions.begin(), revisions.end());
        for (const Revision &revision : revisions) {
            const Element item(_markup, "li", {});
            _markup.add("time", revision.day);
            _markup.add(revision.text.empty() ? "" : ": " + revision.text);
        }
    }

    const ServedMapping &_served;
    Markup _markup;
};
} // namespace

std::string htmlWriter::write(const ServedMapping &served)
{
    return Page(served).write();
}
