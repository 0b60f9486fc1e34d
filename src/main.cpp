#include "AgentXGuard.h"
#include "CommandLine.h"
#include "DataManage.h"
#include "SnmpAgentX.h"
#include "Supervision.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>

#include <unistd.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace
{
constexpr const char *masterModeAgentName = "snmpAgentX";
constexpr unsigned masterStartSeconds = 5;
constexpr int block = 1;
constexpr int defaultCacheSize = -1;

/// Process-wide settings that a master agent started by this process must not inherit.
void settleProcess()
{
    // If the master closes its socket before it has read an answer, this process must survive.
    std::signal(SIGPIPE, SIG_IGN);
    // The agent uses no MIB names: loading the MIB files would only slow down the start.
    setenv("MIBS", "", 0);
}

void warnIfSetsAreNotGuarded()
{
    if (!agentXGuard::isInPlace()) {
        std::fputs("tarnoSnmp: slow sets are not guarded: this build of the SNMP library bypasses "
                   "the agent's guard, so a set that takes longer than 1 s can crash the agent\n",
                   stderr);
    }
}

void takeSubagentRole(const char *transport)
{
    std::puts("netsnmp_ds_set_boolean....");
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, transport);
}

[[noreturn]] void serve(const char *agentName, Supervision &supervision)
{
    warnIfSetsAreNotGuarded();
    supervision.waitsForDevice();
    SnmpAgentX::registerScalarObjects();
    SnmpAgentX::getInstance()->registerTableObjects();
    // Without this cache the library searches all registrations for every object. It is documented
    // for master agents only, but works in a subagent: each registration empties the cache and
    // switches it off, so it never holds a stale entry. That is also why it is switched on after
    // the registrations.
    netsnmp_set_lookup_cache_size(defaultCacheSize);
    supervision.waitsForMaster();
    init_snmp(agentName);
    std::puts("init_snmp end....");
    // From here on, whenever the agent waits for the device, a manager is waiting too.
    DataManage *const link = DataManage::getInstance();
    link->limitWaits();
    supervision.serves(*link);
    for (;;) {
        supervision.report();
        agent_check_and_process(block);
        link->disarmTimer();
    }
}

int runAsSubagent(const CommandLine &commandLine, Supervision &supervision)
{
    if (const auto exitStatus = commandLine.checkSubagent()) {
        return *exitStatus;
    }
    const Settings &settings = commandLine.settings();
    commandLine.printSettings();
    settleProcess();
    takeSubagentRole(settings.transport);
    const int result = init_agent(settings.agentXName);
    std::printf("init_agent rc=%d....\n", result);
    SnmpAgentX::getInstance(settings.dbPath);
    serve(settings.agentXName, supervision);
}

int runAsMaster(const CommandLine &commandLine, Supervision &supervision)
{
    const Settings &settings = commandLine.settings();
    commandLine.printSettings();
    if (const auto exitStatus = commandLine.checkMaster()) {
        return *exitStatus;
    }
    std::puts("startSnmpd....");
    SnmpAgentX::getInstance(settings.dbPath);
    SnmpAgentX::startSnmpd(settings.confPath, settings.udpPort, settings.transport);
    settleProcess();
    // Nothing signals that the master agent has opened its AgentX socket.
    std::puts("wating for snmpd");
    sleep(masterStartSeconds);
    takeSubagentRole(settings.transport);
    init_agent(masterModeAgentName);
    serve(masterModeAgentName, supervision);
}
} // namespace

int main(int argc, char *argv[])
try {
    // Line-buffered even into a file or a pipe, so that readers see each line at once.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    CommandLine commandLine;
    if (const auto exitStatus = commandLine.parse(argc, argv)) {
        return *exitStatus;
    }
    if (const auto exitStatus = commandLine.checkCommon()) {
        return *exitStatus;
    }
    Supervision supervision;
    return commandLine.settings().isSubagent ? runAsSubagent(commandLine, supervision)
                                             : runAsMaster(commandLine, supervision);

} catch (const std::bad_alloc &) { // GCOVR_EXCL_BR_LINE
    // Only start-up can throw, and only if memory runs out. The service manager restarts the
    // process.
    std::fputs("tarnoSnmp: out of memory\n", stderr);
    return EXIT_FAILURE;
}
