#include "support/MappingLookups.h"

#include "support/Invariant.h"

#include <algorithm>
#include <tuple>

namespace
{
auto fieldsOf(const SnmpObjInfo &info)
{
    return std::tie(info.attr1, info.flag, info.valueType, info.attr2, info.asnType, info.access,
                    info.text);
}

void checkScalars(SnmpDataBase &database)
{
    std::vector<SnmpObjOid> scalars;
    mustHold(database.getSnmpObjOidList(scalars) == 0, "the scalars can be listed");
    const auto isNotBelow = [](const SnmpObjOid &one, const SnmpObjOid &next) {
        return one.objId >= next.objId;
    };
    mustHold(std::adjacent_find(scalars.begin(), scalars.end(), isNotBelow) == scalars.end(),
             "scalars are listed in ascending id, once");
    for (const SnmpObjOid &scalar : scalars) {
        SnmpObjOid found;
        found.objId = scalar.objId;
        mustHold(database.getSnmpObjOid(found) == 0 && isSame(found, scalar), "a scalar is found");
        SnmpObjInfo info;
        mustHold(database.getSnmpObjInfo(scalar.objId, info) == 0 && isSame(info, scalar),
                 "a scalar is described");
    }
}

void checkColumns(SnmpDataBase &database, const std::string &node)
{
    std::vector<SnmpTableOid> columns;
    mustHold(database.getSnmpTableColumns(node, columns) == 0, "columns can be listed");
    for (const SnmpTableOid &column : columns) {
        SnmpTableOid found;
        mustHold(database.getSnmpTableOid(column.tableNode, column.column, column.instance,
                                          found) == 0 &&
                     isSame(found, column),
                 "a column is found");
        SnmpObjInfo info;
        mustHold(database.getSnmpObjInfo(column.objId, info) == 0, "a column is described");
    }
    mustHold(database.countTableKeys(node) >= 0, "a count is not negative");
}
} // namespace

bool isSame(const SnmpObjInfo &one, const SnmpObjInfo &other)
{
    return fieldsOf(one) == fieldsOf(other);
}

bool isSame(const SnmpObjOid &one, const SnmpObjOid &other)
{
    const auto ownFields = [](const SnmpObjOid &of) {
        return std::tie(of.objId, of.magic, of.oidArc1, of.oidArc2, of.oidArc3, of.oidArc4);
    };
    return fieldsOf(one) == fieldsOf(other) && ownFields(one) == ownFields(other);
}

bool isSame(const SnmpTableOid &one, const SnmpTableOid &other)
{
    const auto ownFields = [](const SnmpTableOid &of) {
        return std::tie(of.objId, of.column, of.tableNode, of.instance, of.tableKind, of.attr3);
    };
    return fieldsOf(one) == fieldsOf(other) && ownFields(one) == ownFields(other);
}

void lookupsMustAgree(SnmpDataBase &database)
{
    checkScalars(database);
    std::vector<SnmpTableInfo> tables;
    const bool hasTables = database.getSnmpTableList(tables) == 0;
    mustHold(hasTables != tables.empty(), "there is no empty list of tables");
    for (const SnmpTableInfo &table : tables) {
        const auto isOfThisNode = [&table](const SnmpTableInfo &each) {
            return each.tableNode == table.tableNode;
        };
        mustHold(std::count_if(tables.begin(), tables.end(), isOfThisNode) == 1,
                 "a table is listed once");
        checkColumns(database, table.tableNode);
    }
    std::vector<std::uint16_t> flagged;
    mustHold(database.getFlaggedObjIds(flagged) == 0, "flagged objects can be listed");
    for (const std::uint16_t objId : flagged) {
        SnmpObjInfo info;
        mustHold(database.getSnmpObjInfo(objId, info) == 0, "a flagged object is described");
    }
    std::uint16_t frequency = 1;
    mustHold(database.getSlotFreq(0, frequency) == 0 || frequency == 0, "no frequency is zero");
}
