#include "Acceptances.h"

#include <algorithm>
#include <set>

namespace
{
using Used = std::set<const Acceptance *>;

bool isAccepted(const WrittenObject *object, Finding &finding, Used &used)
{
    if (object == nullptr) {
        return false;
    }
    const auto found =
        std::find_if(object->accepted.begin(), object->accepted.end(),
                     [&](const Acceptance &each) { return each.code == finding.rule->code; });
    if (found == object->accepted.end()) {
        return false;
    }
    finding.acceptedBecause = found->reason;
    used.insert(&*found);
    return true;
}

/// The nearest acceptance counts.
void accept(const SourcePlaces &places, Finding &finding, Used &used)
{
    const WrittenObject *const object = places.objectOf(finding.place.table, finding.place.row);
    const WrittenObject *const table = object == nullptr ? nullptr : places.tableOf(*object);
    const bool isDone = (!finding.place.isOfTable && isAccepted(object, finding, used)) ||
                        isAccepted(table, finding, used);
    if (!isDone) {
        isAccepted(&places.module, finding, used);
    }
}

bool isOfCheck(const Acceptance &acceptance)
{
    const auto rules = checkRules();
    return std::any_of(rules.begin(), rules.end(), [&acceptance](const CheckRule &each) {
        return each.code == acceptance.code;
    });
}

Used markAll(const SourcePlaces &places, Findings &findings)
{
    Used used;
    for (Finding &finding : findings.all()) {
        accept(places, finding, used);
    }
    return used;
}

void reportUnused(const WrittenObject &object, const Used &used, Findings &findings)
{
    for (const Acceptance &each : object.accepted) {
        if (isOfCheck(each) && !used.contains(&each)) {
            Finding &finding = findings.add("TM991", {}, each.code + " does not occur here");
            finding.object = object.name;
            finding.mark = each.mark;
        }
    }
}
} // namespace

void acceptances::apply(const SourcePlaces &places, Findings &findings)
{
    const Used used = markAll(places, findings);
    reportUnused(places.module, used, findings);
    for (const auto &[node, table] : places.tables) {
        reportUnused(table, used, findings);
    }
    for (const auto *objects : {&places.objects, &places.alarms}) {
        for (const WrittenObject &object : *objects) {
            reportUnused(object, used, findings);
        }
    }
}

void acceptances::mark(const SourcePlaces &places, Findings &findings)
{
    (void)markAll(places, findings);
}
