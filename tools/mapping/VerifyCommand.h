#pragma once

#include "DeviceReadings.h"
#include "Findings.h"
#include "MappingDatabase.h"
#include "SnmpManager.h"
#include "VerifyJudge.h"
#include "VerifyReport.h"

#include <string>

#include <CLI/CLI.hpp>

/// The subcommand `verify` of tarnoMapping: its options and its action. Parsing runs it; it throws
/// InputError on failure, and sets the exit status.
class VerifyCommand
{
public:
    /// Both must outlive the command.
    VerifyCommand(CLI::App &app, int &exitStatus);
    ~VerifyCommand() = default;
    VerifyCommand(const VerifyCommand &) = delete;
    VerifyCommand &operator=(const VerifyCommand &) = delete;

private:
    void addOptions(CLI::App &command);
    void verify();
    void report(const MappingInput &input);
    [[nodiscard]] DeviceReadings read(const VerifyJudge &judge) const;
    /// From the manager's side.
    void verifyAgent(const MappingInput &input);
    void print(Findings &findings, const VerifySummary &summary, const std::string &whole);

    int &_exitStatus;
    std::string _input;
    std::string _base;
    std::string _junit;
    SnmpSettings _snmp;
    unsigned _rows = 0;
    unsigned _limit = 300;
    bool _asJson = false;
    bool _asTable = false;
    bool _isWriting = false;
    bool _isProbing = false;
    bool _listRules = false;
};
