#include "VerifySnmp.h"

#include "SnmpJudgement.h"
#include "SnmpWriteBack.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;
using snmpJudgement::isBelow;
using snmpJudgement::ObjectFaults;

/// Ends the verification with a finding.
struct Stop {
    std::string_view code;
    std::string what;
};

/// A failure to get any response, or to be let in.
Stop stopFor(const SnmpFailure &failure, std::size_t responses)
{
    return {failure.isRefusal() ? "TV502" : "TV501",
            failure.what() + (", after " + std::to_string(responses)) +
                (responses == 1 ? " response" : " responses")};
}

/// The object of an instance; without one the OID.
std::string nameOf(const ServedMapping &served, const Oid &instance)
{
    for (const ServedObject &object : served.objects) {
        if (isBelow(instance, object.oid)) {
            return object.notes.name;
        }
    }
    return oidText(instance);
}

/// The requests of one verification, and the time that each took.
class Questions
{
public:
    Questions(SnmpManager &manager, std::chrono::seconds limit)
        : _manager(manager), _limit(limit), _deadline(Clock::now() + limit)
    {
    }

    /// The value; throws Stop if there is only an error.
    SnmpValue get(const Oid &oid)
    {
        return valueIn(oid, [&] { return _manager.get(oid); });
    }

    SnmpValue getNext(const Oid &oid)
    {
        return valueIn(oid, [&] { return _manager.getNext(oid); });
    }

    /// The error status, or nothing.
    std::string set(const SnmpValue &value)
    {
        return ask(value.oid, [&] { return _manager.set(value); }).error;
    }

    void summarize(const ServedMapping &served, VerifySummary &summary)
    {
        if (_times.empty()) {
            return;
        }
        std::sort(_times.begin(), _times.end());
        summary.median = _times[_times.size() / 2].first;
        summary.worst = _times.back().first;
        summary.slowest = nameOf(served, _times.back().second);
    }

private:
    template <typename Request>
    SnmpResponse ask(const Oid &oid, Request request)
    {
        const auto start = Clock::now();
        if (start > _deadline) {
            throw Stop{"TV103", std::to_string(_limit.count()) + " s are over at " + oidText(oid)};
        }
        try {
            SnmpResponse response = request();
            _times.emplace_back(
                std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start),
                response.error.empty() ? response.value.oid : oid);
            return response;
        } catch (const SnmpFailure &failure) {
            throw stopFor(failure, _times.size());
        }
    }

    template <typename Request>
    SnmpValue valueIn(const Oid &oid, Request request)
    {
        const SnmpResponse response = ask(oid, request);
        if (!response.error.empty()) {
            throw Stop{snmpJudgement::isDenied(response.error) ? "TV502" : "TV508",
                       response.error + " at " + oidText(oid)};
        }
        return response.value;
    }

    SnmpManager &_manager;
    std::chrono::seconds _limit;
    Clock::time_point _deadline;
    std::vector<std::pair<std::chrono::microseconds, Oid>> _times;
};

/// Sets every object to what it has.
class Writer
{
public:
    Writer(Questions &questions, Findings &findings, VerifySummary &summary)
        : _questions(questions), _findings(findings), _summary(summary)
    {
    }

    void write(const ServedMapping &served, const SnmpReading &reading)
    {
        for (const ServedObject &object : served.objects) {
            // The agent takes sets of row numbers and ignores them.
            if (object.isRowNumber()) {
                continue;
            }
            if (isFound(object)) {
                _summary.notSet.push_back(object.notes.name);
            } else {
                writeObject(object, reading);
            }
        }
    }

private:
    /// Whether there is a finding about it, so that the agent may convert it in another way.
    [[nodiscard]] bool isFound(const ServedObject &object) const
    {
        const auto &all = _findings.all();
        return std::any_of(all.begin(), all.end(), [&object](const Finding &finding) {
            return finding.object == object.notes.name;
        });
    }

    void writeObject(const ServedObject &object, const SnmpReading &reading)
    {
        ObjectFaults faults(object);
        bool isSet = false;
        for (const ServedInstance &instance : object.instances) {
            const SnmpValue *const value = reading.find(instance.oid);
            if (value != nullptr && value->type == object.info.asnType) {
                isSet = writeInstance(object, instance, faults) || isSet;
            }
        }
        faults.report(_findings);
        if (isSet) {
            ++_summary.set;
        } else {
            _summary.notSet.push_back(object.notes.name);
        }
    }

    /// Whether it was set.
    bool writeInstance(const ServedObject &object, const ServedInstance &instance,
                       ObjectFaults &faults)
    {
        const SnmpValue before = _questions.get(instance.oid);
        if (!canBeWrittenBack(object, instance, before)) {
            return false;
        }
        const std::string error = _questions.set(before);
        if (snmpJudgement::isDenied(error)) {
            throw Stop{"TV521", error + " at " + oidText(instance.oid)};
        }
        const std::string_view code = snmpJudgement::codeOfSet(object, error);
        if (!code.empty()) {
            faults.add(code, instance, error.empty() ? "a set succeeds" : "a set fails: " + error);
        } else if (object.isWritable()) {
            readAgain(instance, before, faults);
        }
        return true;
    }

    /// A value that moves by itself proves nothing.
    void readAgain(const ServedInstance &instance, const SnmpValue &before, ObjectFaults &faults)
    {
        const SnmpValue after = _questions.get(instance.oid);
        if (!isSameContent(before, after) && isSameContent(after, _questions.get(instance.oid))) {
            faults.add("TV524", instance,
                       snmpJudgement::shown(before) + " reads back as " +
                           snmpJudgement::shown(after));
        }
    }

    Questions &_questions;
    Findings &_findings;
    VerifySummary &_summary;
};

/// Everything below the base, and then what the walk did not find.
SnmpReading readAll(const ServedMapping &served, Questions &questions)
{
    SnmpReading reading;
    Oid last = served.base;
    for (SnmpValue value = questions.getNext(last);
         value.isThere() && isBelow(value.oid, served.base); value = questions.getNext(last)) {
        if (value.oid <= last) {
            reading.wentBackAfter = last;
            break;
        }
        last = value.oid;
        reading.walk.push_back(std::move(value));
    }
    for (const ServedObject &object : served.objects) {
        for (const ServedInstance &instance : object.instances) {
            if (reading.find(instance.oid) == nullptr) {
                reading.got.emplace(instance.oid, questions.get(instance.oid));
            }
        }
    }
    return reading;
}

void summarize(const ServedMapping &served, const SnmpReading &reading, VerifySummary &summary)
{
    for (const ServedObject &object : served.objects) {
        const auto isThere = [&reading](const ServedInstance &instance) {
            const SnmpValue *const value = reading.find(instance.oid);
            return value != nullptr && value->isThere();
        };
        summary.answered +=
            std::any_of(object.instances.begin(), object.instances.end(), isThere) ? 1U : 0U;
    }
}

void run(const ServedMapping &served, SnmpManager &manager, const verifySnmp::Options &options,
         Findings &findings, VerifySummary &summary)
{
    Questions questions(manager, options.limit);
    try {
        const SnmpReading reading = readAll(served, questions);
        snmpJudgement::judgeReading(served, reading, findings);
        summarize(served, reading, summary);
        if (options.isWriting) {
            Writer(questions, findings, summary).write(served, reading);
        }
    } catch (const Stop &stop) {
        findings.add(stop.code, {}, stop.what);
    }
    questions.summarize(served, summary);
}
} // namespace

Findings verifySnmp::verify(const ServedMapping &served, const SnmpSettings &settings,
                            const Options &options, VerifySummary &summary)
{
    Findings findings;
    for (const ServedObject &object : served.objects) {
        summary.asked.push_back(object.notes.name);
    }
    try {
        SnmpManager manager(settings);
        run(served, manager, options, findings, summary);
    } catch (const SnmpFailure &failure) {
        const Stop stop = stopFor(failure, 0);
        findings.add(stop.code, {}, stop.what);
    }
    return findings;
}
