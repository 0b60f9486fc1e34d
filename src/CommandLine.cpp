#include "CommandLine.h"

#include <cstdio>
#include <cstring>

#include <strings.h>
#include <unistd.h>

namespace
{
constexpr const char *noPath = "null:path";
constexpr const char *noPort = "null:port";
constexpr const char *noName = "null:name";

constexpr int success = 0;
constexpr int failure = 1;

constexpr const char *optionString = "c:d:L:hn:p:Xx:-:";

constexpr const char *usageText =
    "\n  -c FILE[,...]\t\tif master agent,read FILE(s) as snmpd \n"
    "\t\t\t  configuration file(s),snmpd.conf.\n"
    "  -d FILE[,...]\t\tRead FILE(s) as database configuration file(s)\n"
    "\t\t\t  the database contains the mapping relationship\n"
    "\t\t\t  between VQP4's OID and SNMP's OID.\n"
    "  -X\t\t\tRun as an AgentX subagent rather than as an\n"
    "\t\t\t  SNMP master agent.\n"
    "  -x ADDRESS\t\tUse ADDRESS as master agent listening address \n"
    "\t\t\t  or AgentX address.\n"
    "  -n NAME\t\tUse NAME as AgentX NAME,each subagent name\n"
    "\t\t\t  cannot be the same.\n"
    "  -p [PORT]\t\tif master agent,the snmp udp port.\n"
    "  -h, --help\t\tDisplay this usage message\n"
    "  --version\t\tShow tarnoSnmp version.\n";

bool isMissing(const char *setting, const char *sentinel)
{
    return std::strcmp(setting, sentinel) == 0;
}
} // namespace

void printUsage(const char *programName)
{
    std::printf("\nUsage:  %s [OPTIONS] [LISTENING ADDRESSES]", programName);
    std::puts(usageText);
}

Settings::Settings()
    : dbPath(noPath), confPath(noPath), transport(noPort), agentXName(noName), udpPort(noPort)
{
}

std::optional<int> CommandLine::parse(int argumentCount, char *const *arguments)
{
    _programName = arguments[0];
    for (;;) {
        const int option = getopt(argumentCount, arguments, optionString);
        if (option == -1) {
            return std::nullopt;
        }
        const auto exitStatus = apply(option, optarg);
        if (exitStatus) {
            return exitStatus;
        }
    }
}

std::optional<int> CommandLine::apply(int option, const char *argument)
{
    const bool takesArgument = std::strchr("cdnpx-", option) != nullptr;
    if (option == 'h' || (takesArgument && argument == nullptr)) {
        printUsage(_programName);
        return failure;
    }
    switch (option) {
    case 'c':
        _settings.confPath = argument;
        break;
    case 'd':
        _settings.dbPath = argument;
        break;
    case 'n':
        _settings.agentXName = argument;
        break;
    case 'p':
        _settings.udpPort = argument;
        break;
    case 'x':
        _settings.transport = argument;
        break;
    case 'X':
        _settings.isSubagent = true;
        break;
    case '-':
        return applyLongOption(argument);
    default:
        // -L takes an argument but is rejected: the name is reserved, its meaning undefined.
        return refuseOption();
    }
    return std::nullopt;
}

std::optional<int> CommandLine::applyLongOption(const char *argument)
{
    if (strcasecmp(argument, "help") == 0) {
        printUsage(_programName);
        return failure;
    }
    if (strcasecmp(argument, "version") == 0) {
        std::puts("tarnoSnmp version:  1.0.0");
        return success;
    }
    return std::nullopt;
}

std::optional<int> CommandLine::checkCommon() const
{
    if (isMissing(_settings.dbPath, noPath)) {
        return refuse("\nerror: no database path.");
    }
    if (isMissing(_settings.transport, noPort)) {
        return refuse("\nerror: no AgentX address.");
    }
    return std::nullopt;
}

std::optional<int> CommandLine::checkSubagent() const
{
    // The name is compared with the sentinel of an address: a name spelled like that is rejected,
    // and a missing name is not, so the agent runs under the name "null:name".
    if (isMissing(_settings.agentXName, noPort)) {
        return refuse("\nerror: no AgentX address.");
    }
    return std::nullopt;
}

std::optional<int> CommandLine::checkMaster() const
{
    if (isMissing(_settings.confPath, noPath)) {
        return refuse("\nerror: no snmpd.conf path.");
    }
    if (isMissing(_settings.udpPort, noPort)) {
        return refuse("\nerror: no snmp udp port.");
    }
    return std::nullopt;
}

void CommandLine::printSettings() const
{
    // The space after the last newline belongs to the text: it starts the next line.
    std::printf("\ndbFath=%s\ntransport=%s\nagentXName=%s\n ", _settings.dbPath,
                _settings.transport, _settings.agentXName);
}

int CommandLine::refuse(const char *message) const
{
    std::puts(message);
    printUsage(_programName);
    return failure;
}

int CommandLine::refuseOption() const
{
    std::printf("%s: error option\n", _programName);
    printUsage(_programName);
    return failure;
}
