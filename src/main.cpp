#include "AgentXGuard.h"
#include "CommandLine.h"
#include "DataManage.h"
#include "SnmpAgentX.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

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

/// What must not be inherited by a master agent that this process launches.
void settleProcess()
{
    // A master that closes its socket while an answer is on its way must not end this process.
    std::signal(SIGPIPE, SIG_IGN);
    // No MIB name is ever used here: loading the MIB files would only cost start-up time.
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

[[noreturn]] void serve(const char *agentName)
{
    warnIfSetsAreNotGuarded();
    SnmpAgentX::registerScalarObjects();
    SnmpAgentX::getInstance()->registerTableObjects();
    // Without it the library looks for each object from the first one on, over all of them.
    netsnmp_set_lookup_cache_size(defaultCacheSize);
    init_snmp(agentName);
    std::puts("init_snmp end....");
    // From here a request of a manager depends on every wait for the device.
    DataManage *const link = DataManage::getInstance();
    link->limitWaits();
    for (;;) {
        agent_check_and_process(block);
        link->rest();
    }
}

int runAsSubagent(const CommandLine &commandLine)
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
    serve(settings.agentXName);
}

int runAsMaster(const CommandLine &commandLine)
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
    // The master agent tells nobody when its AgentX socket is open.
    std::puts("wating for snmpd");
    sleep(masterStartSeconds);
    takeSubagentRole(settings.transport);
    init_agent(masterModeAgentName);
    serve(masterModeAgentName);
}
} // namespace

int main(int argc, char *argv[])
try {
    // Line by line also into a file or a pipe: whoever reads it reads along.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    CommandLine commandLine;
    if (const auto exitStatus = commandLine.parse(argc, argv)) {
        return *exitStatus;
    }
    if (const auto exitStatus = commandLine.checkCommon()) {
        return *exitStatus;
    }
    return commandLine.settings().isSubagent ? runAsSubagent(commandLine)
                                             : runAsMaster(commandLine);

} catch (...) {
    // Only start-up comes here, and nothing but a want of memory throws in it. Whoever supervises
    // the process starts it again.
    std::fputs("tarnoSnmp: out of memory\n", stderr);
    return EXIT_FAILURE;
}
