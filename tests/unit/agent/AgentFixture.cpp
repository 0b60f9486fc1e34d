#include "agent/AgentFixture.h"

#include "DataManage.h"
#include "support/CapturedOutput.h"
#include "support/LinkQueues.h"
#include "support/SystemCalls.h"

AgentFixture::AgentFixture()
{
    systemCalls::reset();
    linkQueues::remove();
    {
        CapturedOutput linkOpened;
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
