#include "CheckedMapping.h"
#include "TextForms.h"

#include <algorithm>

namespace
{
/// The library registers larger numbers but finds nothing there.
constexpr std::uint32_t highestArc = 0x7FFFFFFF;

bool isServable(const Oid &oid)
{
    return std::all_of(oid.begin(), oid.end(), [](std::uint32_t arc) { return arc <= highestArc; });
}

/// Whether the file has a number over 32 bits, rather than other characters that become one.
bool isTooLarge(const std::string &node)
{
    return node.find_first_not_of(".0123456789") == std::string::npos && !fitsNumbers(node);
}
} // namespace

void checkArcs(const CheckedMapping &mapping, Findings &findings)
{
    if (!isServable(mapping.base)) {
        findings.add("TM715", {}, "base " + mapping.baseText);
        return;
    }
    for (const ScalarEntry &entry : mapping.source.scalars) {
        const SnmpObjOid &scalar = entry.record;
        const Oid arcs{scalar.oidArc1, scalar.oidArc2, scalar.oidArc3};
        if (!isServable(arcs)) {
            findings.add("TM713", placeOf(entry, "oidArc1"), oidText(arcs).substr(1));
        }
    }
    for (const CheckedTable &table : mapping.tables) {
        if (table.isServed && !isServable(table.oid)) {
            findings.add(isTooLarge(table.node) ? "TM710" : "TM714",
                         placeOf(*table.cells.front(), "tableNode"),
                         textForms::quoted(table.node) + " becomes " + oidText(table.oid));
        }
    }
}
