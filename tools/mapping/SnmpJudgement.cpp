#include "SnmpJudgement.h"

#include "Listing.h"
#include "MappingWords.h"
#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <regex>
#include <set>

namespace
{
using snmpJudgement::isBelow;
using snmpJudgement::ObjectFaults;

constexpr std::size_t entrySuffixLength = 2;

/// The text that a conversion makes.
struct TextForm {
    std::uint16_t kind;
    const char *pattern;
    const char *name;
};

constexpr const char *ipv4Pattern = R"([0-9]{1,3}(\.[0-9]{1,3}){3})";
constexpr std::array servedForms{
    TextForm{conversion::decimalText, R"(-?[0-9]+\.[0-9]{2})", "a decimal number"},
    TextForm{conversion::ipv4Text, ipv4Pattern, "an IPv4 address"},
    TextForm{conversion::ipv4TextAlternative, ipv4Pattern, "an IPv4 address"},
    TextForm{conversion::dateTimeText,
             R"([0-9]{1,2}:[0-9]{1,2}:[0-9]{1,2} [0-9]{1,2}/[0-9]{1,2}/[0-9]{4})",
             "a date and time"},
};

class Judge
{
public:
    Judge(const ServedMapping &served, const SnmpReading &reading, Findings &findings)
        : _served(served), _reading(reading), _findings(findings)
    {
    }

    void judge()
    {
        if (isNothingServed()) {
            _findings.add("TV503", {}, "nothing below " + oidText(_served.base)).oid =
                oidText(_served.base);
            return;
        }
        judgeTables();
        for (const ServedObject &object : _served.objects) {
            judgeObject(object);
        }
        judgeExtras();
        if (_reading.wentBackAfter) {
            _findings.add("TV510", {}, "the walk ends after " + oidText(*_reading.wentBackAfter));
        }
    }

private:
    struct TableState {
        bool isServed = false;
        std::uint32_t rows = 0;
    };

    [[nodiscard]] bool isNothingServed() const
    {
        bool isAnythingWanted = false;
        for (const ServedObject &object : _served.objects) {
            for (const ServedInstance &instance : object.instances) {
                const SnmpValue *const value = _reading.find(instance.oid);
                if (value != nullptr && value->type != snmpTag::noSuchObject) {
                    return false;
                }
                isAnythingWanted = true;
            }
        }
        return isAnythingWanted;
    }

    /// The agent answers the row numbers by itself, so they tell how many rows the device has.
    [[nodiscard]] TableState stateOf(const ServedTable &table) const
    {
        Oid rowNumbers = table.oid;
        rowNumbers.insert(rowNumbers.end(), {1, 1});
        TableState state;
        for (const SnmpValue &value : _reading.walk) {
            if (isBelow(value.oid, rowNumbers)) {
                state.isServed = true;
                state.rows = std::max(state.rows, value.oid[rowNumbers.size()]);
            }
        }
        rowNumbers.insert(rowNumbers.end(), {1, 0});
        const SnmpValue *const first = _reading.find(rowNumbers);
        state.isServed =
            state.isServed || (first != nullptr && first->type != snmpTag::noSuchObject);
        return state;
    }

    void judgeTables()
    {
        bool isReported = false;
        for (const ServedTable &table : _served.tables) {
            _tables.push_back(stateOf(table));
            const TableState &state = _tables.back();
            if (!state.isServed) {
                Finding &finding = _findings.add("TV505", {}, "noSuchObject");
                finding.object = table.notes.name;
                finding.oid = oidText(table.oid);
            } else if (state.rows != _served.rows && !isReported) {
                // Every table has the rows of the device.
                isReported = true;
                _findings.add("TV504", {},
                              std::to_string(state.rows) + " rows instead of " +
                                  std::to_string(_served.rows));
            }
        }
    }

    [[nodiscard]] bool isExpected(const ServedObject &object, const ServedInstance &instance) const
    {
        if (!object.table) {
            return true;
        }
        const TableState &state = _tables[*object.table];
        return state.isServed && instance.row <= state.rows;
    }

    void judgeObject(const ServedObject &object)
    {
        ObjectFaults faults(object);
        for (const ServedInstance &instance : object.instances) {
            if (isExpected(object, instance)) {
                judgeInstance(object, instance, faults);
            }
        }
        faults.report(_findings);
    }

    void judgeInstance(const ServedObject &object, const ServedInstance &instance,
                       ObjectFaults &faults) const
    {
        const SnmpValue *const value = _reading.find(instance.oid);
        if (value == nullptr || value->type == snmpTag::noSuchObject) {
            faults.add("TV506", instance, "noSuchObject");
        } else if (!value->isThere()) {
            faults.add("TV507", instance, "noSuchInstance");
        } else {
            if (_reading.got.contains(instance.oid) && !_reading.wentBackAfter) {
                faults.add("TV509", instance, "a get finds it, a walk does not");
            }
            judgeValue(object, instance, *value, faults);
        }
    }

    static void judgeValue(const ServedObject &object, const ServedInstance &instance,
                           const SnmpValue &value, ObjectFaults &faults)
    {
        if (value.type != object.info.asnType) {
            faults.add("TV512", instance,
                       mappingWords::snmpType(value.type) + " instead of " +
                           mappingWords::snmpType(object.info.asnType));
        } else if (value.type == objectType::integer) {
            judgeNumber(object, instance, value.number, faults);
        } else if (value.type == objectType::octetString) {
            judgeText(object, instance, value.text, faults);
        }
    }

    static void judgeNumber(const ServedObject &object, const ServedInstance &instance,
                            std::int32_t number, ObjectFaults &faults)
    {
        const auto bounds = mappingWords::rangeIn(instance.notes.range);
        if (bounds && (number < bounds->first || number > bounds->second)) {
            faults.add("TV513", instance,
                       std::to_string(number) + " is not in " + instance.notes.range);
        }
        const auto &labels = instance.notes.labels;
        const bool hasLabel =
            std::any_of(labels.begin(), labels.end(),
                        [number](const Label &each) { return each.first == number; });
        if (object.isLabelledNumber() && !hasLabel) {
            faults.add("TV514", instance, std::to_string(number) + " has no label");
        }
    }

    static void judgeText(const ServedObject &object, const ServedInstance &instance,
                          const std::string &text, ObjectFaults &faults)
    {
        const std::uint16_t kind = conversion::kindOf(object.info.valueType);
        const auto *const form =
            std::find_if(servedForms.begin(), servedForms.end(),
                         [kind](const TextForm &each) { return each.kind == kind; });
        if (form == servedForms.end()) {
            return;
        }
        if (!std::regex_match(text, std::regex(form->pattern))) {
            faults.add("TV515", instance, textForms::quoted(text) + " is not " + form->name);
        }
    }

    /// What the mapping does not have, once for each object.
    void judgeExtras()
    {
        std::set<Oid> wanted;
        for (const ServedObject &object : _served.objects) {
            wanted.insert(object.oid);
        }
        std::map<Oid, std::size_t> extras;
        for (const SnmpValue &value : _reading.walk) {
            const Oid object = objectOf(value.oid);
            if (!wanted.contains(object)) {
                ++extras[object];
            }
        }
        for (const auto &[oid, count] : extras) {
            _findings
                .add("TV511", {}, std::to_string(count) + (count == 1 ? " instance" : " instances"))
                .oid = oidText(oid);
        }
    }

    /// An instance without its index.
    [[nodiscard]] Oid objectOf(const Oid &instance) const
    {
        for (const ServedTable &table : _served.tables) {
            if (isBelow(instance, table.oid) &&
                instance.size() >= table.oid.size() + entrySuffixLength) {
                return {instance.begin(),
                        instance.begin() +
                            static_cast<std::ptrdiff_t>(table.oid.size() + entrySuffixLength)};
            }
        }
        return {instance.begin(), instance.end() - 1};
    }

    const ServedMapping &_served;
    const SnmpReading &_reading;
    Findings &_findings;
    std::vector<TableState> _tables;
};
} // namespace

const SnmpValue *SnmpReading::find(const Oid &oid) const
{
    const auto walked = std::lower_bound(
        walk.begin(), walk.end(), oid,
        [](const SnmpValue &value, const Oid &wanted) { return value.oid < wanted; });
    if (walked != walk.end() && walked->oid == oid) {
        return &*walked;
    }
    const auto found = got.find(oid);
    return found == got.end() ? nullptr : &found->second;
}

bool snmpJudgement::isBelow(const Oid &oid, const Oid &above)
{
    return oid.size() > above.size() && std::equal(above.begin(), above.end(), oid.begin());
}

void snmpJudgement::judgeReading(const ServedMapping &served, const SnmpReading &reading,
                                 Findings &findings)
{
    Judge(served, reading, findings).judge();
}

std::string snmpJudgement::shown(const SnmpValue &value)
{
    return value.type == objectType::integer ? std::to_string(value.number)
                                             : textForms::quoted(value.text);
}

bool snmpJudgement::isDenied(std::string_view error)
{
    return error == "noAccess" || error == "authorizationError";
}

std::string_view snmpJudgement::codeOfSet(const ServedObject &object, std::string_view error)
{
    if (object.isWritable()) {
        return error.empty() ? std::string_view() : "TV522";
    }
    // A scalar that the agent has as read-write gets as far as the device, which then refuses it.
    const bool isRefusedByDevice = !object.table && error == "badValue";
    return error.empty() || isRefusedByDevice ? "TV523" : std::string_view();
}

void snmpJudgement::ObjectFaults::add(std::string_view code, const ServedInstance &instance,
                                      const std::string &what)
{
    auto fault = std::find_if(_all.begin(), _all.end(),
                              [code](const Fault &each) { return each.code == code; });
    if (fault == _all.end()) {
        fault = _all.insert(fault, {code, what, _object});
        fault->affected.instances.clear();
    }
    fault->affected.instances.push_back(instance);
}

void snmpJudgement::ObjectFaults::report(Findings &findings) const
{
    for (const Fault &fault : _all) {
        const bool isOne = fault.affected.instances.size() == 1;
        const std::string rows = listing::rowsText(fault.affected);
        const std::string where = rows.empty() ? "" : (isOne ? ", row " : ", rows ") + rows;
        Finding &finding = findings.add(fault.code, {}, fault.what + where);
        finding.object = _object.notes.name;
        finding.oid = isOne ? oidText(fault.affected.instances.front().oid) : oidText(_object.oid);
    }
}
