#include "ZabbixItems.h"

#include "MappingWords.h"
#include "ObjectTypes.h"
#include "PublishedConversions.h"
#include "PublishedObjects.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace
{
/// Of a row, besides its number.
constexpr std::size_t mostNames = 3;

/// Whether a manager can never read a negative number. An unsigned number of four bytes is negative
/// from 2147483648 on.
bool isNeverNegative(const ServedObject &object)
{
    const ObjectNotes &notes = object.notes;
    if (object.isLabelledNumber()) {
        return std::all_of(notes.labels.begin(), notes.labels.end(),
                           [](const Label &label) { return label.first >= 0; });
    }
    if (const auto bounds = mappingWords::rangeIn(notes.range)) {
        return bounds->first >= 0;
    }
    const bool isNarrow = notes.device.width == 1 || notes.device.width == 2;
    return publishedConversion::of(object.info).range != nullptr ||
           (isNarrow && notes.device.kind == "unsigned");
}

bool beginsMacro(std::string_view text)
{
    if (text.size() < 2) {
        return false;
    }
    const char next = text[1];
    const bool isName = next == '$' || next == '#' || next == '?' || (next >= 'A' && next <= 'Z');
    return text.front() == '{' ? isName : text.front() == '$' && next >= '1' && next <= '9';
}

bool isDecimalText(const ServedObject &object)
{
    return publishedConversion::of(object.info).telegrafConversion != nullptr;
}
} // namespace

bool zabbixItems::isItem(const ServedObject &object)
{
    return publishedObjects::isPublished(object) && !object.isRowNumber();
}

std::string zabbixItems::key(const ServedMapping &served, const ServedObject &object)
{
    const std::string key = metricsName(served.module) + '.' + object.notes.name;
    return object.table ? key + '[' + macro(*rowNames(served, *object.table).front()) + ']' : key;
}

std::string zabbixItems::name(const ServedMapping &served, const ServedObject &object)
{
    return object.table ? row(served, *object.table) + ": " + object.notes.name : object.notes.name;
}

const char *zabbixItems::valueType(const ServedObject &object)
{
    if (object.info.asnType == objectType::octetString) {
        return isDecimalText(object) ? "FLOAT" : "CHAR";
    }
    return object.decimalPlaces() == 0 && isNeverNegative(object) ? "UNSIGNED" : "FLOAT";
}

std::string zabbixItems::macro(const ServedObject &column)
{
    std::string name = column.notes.name;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char each) { return static_cast<char>(std::toupper(each)); });
    return "{#" + name + '}';
}

std::vector<const ServedObject *> zabbixItems::rowNames(const ServedMapping &served,
                                                        std::size_t table)
{
    std::vector<const ServedObject *> names;
    for (const ServedObject &object : served.objects) {
        const bool isName = object.isRowNumber() || object.isRowLabel();
        if (object.table == table && isName && names.size() <= mostNames) {
            names.push_back(&object);
        }
    }
    return names;
}

std::string zabbixItems::row(const ServedMapping &served, std::size_t table)
{
    std::string text = tableStem(served.tables[table]);
    for (const ServedObject *name : rowNames(served, table)) {
        text += ' ' + macro(*name);
    }
    return text;
}

bool zabbixItems::isPlainText(const ServedObject &object)
{
    return object.info.asnType == objectType::octetString &&
           publishedConversion::of(object.info).convention == nullptr &&
           object.notes.device.kind != "other";
}

std::string zabbixItems::plain(std::string_view text)
{
    std::string plain;
    for (std::size_t index = 0; index < text.size(); ++index) {
        plain += text[index];
        if (beginsMacro(text.substr(index))) {
            plain += ' ';
        }
    }
    return plain;
}
