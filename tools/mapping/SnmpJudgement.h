#pragma once

#include "Findings.h"
#include "ServedObjects.h"
#include "SnmpManager.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a manager has read from an agent.
struct SnmpReading {
    /// Everything below the base, in the order of the walk.
    std::vector<SnmpValue> walk;
    /// The OID after which the walk went back, and so ended.
    std::optional<Oid> wentBackAfter;
    /// The answers to gets of what the mapping has and the walk did not find.
    std::map<Oid, SnmpValue> got;

    /// Null if neither the walk nor a get has an answer.
    [[nodiscard]] const SnmpValue *find(const Oid &oid) const;
};

/// Judges the answers of an agent by what the mapping promises. Findings name scalars and columns,
/// with the rows that they are about.
namespace snmpJudgement
{
[[nodiscard]] bool isBelow(const Oid &oid, const Oid &above);

void judgeReading(const ServedMapping &served, const SnmpReading &reading, Findings &findings);

/// The code of the finding that a set gives rise to; empty if the agent did right.
[[nodiscard]] std::string_view codeOfSet(const ServedObject &object, std::string_view error);

/// A number, or a text in quotes.
[[nodiscard]] std::string shown(const SnmpValue &value);

/// Whether a set failed because of who the manager is.
[[nodiscard]] bool isDenied(std::string_view error);

/// Findings about one object: a finding per code, with all rows that it holds for.
class ObjectFaults
{
public:
    explicit ObjectFaults(const ServedObject &object) : _object(object) {}

    void add(std::string_view code, const ServedInstance &instance, const std::string &what);
    void report(Findings &findings) const;

private:
    struct Fault {
        std::string_view code;
        /// Of the first instance.
        std::string what;
        /// The object with only those instances.
        ServedObject affected;
    };

    const ServedObject &_object;
    std::vector<Fault> _all;
};
} // namespace snmpJudgement
