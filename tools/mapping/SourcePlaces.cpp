#include "SourcePlaces.h"

#include "MappingSchema.h"
#include "NotesSchema.h"

#include <array>
#include <utility>

namespace
{
/// Columns of the database whose keys in a source have other names. Each object has at most one of
/// the keys of a column.
constexpr std::array<std::pair<std::string_view, std::string_view>, 17> renamed{{
    {"objId", "object"},
    {"objId", "objects"},
    {"objId", "first"},
    {"asnType", "type"},
    {"valueType", "conversion"},
    {"oidArc1", "oid"},
    {"oidArc2", "oid"},
    {"oidArc3", "oid"},
    {"oidArc4", "oid"},
    {"tableNode", "node"},
    {"tableNode", "table"},
    {"columnId", "column"},
    {"instance", "row"},
    {"instance", "rows"},
    {"tableKind", "kind"},
    {"deviceKind", "device"},
    {"deviceWidth", "device"},
}};
} // namespace

const WrittenObject *SourcePlaces::objectOf(std::string_view table, std::size_t row) const
{
    if (table == mappingSchema::alarmTable) {
        return row == 0 || row > alarms.size() ? nullptr : &alarms[row - 1];
    }
    const auto &rows = table == mappingSchema::scalarTable ? scalars : cells;
    return row == 0 || row > rows.size() ? nullptr : &objects[rows[row - 1]];
}

const WrittenObject *SourcePlaces::tableOf(const WrittenObject &object) const
{
    const auto found = tables.find(object.node);
    return found == tables.end() ? nullptr : &found->second;
}

SourceMark markOf(const WrittenObject &object, std::string_view column)
{
    for (const auto &[name, key] : renamed) {
        const auto found = object.keys.find(key);
        if (name == column && found != object.keys.end()) {
            return found->second;
        }
    }
    const auto found = object.keys.find(column);
    return found == object.keys.end() ? object.mark : found->second;
}
