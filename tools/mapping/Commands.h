#pragma once

#include "Findings.h"
#include "PrometheusWriter.h"
#include "ServedObjects.h"
#include "VerifyCommand.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

/// Every subcommand of tarnoMapping: its options, its help with an example, and its action. Parsing
/// runs the chosen one, which throws InputError on failure; `exitStatus` is then its exit status.
class Commands
{
public:
    explicit Commands(CLI::App &app);
    ~Commands() = default;
    Commands(const Commands &) = delete;
    Commands &operator=(const Commands &) = delete;

    /// Throws InputError for an unknown name; the message suggests the nearest command.
    void requireKnown(const std::string &name) const;

    [[nodiscard]] int exitStatus() const noexcept { return _exitStatus; }

private:
    void addBuild(CLI::App &app);
    void addImport(CLI::App &app);
    void addShow(CLI::App &app);
    void addCheck(CLI::App &app);
    void addHtml(CLI::App &app);
    void addMib(CLI::App &app);
    void addPrometheus(CLI::App &app);
    void addTelegraf(CLI::App &app);
    void addAlarms(CLI::App &app);
    void addZabbix(CLI::App &app);
    void addDiff(CLI::App &app);
    void addSimulate(CLI::App &app);
    void addVerify(CLI::App &app);
    void addHelp(CLI::App &app);

    void build();
    void check();
    [[nodiscard]] std::string report(const Findings &findings) const;

    /// The options of all subcommands that depend on what the agent serves.
    void addServedOptions(CLI::App &command);
    [[nodiscard]] ServedMapping served(const std::string &path) const;
    /// Writes the source of a MIB.
    void importMib() const;
    /// Lists what the mapping does not serve of a MIB.
    void checkMib();
    /// Writes the alarms that the master agent watches, and says what they cost.
    void writeAlarms() const;
    /// Writes the output file, which must not be the input.
    void writeOutput(std::string_view content) const;

    CLI::App &_app;
    std::string _input;
    std::string _otherInput;
    std::string _output;
    std::string _baseline;
    std::string _base;
    std::string _mib;
    std::string _exitCode = "breaking";
    std::string _command;
    std::string _exporter = prometheusWriter::releases.front();
    std::vector<std::string> _jobs;
    unsigned _rows = 0;
    bool _asJson = false;
    bool _asCsv = false;
    bool _asSarif = false;
    bool _isQuiet = false;
    bool _listRules = false;
    bool _writeRules = false;
    bool _isForced = false;
    bool _hasNoFallback = false;
    int _exitStatus = 0;
    std::unique_ptr<VerifyCommand> _pVerify;
};
