#include "agent/AgentFixture.h"

#include "DataManage.h"
#include "support/CapturedOutput.h"
#include "support/LinkQueues.h"
#include "support/SystemCalls.h"

#include <cstdlib>

#include <unistd.h>

AgentFixture::AgentFixture()
{
    systemCalls::reset();
    linkQueues::remove();
    {
        const CapturedOutput linkOpened;
        DataManage::getInstance();
    }
    _pDevice = std::make_unique<ScriptedDevice>();
    agentLibrary::start();
}

AgentFixture::~AgentFixture()
{
    agentLibrary::start();
    systemCalls::reset();
}

Name AgentFixture::defaultBase()
{
    return {1, 3, 6, 1, 4, 1, 32473, 8, 2, 2, 3, 8};
}

void AgentFixture::becomes(const char *program) const
{
    const std::string nowhere = _files.file("none");
    setenv("SNMPCONFPATH", nowhere.c_str(), 1);
    setenv("SNMP_PERSISTENT_DIR", nowhere.c_str(), 1);
    const std::string master = "unix:" + nowhere;
    execl(program, "tarnoSnmp", "-d", _mapping.path(), "-x", master.c_str(), "-X", "-n", "faults",
          nullptr);
    std::abort();
}
