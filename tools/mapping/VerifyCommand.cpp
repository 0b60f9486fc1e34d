#include "VerifyCommand.h"

#include "AtomicFile.h"
#include "Findings.h"
#include "JunitReport.h"
#include "MappingDatabase.h"
#include "ServedObjects.h"
#include "TerminalColour.h"
#include "VerifyReport.h"

#include <unistd.h>

namespace
{
constexpr unsigned longestLimit = 86400;
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
    Findings findings;
    const VerifySummary summary;
    findings.setFile(_input);
    atomicFile::write("-", _asJson
                               ? verifyReport::json(findings, summary)
                               : verifyReport::text(findings, summary, isInColour(STDOUT_FILENO)));
    if (!_junit.empty()) {
        atomicFile::write(_junit,
                          junitReport::write(findings, "device application", summary.asked));
    }
    _exitStatus = findingsReport::exitStatus(findings);
}
