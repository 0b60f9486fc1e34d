#include "MibReader.h"

#include "InputError.h"
#include "Smidump.h"
#include "TemporaryFile.h"
#include "WholeFile.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <pugixml.hpp>

namespace
{
using pugi::xml_node;

std::string trimmed(const std::string &text)
{
    constexpr const char *blanks = " \t\r\n";
    const std::size_t start = text.find_first_not_of(blanks);
    return start == std::string::npos
               ? std::string()
               : text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

/// The lines without the indentation that smidump adds.
std::string textOf(const xml_node &node)
{
    std::istringstream lines(trimmed(node.text().get()));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        text += (text.empty() ? "" : "\n") + trimmed(line);
    }
    return text;
}

/// The OID in an attribute, which has no leading period.
Oid oidOf(const xml_node &node)
{
    return numbersIn(std::string(".") + node.attribute("oid").value());
}

bool isBasic(const std::string &module)
{
    return module.empty() || module == "SNMPv2-SMI" || module == "RFC1155-SMI";
}

void load(pugi::xml_document &document, const std::string &module, const std::string &name)
{
    const std::string xml = smidump::xml(module, name);
    const bool isModule =
        document.load_buffer(xml.data(), xml.size()) &&
        (document.child("smi").child("nodes") || document.child("smi").child("typedefs"));
    if (!isModule) {
        throw InputError(name + ": is not a MIB module that smidump can read");
    }
}

class Reader
{
public:
    explicit Reader(const std::string &path)
    {
        // smidump reads without a limit, and a pipe only once.
        const TemporaryFile copy(readWholeFile(path));
        load(_document, copy.path(), path);
    }

    MibModule read()
    {
        const xml_node smi = _document.child("smi");
        readModule(smi);
        for (const xml_node &node : smi.child("nodes")) {
            const std::string kind = node.name();
            if (kind == "scalar") {
                _module.scalars.push_back(objectOf(node));
            } else if (kind == "table") {
                readTable(node);
            } else {
                _module.nodes.emplace_back(oidOf(node), node.attribute("name").value());
            }
        }
        for (const xml_node &node : smi.child("notifications")) {
            _module.notifications.emplace_back(oidOf(node), node.attribute("name").value());
        }
        for (const xml_node &node : smi.child("groups")) {
            _module.groups.push_back(groupOf(node, "members"));
        }
        for (const xml_node &node : smi.child("compliances")) {
            _module.compliances.push_back(groupOf(node, "requires"));
        }
        return std::move(_module);
    }

private:
    static MibGroup groupOf(const xml_node &node, const char *list)
    {
        MibGroup group{.name = node.attribute("name").value(), .members = {}};
        for (const xml_node &member : node.child(list)) {
            group.members.emplace_back(member.attribute("name").value());
        }
        return group;
    }

    void readModule(const xml_node &smi)
    {
        const xml_node module = smi.child("module");
        ModuleNotes &notes = _module.notes;
        notes.name = module.attribute("name").value();
        notes.organization = textOf(module.child("organization"));
        notes.contact = textOf(module.child("contact"));
        notes.description = textOf(module.child("description"));
        for (const xml_node &revision : module.children("revision")) {
            const std::string date = revision.attribute("date").value();
            notes.revisions.push_back({.day = date.substr(0, date.find(' ')),
                                       .text = textOf(revision.child("description"))});
        }
        std::reverse(notes.revisions.begin(), notes.revisions.end());
        const xml_node identity = smi.child("nodes").find_child_by_attribute(
            "name", module.child("identity").attribute("node").value());
        notes.base = identity ? oidText(oidOf(identity)) : "";
    }

    void readTable(const xml_node &node)
    {
        const xml_node row = node.child("row");
        MibTable table{.name = node.attribute("name").value(),
                       .oid = oidOf(node),
                       .description = textOf(node.child("description")),
                       .status = node.attribute("status").value(),
                       .entry = oidOf(row),
                       .index = {},
                       .columns = {}};
        for (const xml_node &index : row.child("linkage").children("index")) {
            table.index.emplace_back(index.attribute("name").value());
        }
        for (const xml_node &column : row.children("column")) {
            table.columns.push_back(objectOf(column));
        }
        _module.tables.push_back(std::move(table));
    }

    MibObject objectOf(const xml_node &node)
    {
        return {.name = node.attribute("name").value(),
                .oid = oidOf(node),
                .type = typeOf(node.child("syntax")),
                .access = node.child("access").text().get(),
                .status = node.attribute("status").value(),
                .units = trimmed(node.child("units").text().get()),
                .description = textOf(node.child("description"))};
    }

    MibType typeOf(const xml_node &syntax)
    {
        if (const xml_node type = syntax.child("type")) {
            return namedType(type);
        }
        const xml_node definition = syntax.child("typedef");
        MibType type;
        if (const xml_node parent = definition.child("parent")) {
            type = namedType(parent);
        }
        refine(type, definition);
        return type;
    }

    /// What a definition says replaces what its parent says.
    static void refine(MibType &type, const xml_node &definition)
    {
        type.base = definition.attribute("basetype").value();
        if (definition.child("range")) {
            type.ranges.clear();
        }
        for (const xml_node &range : definition.children("range")) {
            type.ranges.emplace_back(range.attribute("min").as_llong(),
                                     range.attribute("max").as_llong());
        }
        if (definition.child("namednumber")) {
            type.labels.clear();
        }
        for (const xml_node &label : definition.children("namednumber")) {
            type.labels.emplace_back(label.attribute("number").as_int(),
                                     label.attribute("name").value());
        }
    }

    MibType namedType(const xml_node &reference)
    {
        const std::string module = reference.attribute("module").value();
        MibType type;
        if (isBasic(module)) {
            type.base = reference.attribute("name").value();
            return type;
        }
        type.convention = reference.attribute("name").value();
        type.isOwn = module == _module.notes.name;
        const xml_node definition = definitionsOf(module).find_child_by_attribute(
            "typedef", "name", type.convention.c_str());
        refine(type, definition);
        return type;
    }

    xml_node definitionsOf(const std::string &module)
    {
        if (module == _module.notes.name) {
            return _document.child("smi").child("typedefs");
        }
        const auto [found, isNew] = _imported.try_emplace(module);
        if (isNew) {
            load(found->second, module, module);
        }
        return found->second.child("smi").child("typedefs");
    }

    pugi::xml_document _document;
    std::map<std::string, pugi::xml_document> _imported;
    MibModule _module;
};
} // namespace

MibModule mibReader::read(const std::string &path)
{
    return Reader(path).read();
}
