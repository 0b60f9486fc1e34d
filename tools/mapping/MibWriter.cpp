#include "MibWriter.h"

#include "InputError.h"
#include "Numbers.h"
#include "ObjectTypes.h"
#include "PublishedConversions.h"
#include "SnmpObjConvertStrategy.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <set>
#include <string_view>

namespace
{
constexpr std::uint32_t firstConformanceArc = 100;
constexpr std::size_t longestText = 64;
constexpr std::array<std::uint32_t, 6> enterprises{1, 3, 6, 1, 4, 1};
constexpr const char *unknownDay = "2000-01-01";

using publishedConversion::range;

/// A text as a quoted SMI string.
std::string quoted(const std::string &text)
{
    std::string ascii = "\"";
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if ((byte & 0xC0U) == 0x80) {
            continue;
        }
        ascii += each == '"' ? '\'' : each == '\n' || (byte >= ' ' && byte <= '~') ? each : '?';
    }
    return ascii + '"';
}

std::string orElse(const std::string &text, const char *otherwise)
{
    return text.empty() ? otherwise : text;
}

std::string capitalised(std::string name)
{
    name.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
    return name;
}

/// "sampleShelfMIB" for SAMPLE-SHELF-MIB.
std::string identityOf(const std::string &module)
{
    std::string name;
    for (std::size_t start = 0; start < module.size();) {
        const std::size_t end = std::min(module.find('-', start), module.size());
        std::string word = module.substr(start, end - start);
        const bool isLast = end == module.size();
        if (!(isLast && word == "MIB")) {
            std::transform(word.begin(), word.end(), word.begin(), [](unsigned char each) {
                return static_cast<char>(std::tolower(each));
            });
            word = name.empty() ? word : capitalised(word);
        }
        name += name.empty() && word == "MIB" ? "mib" : word;
        start = end + 1;
    }
    return name;
}

/// As narrow as the width of the device's object.
std::string integerSyntax(const ServedObject &object)
{
    if (!object.notes.labels.empty()) {
        std::string labels;
        for (const auto &[number, label] : object.notes.labels) {
            labels += (labels.empty() ? "" : ", ") + label + '(' + std::to_string(number) + ')';
        }
        return "INTEGER { " + labels + " }";
    }
    auto *const syntax = publishedConversion::of(object.info).integerSyntax;
    std::string converted =
        syntax == nullptr ? "" : syntax(conversion::placesOf(object.info.valueType));
    if (!converted.empty()) {
        return converted;
    }
    const DeviceNotes &device = object.notes.device;
    const std::int64_t values = std::int64_t{1} << (8 * std::min<std::size_t>(device.width, 4));
    const bool isNarrow = device.width == 1 || device.width == 2;
    if (isNarrow && device.kind == "unsigned") {
        return range(0, values - 1);
    }
    return isNarrow && device.kind == "signed" ? range(-values / 2, values / 2 - 1) : "Integer32";
}

std::string textSyntax(const ServedObject &object)
{
    const auto *const convention = publishedConversion::of(object.info).convention;
    if (convention != nullptr) {
        return convention->name;
    }
    const std::size_t width = object.notes.device.width;
    return "DisplayString (SIZE (0.." + std::to_string(width == 0 ? longestText : width) + "))";
}

} // namespace

std::string mibWriter::syntaxOf(const ServedObject &object)
{
    switch (object.info.asnType) {
    case objectType::integer:
        return object.isRowNumber() ? range(1, 255) : integerSyntax(object);
    case objectType::octetString:
        return textSyntax(object);
    default:
        break;
    }
    const char *const name = objectType::of(object.info.asnType).smiName;
    return name == nullptr ? "OCTET STRING" : name;
}

namespace
{
using mibWriter::syntaxOf;

/// A syntax without its range, size or labels, as a SEQUENCE lists it.
std::string bareSyntax(const std::string &syntax)
{
    return syntax.substr(0, syntax.find_first_of(" ({"));
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
    return "Device object " + numbers::objectIdText(*object.instances.front().objId) +
           (object.table ? " in the first row." : ".");
}

class Module
{
public:
    explicit Module(const ServedMapping &served)
        : _served(served), _identity(identityOf(served.module.name)),
          _isEnterprise(served.base.size() > enterprises.size() &&
                        std::equal(enterprises.begin(), enterprises.end(), served.base.begin()))
    {
        if (served.base.size() < 2 || served.base.front() != 1) {
            throw InputError("base " + oidText(served.base) + " is not below iso (1)");
        }
        for (const ServedObject &object : served.objects) {
            _syntaxes.push_back(syntaxOf(object));
            _types.insert(bareSyntax(_syntaxes.back()));
        }
        for (publishedConversion::TextualConvention &each : publishedConversion::conventions()) {
            if (_types.contains(each.name)) {
                _conventions.push_back(std::move(each));
            }
        }
    }

    std::string write()
    {
        writeHead();
        writeConventions();
        for (std::size_t index = 0; index < _served.objects.size(); ++index) {
            const ServedObject &object = _served.objects[index];
            if (object.isRowNumber()) {
                writeTable(*object.table);
            }
            writeObject(index);
            if (object.table && object.column == lastServedColumn(*object.table)) {
                writeSubIndex(*object.table);
            }
        }
        writeConformance();
        _text += "END\n";
        return _text;
    }

private:
    void line(const std::string &text) { _text += text + '\n'; }

    void clause(const std::string &keyword, const std::string &value)
    {
        std::string text = "    " + keyword;
        text.append(16 - std::min<std::size_t>(text.size(), 15), ' ');
        line(text + value);
    }

    void description(const std::string &text)
    {
        line("    DESCRIPTION");
        line("        " + quoted(text));
    }

    void writeHead()
    {
        const ModuleNotes &module = _served.module;
        line(module.name + " DEFINITIONS ::= BEGIN\n");
        writeImports();
        std::string day = orElse(module.updated, unknownDay);
        day.erase(std::remove(day.begin(), day.end(), '-'), day.end());
        const std::string when = '"' + day + "0000Z\"";
        line(_identity + " MODULE-IDENTITY");
        line("    LAST-UPDATED " + when);
        line("    ORGANIZATION " + quoted(orElse(module.organization, "not stated")));
        line("    CONTACT-INFO " + quoted(orElse(module.contact, "not stated")));
        description(orElse(module.description, "The objects of the device."));
        line("    REVISION " + when);
        description("Generated from a mapping.");
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
        if (!_served.objects.empty()) {
            smi += ", OBJECT-TYPE";
        }
        // The index columns of tables have this type, too.
        if (!_served.tables.empty() || _types.contains("Integer32") || needsInteger32()) {
            smi += ", Integer32";
        }
        for (const objectType::ObjectType &type : objectType::all()) {
            if (type.smiName != nullptr && _types.contains(type.smiName)) {
                smi += std::string(", ") + type.smiName;
            }
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
        if (!_served.objects.empty()) {
            line("    MODULE-COMPLIANCE, OBJECT-GROUP\n        FROM SNMPv2-CONF");
        }
        _text.insert(_text.size() - 1, ";\n");
    }

    /// Whether a convention in use is based on it.
    [[nodiscard]] bool needsInteger32() const
    {
        return std::any_of(_conventions.begin(), _conventions.end(),
                           [](const auto &each) { return each.syntax == "Integer32"; });
    }

    void writeConventions()
    {
        for (const publishedConversion::TextualConvention &each : _conventions) {
            line(each.name + " ::= TEXTUAL-CONVENTION");
            line("    DISPLAY-HINT \"" + each.displayHint + '"');
            clause("STATUS", "current");
            description(each.description);
            clause("SYNTAX", each.syntax + '\n');
        }
    }

    /// "{ module 1 2 3 }" for an OID below the base.
    [[nodiscard]] std::string below(const Oid &oid) const
    {
        std::string value = "{ " + _identity;
        for (std::size_t index = _served.base.size(); index < oid.size(); ++index) {
            value += ' ' + std::to_string(oid[index]);
        }
        return value + " }";
    }

    void writeDefinition(const std::string &name, const std::string &syntax,
                         const std::string &units, const char *access, const std::string &what,
                         const std::string &value)
    {
        line(name + " OBJECT-TYPE");
        clause("SYNTAX", syntax);
        if (!units.empty()) {
            clause("UNITS", quoted(units));
        }
        clause("MAX-ACCESS", access);
        clause("STATUS", "current");
        description(what);
        line(value);
    }

    void writeObject(std::size_t index)
    {
        const ServedObject &object = _served.objects[index];
        const std::string value = object.table ? "{ " + tableStem(_served.tables[*object.table]) +
                                                     "Entry " + std::to_string(object.column) + " }"
                                               : below(object.oid);
        writeDefinition(object.notes.name, _syntaxes[index], object.notes.units,
                        object.isWritable() ? "read-write" : "read-only", descriptionOf(object),
                        "    ::= " + value + '\n');
    }

    void writeTable(std::size_t number)
    {
        const ServedTable &table = _served.tables[number];
        const std::string stem = tableStem(table);
        const std::string row = capitalised(stem) + "Entry";
        const std::string what = orElse(table.notes.description, "A table of the device.");
        std::string columns;
        std::string rowName;
        for (std::size_t index = 0; index < _served.objects.size(); ++index) {
            const ServedObject &object = _served.objects[index];
            if (object.table == number) {
                columns += "    " + object.notes.name + ' ' + bareSyntax(_syntaxes[index]) + ",\n";
                rowName = object.isRowNumber() ? object.notes.name : rowName;
            }
        }
        writeDefinition(table.notes.name, "SEQUENCE OF " + row, "", "not-accessible", what,
                        "    ::= " + below(table.oid) + '\n');
        writeDefinition(stem + "Entry", row, "", "not-accessible", "A row of the table.",
                        "    INDEX { " + rowName + ", " + stem + "SubIndex }\n    ::= { " +
                            table.notes.name + " 1 }\n");
        line(row + " ::= SEQUENCE {\n" + columns + "    " + stem + "SubIndex Integer32\n}\n");
    }

    [[nodiscard]] std::uint32_t lastServedColumn(std::size_t table) const
    {
        std::uint32_t last = 1;
        for (const ServedObject &object : _served.objects) {
            last = object.table == table ? std::max(last, object.column) : last;
        }
        return last;
    }

    void writeSubIndex(std::size_t number)
    {
        const ServedTable &table = _served.tables[number];
        writeDefinition(tableStem(table) + "SubIndex", "Integer32 (0..2147483647)", "",
                        "not-accessible", "The second index component, which is 0 in every row.",
                        "    ::= { " + tableStem(table) + "Entry " +
                            std::to_string(table.lastColumn + 1) + " }\n");
    }

    /// A number below the base under which nothing is served.
    [[nodiscard]] std::uint32_t freeArc() const
    {
        std::set<std::uint32_t> used;
        for (const ServedObject &object : _served.objects) {
            if (object.oid.size() > _served.base.size()) {
                used.insert(object.oid[_served.base.size()]);
            }
        }
        std::uint32_t arc = firstConformanceArc;
        while (used.contains(arc)) {
            ++arc;
        }
        return arc;
    }

    void writeConformance()
    {
        if (_served.objects.empty()) {
            return;
        }
        line(_identity + "Conformance OBJECT IDENTIFIER ::= { " + _identity + ' ' +
             std::to_string(freeArc()) + " }\n");
        line(_identity + "Compliance MODULE-COMPLIANCE");
        clause("STATUS", "current");
        description("The objects that the agent of this device serves.");
        line("    MODULE");
        line("    MANDATORY-GROUPS { " + _identity + "Group }");
        line("    ::= { " + _identity + "Conformance 1 }\n");
        line(_identity + "Group OBJECT-GROUP");
        std::string names;
        for (const ServedObject &object : _served.objects) {
            names += (names.empty() ? "" : ",\n") + std::string("        ") + object.notes.name;
        }
        line("    OBJECTS {\n" + names + "\n    }");
        clause("STATUS", "current");
        description("All objects.");
        line("    ::= { " + _identity + "Conformance 2 }\n");
    }

    const ServedMapping &_served;
    std::string _identity;
    bool _isEnterprise;
    std::vector<std::string> _syntaxes;
    std::set<std::string> _types;
    /// Only those in use.
    std::vector<publishedConversion::TextualConvention> _conventions;
    std::string _text;
};
} // namespace

std::string mibWriter::write(const ServedMapping &served)
{
    return Module(served).write();
}
