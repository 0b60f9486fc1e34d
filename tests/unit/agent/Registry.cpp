#include "agent/Registry.h"

#include "SnmpDataBase.h"

#include <list>

const std::map<std::string, SnmpTableStrategy *> &Registry::tables()
{
    return s_instance->*(&Registry::tableMap);
}

void Registry::reset()
{
    // Table handlers live as long as the process, and so does what they refer to: a leak checker
    // that runs at the very end must still find it.
    static auto &s_retired = *new std::list<SnmpAgentX *>;
    s_retired.push_back(s_instance);
    s_instance = nullptr;
    delete database;
    database = nullptr;
    scalarObjs.clear();
    pendingObj = SnmpObjOid{};
    pendingValue = DeviceValue{};
    answer.fill(0xEE);
}
