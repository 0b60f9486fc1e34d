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
#include "TerminalColour.h"
#include "VerifyReport.h"
#include "VerifyTable.h"

#include <chrono>
#include <iostream>

#include <unistd.h>

namespace
{
constexpr unsigned longestLimit = 86400;
constexpr int unusable = 3;
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
        "Example:\n  tarnoMapping verify shelf.yaml --table");
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
    command.add_flag("--probe", _isProbing,
                     "Also read an unknown id and write a read-only object back");
    command.add_option("--limit", _limit, "Seconds after which no further object is read")
        ->capture_default_str()
        ->check(CLI::Range(1U, longestLimit));
    CLI::Option *const json = command.add_flag("--json", _asJson, "Output for programs");
    command.add_flag("--table", _asTable, "Print what was read first, as show lists it")
        ->excludes(json);
    command.add_option("--junit", _junit, "Also write the findings to this file, as JUnit XML");
    command.add_flag("--rules", _listRules, "List all rules and verify nothing")->excludes(file);
}

void VerifyCommand::verify()
{
    const MappingInput input(_input, readMappingFile(_input));
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
    if (input.places()) {
        for (Finding &finding : findings.all()) {
            placeInSource(*input.places(), finding);
        }
        acceptances::mark(*input.places(), findings);
    }
    findings.sort();
    findings.setFile(_input);
    const VerifySummary summary = judge.summary(readings);
    if (_asTable) {
        atomicFile::write("-", verifyTable::write(served, readings, isInColour(STDOUT_FILENO)));
    }
    atomicFile::write("-", _asJson
                               ? verifyReport::json(findings, summary)
                               : verifyReport::text(findings, summary, isInColour(STDOUT_FILENO)));
    if (!_junit.empty()) {
        atomicFile::write(_junit,
                          junitReport::write(findings, "device application", summary.asked));
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
