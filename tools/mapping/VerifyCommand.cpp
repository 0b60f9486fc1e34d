#include "VerifyCommand.h"

#include "Acceptances.h"
#include "AtomicFile.h"
#include "CheckedMapping.h"
#include "DeferredSignals.h"
#include "DeviceReader.h"
#include "Findings.h"
#include "InputError.h"
#include "JunitReport.h"
#include "ServedObjects.h"
#include "SnmpOptions.h"
#include "TerminalColour.h"
#include "VerifyAlarms.h"
#include "VerifyReport.h"
#include "VerifySnmp.h"
#include "VerifyTable.h"

#include <algorithm>
#include <chrono>
#include <iostream>

#include <unistd.h>

namespace
{
constexpr unsigned longestLimit = 86400;
constexpr int unusable = 3;

/// The row of the mapping that a scalar, a column or a table begins with.
void placeByName(const MappingSource &source, Finding &finding)
{
    const std::string &name = finding.object;
    const auto table = std::find_if(source.tables.begin(), source.tables.end(),
                                    [&name](const TableNotes &each) { return each.name == name; });
    finding.place.isOfTable = table != source.tables.end();
    const auto scalar =
        std::find_if(source.scalars.begin(), source.scalars.end(),
                     [&name](const ScalarEntry &each) { return each.notes.name == name; });
    const auto cell =
        std::find_if(source.cells.begin(), source.cells.end(), [&](const CellEntry &each) {
            return finding.place.isOfTable ? each.record.tableNode == table->node
                                           : each.notes.name == name;
        });
    if (scalar != source.scalars.end()) {
        finding.place = placeOf(*scalar, "");
    } else if (cell != source.cells.end()) {
        const bool isOfTable = finding.place.isOfTable;
        finding.place = placeOf(*cell, "");
        finding.place.isOfTable = isOfTable;
    }
}

/// The places and the acceptances of a source.
void markInSource(const MappingInput &input, Findings &findings)
{
    if (input.places()) {
        for (Finding &finding : findings.all()) {
            placeInSource(*input.places(), finding);
        }
        acceptances::mark(*input.places(), findings);
    }
    findings.sort();
}
} // namespace

VerifyCommand::VerifyCommand(CLI::App &app, int &exitStatus) : _exitStatus(exitStatus)
{
    CLI::App *const command =
        app.add_subcommand("verify", "Check a mapping against the running device application");
    addOptions(*command);
    command->footer(
        "Asks the device application for every object, as the agent does. Stop the agent first: "
        "only one program can use the link.\n"
        "Exit status: 0 clean (notes do not count), 1 warnings, 2 errors, 3 the mapping cannot be "
        "read, or the link cannot be used.\n"
        "With --snmp: asks the agent for every object, as a manager does. What an option does not "
        "state comes from snmp.conf.\n"
        "Examples:\n  tarnoMapping verify shelf.yaml --table\n"
        "  tarnoMapping verify shelf.yaml --snmp 192.0.2.7 -v 2c -c public");
    command->callback([this, command] {
        if (_listRules) {
            atomicFile::write("-", findingsReport::rules(verifyRules()));
            return;
        }
        if (_input.empty()) {
            throw CLI::RequiredError(command->get_name() + ": FILE");
        }
        verify();
    });
}

void VerifyCommand::addOptions(CLI::App &command)
{
    CLI::Option *const file =
        command.add_option("FILE", _input, "A mapping database or its source");
    command.add_option("--base", _base, "Base OID, if it differs from the one in the source");
    command
        .add_option("--rows", _rows, "Number of rows of every table, as the device is configured")
        ->check(CLI::IsMember({unsigned{fewRows}, unsigned{manyRows}}));
    command.add_flag("--write", _isWriting,
                     "Write back what was read, for writable objects, and read again");
    CLI::Option *const probe = command.add_flag(
        "--probe", _isProbing, "Also read an unknown id and write a read-only object back");
    command.add_option("--limit", _limit, "Seconds after which no further object is read")
        ->capture_default_str()
        ->check(CLI::Range(1U, longestLimit));
    CLI::Option *const json = command.add_flag("--json", _asJson, "Output for programs");
    CLI::Option *const table =
        command.add_flag("--table", _asTable, "Print what was read first, as show lists it")
            ->excludes(json);
    command.add_option("--junit", _junit, "Also write the findings to this file, as JUnit XML");
    command.add_flag("--rules", _listRules, "List all rules and verify nothing")->excludes(file);
    addSnmpOptions(command, _snmp)->excludes(probe)->excludes(table);
}

void VerifyCommand::verify()
{
    atomicFile::requireOther(_input, _junit);
    const MappingInput input(_input, readMappingFile(_input));
    if (!_snmp.host.empty()) {
        verifyAgent(input);
        return;
    }
    try {
        report(input);
    } catch (const UnusableLink &error) {
        std::cerr << errorLines(error);
        _exitStatus = unusable;
    }
}

void VerifyCommand::report(const MappingInput &input)
{
    CheckedMapping mapping = checkedMapping(input.database(), _base);
    keepServed(mapping);
    const ServedMapping served = servedBy(input.database(), {.base = _base, .rows = _rows});
    const bool hasBase = !_base.empty() || !mapping.source.module.base.empty();
    const VerifyJudge judge(mapping, served.rows, hasBase);
    const DeviceReadings readings = read(judge);
    Findings findings = judge.judge(readings);
    verifyAlarms(served, readings, findings);
    markInSource(input, findings);
    if (_asTable) {
        atomicFile::write("-", verifyTable::write(served, readings, isInColour(STDOUT_FILENO)));
    }
    print(findings, judge.summary(readings), "device application");
}

void VerifyCommand::verifyAgent(const MappingInput &input)
{
    VerifySummary summary;
    Findings findings = verifySnmp::verify(
        servedBy(input.database(), {.base = _base, .rows = _rows}), _snmp,
        {.isWriting = _isWriting, .limit = std::chrono::seconds(_limit)}, summary);
    const MappingSource source = input.database().source();
    for (Finding &finding : findings.all()) {
        if (!finding.object.empty()) {
            placeByName(source, finding);
        }
    }
    markInSource(input, findings);
    print(findings, summary, "agent");
}

void VerifyCommand::print(Findings &findings, const VerifySummary &summary,
                          const std::string &whole)
{
    findings.setFile(_input);
    atomicFile::write("-", _asJson
                               ? verifyReport::json(findings, summary)
                               : verifyReport::text(findings, summary, isInColour(STDOUT_FILENO)));
    if (!_junit.empty()) {
        atomicFile::write(_junit, junitReport::write(findings, whole, summary.asked));
    }
    _exitStatus = findingsReport::exitStatus(findings);
}

/// A signal ends the program once the link is as it was.
DeviceReadings VerifyCommand::read(const VerifyJudge &judge) const
{
    const DeferredSignals deferred;
    DeviceQuestions questions = judge.questions();
    questions.isWriting = _isWriting;
    questions.isProbing = _isProbing;
    questions.limit = std::chrono::seconds(_limit);
    return readDevice(questions);
}
