#include "Commands.h"

#include "AlarmLoad.h"
#include "AlarmsWriter.h"
#include "AtomicFile.h"
#include "Baseline.h"
#include "Checker.h"
#include "DatabaseBuilder.h"
#include "HtmlWriter.h"
#include "InputError.h"
#include "Listing.h"
#include "MappingDatabase.h"
#include "MappingDiff.h"
#include "MibImport.h"
#include "MibWriter.h"
#include "NearestWord.h"
#include "PrometheusRules.h"
#include "PrometheusWriter.h"
#include "SarifReport.h"
#include "ServedObjects.h"
#include "SimulatorObjects.h"
#include "SourceReader.h"
#include "SourceWriter.h"
#include "TelegrafWriter.h"
#include "TerminalColour.h"
#include "TextForms.h"
#include "WholeFile.h"
#include "ZabbixWriter.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace
{
constexpr const char *anyOutput = "The file to write; - for standard output";
constexpr const char *anyInput = "A mapping database or its source";

/// On standard error, because standard output may carry the result.
void remark(const std::vector<std::string> &remarks)
{
    for (const std::string &each : remarks) {
        std::cerr << "note: " << each << '\n';
    }
}

/// Whether a file looks like a MIB module.
bool isMib(const std::string &path)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return false;
    }
    const std::string content = readWholeFile(path);
    return content.find('\0') == std::string::npos &&
           content.find("DEFINITIONS") != std::string::npos &&
           content.find("::=") != std::string::npos;
}
} // namespace

Commands::Commands(CLI::App &app) : _app(app)
{
    app.description("Writes, checks, publishes and compares mapping databases of tarnoSnmp.");
    app.set_version_flag("--version", "tarnoMapping " TARNO_VERSION, "Print the version");
    app.require_subcommand(1);
    addBuild(app);
    addImport(app);
    addShow(app);
    addCheck(app);
    addMib(app);
    addHtml(app);
    addPrometheus(app);
    addTelegraf(app);
    addAlarms(app);
    addZabbix(app);
    addDiff(app);
    addSimulate(app);
    addVerify(app);
    addHelp(app);
}

void Commands::requireKnown(const std::string &name) const
{
    std::vector<std::string_view> known;
    for (const CLI::App *command : _app.get_subcommands({})) {
        known.push_back(command->get_name());
    }
    if (std::find(known.begin(), known.end(), name) != known.end()) {
        return;
    }
    const auto nearest = nearestWord(name, known);
    throw InputError("unknown command " + textForms::quoted(name) + "; " +
                     (nearest ? "did you mean " + textForms::quoted(*nearest) + '?'
                              : "tarnoMapping --help lists all commands"));
}

void Commands::addServedOptions(CLI::App &command)
{
    command.add_option("--base", _base, "Base OID, if it differs from the one in the source");
    command
        .add_option("--rows", _rows, "Number of rows of every table, as the device is configured")
        ->check(CLI::IsMember({unsigned{fewRows}, unsigned{manyRows}}));
}

ServedMapping Commands::served(const std::string &path) const
{
    return servedBy(MappingInput(path).database(), {.base = _base, .rows = _rows});
}

void Commands::writeOutput(std::string_view content) const
{
    atomicFile::requireOther(_input, _output);
    atomicFile::write(_output, content);
}

void Commands::addBuild(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("build", "Build a database from its source");
    command->add_option("SOURCE", _input, "Source of the mapping (YAML)")->required();
    command->add_option("-o,--output", _output, "The database to write")->required();
    command->add_flag("--force", _isForced, "Build even if the check finds errors");
    command->footer("Checks the source first, prints errors and warnings to standard error, and "
                    "builds nothing if there are errors.\n"
                    "Example:\n  tarnoMapping build shelf.yaml -o shelf.db");
    command->callback([this] { build(); });
}

void Commands::build()
{
    const auto source = sourceReader::parseWritten(readWholeFile(_input), _input);
    Findings findings = ::check(MappingDatabase(source.mapping, _input), source.places, {});
    findings.setFile(_input);
    const std::size_t errors = findings.count(Severity::error);
    if (errors + findings.count(Severity::warning) != 0) {
        std::cerr << findingsReport::text(findings, isInColour(STDERR_FILENO), Severity::warning);
    }
    if (errors != 0 && !_isForced) {
        throw InputError(_input + " has errors: nothing is written without --force");
    }
    writeOutput(databaseBuilder::build(source.mapping));
}

void Commands::addImport(CLI::App &app)
{
    CLI::App *const command =
        app.add_subcommand("import", "Write the source of an existing database, or of a MIB");
    command->add_option("FILE", _input, "A mapping database, or a MIB module (needs smidump)")
        ->required();
    command->add_option("-o,--output", _output, "The source to write; - for standard output")
        ->required();
    command->add_option("--base", _base, "Base OID, if it differs from the OID of the MIB module");
    command->footer("Object ids are left open in the source of a MIB: look for TODO.\n"
                    "Examples:\n  tarnoMapping import old.db -o shelf.yaml\n"
                    "  tarnoMapping import SHELF-MIB.txt -o shelf.yaml");
    command->callback([this] {
        if (isMib(_input)) {
            importMib();
            return;
        }
        writeOutput(sourceWriter::write(MappingDatabase(_input).source()));
    });
}

void Commands::importMib() const
{
    const ImportedMib imported = mibImport::import(mibReader::read(_input), _base);
    writeOutput(sourceWriter::writeOpen(imported.source, imported.remarks));
    remark(imported.remarks);
}

void Commands::checkMib()
{
    const auto differences = mibImport::unserved(mibReader::read(_mib), served(_input));
    std::string text;
    for (const std::string &difference : differences) {
        text += difference + '\n';
    }
    atomicFile::write("-", text.empty() ? "the mapping serves all of the MIB\n" : text);
    _exitStatus = differences.empty() ? 0 : 1;
}

void Commands::addShow(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("show", "List what the agent will serve");
    command->add_option("FILE", _input, anyInput)->required();
    addServedOptions(*command);
    CLI::Option *const json =
        command->add_flag("--json", _asJson, "Output for programs, with every instance");
    command->add_flag("--csv", _asCsv, "Output for spreadsheets")->excludes(json);
    command->footer("Example:\n  tarnoMapping show shelf.db --base .1.3.6.1.4.1.32473.1");
    command->callback([this] {
        const ServedMapping served = this->served(_input);
        atomicFile::write("-", _asJson  ? listing::json(served)
                               : _asCsv ? listing::csv(served)
                                        : listing::table(served, isInColour(STDOUT_FILENO)));
    });
}

void Commands::addCheck(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("check", "Check a mapping for errors");
    CLI::Option *const file = command->add_option("FILE", _input, anyInput);
    command->add_option("--base", _base, "Base OID, if it differs from the one in the source");
    CLI::Option *const baseline = command->add_option(
        "--baseline", _baseline, "Output of an earlier check --json; its findings do not count");
    CLI::Option *const json = command->add_flag("--json", _asJson, "Output for programs");
    CLI::Option *const sarif =
        command->add_flag("--sarif", _asSarif, "Output for code hosts and editors (SARIF 2.1.0)")
            ->excludes(json);
    command->add_flag("--rules", _listRules, "List all rules and check nothing")->excludes(file);
    command
        ->add_flag("--quiet", _isQuiet, "Print warnings and errors, and nothing if there are none")
        ->excludes(json);
    command
        ->add_option(
            "--mib", _mib,
            "List the objects of this MIB module that the mapping does not serve (needs smidump)")
        ->excludes(baseline)
        ->excludes(json)
        ->excludes(sarif);
    command->footer(
        "Accepted findings, and those in the baseline, do not count.\n"
        "Exit status: 0 clean (notes do not count), 1 warnings, 2 errors, 3 the file is a damaged "
        "database or cannot be read. With --mib: 0 the mapping serves all of it, 1 it does not.\n"
        "Example:\n  tarnoMapping check shelf.yaml --json");
    command->callback([this, command] {
        if (_listRules) {
            atomicFile::write("-", findingsReport::rules(checkRules()));
            return;
        }
        if (_input.empty()) {
            throw CLI::RequiredError(command->get_name() + ": FILE");
        }
        if (_mib.empty()) {
            check();
        } else {
            checkMib();
        }
    });
}

void Commands::check()
{
    const MappingInput input(_input, readMappingFile(_input));
    Findings findings = input.places() ? ::check(input.database(), *input.places(), _base)
                                       : ::check(input.database(), _base);
    findings.setFile(_input);
    if (!_baseline.empty()) {
        baseline::apply(_baseline, findings);
    }
    atomicFile::write("-", report(findings));
    _exitStatus = findingsReport::exitStatus(findings);
}

std::string Commands::report(const Findings &findings) const
{
    if (_asJson) {
        return findingsReport::json(findings);
    }
    if (_asSarif) {
        return sarifReport::write(findings);
    }
    if (_isQuiet && findingsReport::exitStatus(findings) == 0) {
        return {};
    }
    return findingsReport::text(findings, isInColour(STDOUT_FILENO),
                                _isQuiet ? Severity::warning : Severity::note);
}

void Commands::addMib(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("mib", "Write the SMIv2 module for managers");
    command->add_option("FILE", _input, anyInput)->required();
    command->add_option("-o,--output", _output, anyOutput)->required();
    addServedOptions(*command);
    command->footer("Example:\n  tarnoMapping mib shelf.yaml -o SHELF-MIB.txt");
    command->callback([this] {
        const PublishedMib mib = mibWriter::write(served(_input));
        writeOutput(mib.text);
        remark(mib.remarks);
    });
}

void Commands::addHtml(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("html", "Write a reference page in HTML");
    command->add_option("FILE", _input, anyInput)->required();
    command->add_option("-o,--output", _output, anyOutput)->required();
    addServedOptions(*command);
    command->footer("Example:\n  tarnoMapping html shelf.yaml -o shelf.html");
    command->callback([this] { writeOutput(htmlWriter::write(served(_input))); });
}

void Commands::addPrometheus(CLI::App &app)
{
    CLI::App *const command =
        app.add_subcommand("prometheus", "Write a module for the Prometheus SNMP exporter");
    command->add_option("FILE", _input, anyInput)->required();
    command->add_option("-o,--output", _output, anyOutput)->required();
    addServedOptions(*command);
    command
        ->add_option("--exporter", _exporter,
                     "The newest of these releases that is not newer than the exporter")
        ->capture_default_str()
        ->check(CLI::IsMember(prometheusWriter::releases));
    CLI::Option *const rules = command->add_flag(
        "--rules", _writeRules, "Write alerting rules for the metrics of the module instead");
    command
        ->add_option("--job", _jobs,
                     "A job that scrapes the devices; without it the rules hold for any job")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->needs(rules);
    command->footer("Examples:\n  tarnoMapping prometheus shelf.yaml --exporter 0.25 -o snmp.yml\n"
                    "  tarnoMapping prometheus shelf.yaml --rules --job shelf -o shelf.rules.yml");
    command->callback([this] {
        const ServedMapping mapping = served(_input);
        writeOutput(_writeRules
                        ? prometheusRules::write(mapping, {.release = _exporter, .jobs = _jobs})
                        : prometheusWriter::write(mapping, _exporter));
    });
}

void Commands::addTelegraf(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("telegraf", "Write an SNMP input for Telegraf");
    command->add_option("FILE", _input, anyInput)->required();
    command->add_option("-o,--output", _output, anyOutput)->required();
    addServedOptions(*command);
    command->footer("Example:\n  tarnoMapping telegraf shelf.yaml -o shelf.conf");
    command->callback([this] { writeOutput(telegrafWriter::write(served(_input))); });
}

void Commands::addZabbix(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("zabbix", "Write a template for Zabbix");
    command->add_option("FILE", _input, anyInput)->required();
    command->add_option("-o,--output", _output, anyOutput)->required();
    addServedOptions(*command);
    command->add_flag("--no-fallback", _hasNoFallback,
                      "Leave out the item snmptrap.fallback, of which a host can have only one");
    command->footer("Example:\n  tarnoMapping zabbix shelf.yaml -o shelf-template.yaml");
    command->callback([this] {
        writeOutput(zabbixWriter::write(served(_input), {.hasFallback = !_hasNoFallback}));
    });
}

void Commands::addAlarms(CLI::App &app)
{
    CLI::App *const command =
        app.add_subcommand("alarms", "Write the alarms that the master agent watches");
    command->add_option("FILE", _input, anyInput)->required();
    command->add_option("-o,--output", _output, anyOutput)->required();
    addServedOptions(*command);
    command->footer("Standard error has the load on the device, and alarms that are left out.\n"
                    "Example:\n  tarnoMapping alarms shelf.yaml -o alarms.conf");
    command->callback([this] { writeAlarms(); });
}

void Commands::writeAlarms() const
{
    const ServedMapping served = this->served(_input);
    const AlarmConfiguration configuration = alarmsWriter::write(served);
    writeOutput(configuration.text);
    remark(configuration.remarks);
    const double exchanges = alarmLoad::exchangesPerMinute(served);
    std::cerr << (alarmLoad::share(exchanges) > alarmLoad::mostShare ? "warning: " : "note: ")
              << alarmLoad::text(exchanges) << '\n';
}

void Commands::addDiff(CLI::App &app)
{
    CLI::App *const command =
        app.add_subcommand("diff", "List the differences that a manager notices");
    command->add_option("OLD", _input, anyInput)->required();
    command->add_option("NEW", _otherInput, anyInput)->required();
    addServedOptions(*command);
    command->add_flag("--json", _asJson, "Output for programs");
    command
        ->add_option("--exit-code", _exitCode,
                     "Differences that end with status 1: any, breaking (default) or none")
        ->check(CLI::IsMember({"any", "breaking", "none"}));
    command->footer(
        "An exclamation mark precedes changes that break a manager of the old mapping.\n"
        "Exit status: 0 no such differences, 1 differences selected by --exit-code, 2 an input "
        "cannot "
        "be read.\n"
        "Example:\n  tarnoMapping diff old.db shelf.yaml --exit-code any");
    command->callback([this] {
        const auto changes = mappingDiff::compare(served(_input), served(_otherInput));
        atomicFile::write("-", _asJson ? mappingDiff::json(changes) : mappingDiff::text(changes));
        const bool counts = _exitCode == "any"
                                ? !changes.empty()
                                : _exitCode == "breaking" && mappingDiff::breaksManagers(changes);
        _exitStatus = counts ? 1 : 0;
    });
}

void Commands::addSimulate(CLI::App &app)
{
    CLI::App *const command =
        app.add_subcommand("simulate", "Write an object file for tarnoDeviceSim");
    command->add_option("FILE", _input, anyInput)->required();
    command->add_option("-o,--output", _output, anyOutput)->required();
    addServedOptions(*command);
    command->footer("Example:\n  tarnoMapping simulate shelf.yaml -o objects.yaml\n"
                    "  tarnoDeviceSim objects.yaml");
    command->callback([this] {
        writeOutput(simulatorObjects::write(MappingInput(_input).database(),
                                            {.base = _base, .rows = _rows}));
    });
}

void Commands::addVerify(CLI::App &app)
{
    _pVerify = std::make_unique<VerifyCommand>(app, _exitStatus);
}

void Commands::addHelp(CLI::App &app)
{
    CLI::App *const command = app.add_subcommand("help", "Show the help of a command");
    command->add_option("COMMAND", _command, "The command; default: all commands");
    command->footer("Example:\n  tarnoMapping help build");
    command->callback([this, &app] {
        if (_command.empty()) {
            atomicFile::write("-", app.get_formatter()->make_help(&app, app.get_name(),
                                                                  CLI::AppFormatMode::Normal));
            return;
        }
        requireKnown(_command);
        atomicFile::write("-", app.get_subcommand(_command)->help(app.get_name()));
    });
}
