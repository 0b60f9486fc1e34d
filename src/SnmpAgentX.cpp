#include "SnmpAgentX.h"

#include "BaseOid.h"
#include "Configuration.h"
#include "DataManage.h"
#include "DeviceObjects.h"
#include "ManagerValue.h"
#include "SnmpDataBase.h"
#include "TableHandlerOne.h"
#include "TableHandlerTwo.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <dirent.h>

namespace
{
constexpr std::uint8_t scalarNameLength = 3;
/// Magic numbers have 8 bits: with more scalars than this some share one.
constexpr std::size_t distinctMagics = 255;
constexpr std::size_t magicPeriod = 256;
constexpr std::size_t longestSetText = sizeof(DeviceValue::data);

constexpr const char *guardName = "scalarGuard";

constexpr std::uint8_t fourRows = 0;
constexpr std::uint8_t eightRows = 1;

constexpr const char *sharedMibDirectory = "/home/snmp/share/snmp";
constexpr const char *settingsDirectory = "/etc/snmp";

struct variable3 entryOf(const SnmpObjOid &scalar)
{
    return {.magic = scalar.magic,
            .type = static_cast<u_char>(scalar.asnType),
            .acl = scalar.access,
            .findVar = SnmpAgentX::read_Var,
            .namelen = scalarNameLength,
            .name = {scalar.oidArc1, scalar.oidArc2, scalar.oidArc3}};
}

bool endsWithArcs(const struct variable &vp, const SnmpObjOid &scalar)
{
    if (vp.namelen < scalarNameLength) {
        return false;
    }
    const oid *const arcs = vp.name + vp.namelen - scalarNameLength;
    return arcs[0] == scalar.oidArc1 && arcs[1] == scalar.oidArc2 && arcs[2] == scalar.oidArc3;
}

/// The number of rows of every table, as the device is configured.
int tableRowCount()
{
    DeviceValue value;
    if (DataManage::getInstance()->getObjValue(deviceObject::tableRows, value) != 0) {
        return 0;
    }
    switch (value.data[0]) {
    case fourRows:
        return 4;
    case eightRows:
        return 8;
    default:
        return 0;
    }
}

bool directoryExists(const char *path)
{
    DIR *const directory = opendir(path);
    if (directory == nullptr) {
        return false;
    }
    closedir(directory);
    return true;
}

void runCommand(const std::string &command)
{
    // The commands and their effect are the interface: a command that fails reports so itself on
    // standard error.
    [[maybe_unused]] const int status = std::system(command.c_str()); // NOLINT(cert-env33-c)
}
} // namespace

SnmpAgentX *SnmpAgentX::getInstance()
{
    if (s_instance == nullptr) {
        s_instance = new SnmpAgentX;
    }
    return s_instance;
}

SnmpAgentX *SnmpAgentX::getInstance(const char *dbPath)
{
    if (s_instance == nullptr) {
        auto registry = std::unique_ptr<SnmpAgentX>(new SnmpAgentX);
        database = std::make_unique<SnmpDataBase>(dbPath).release();
        s_instance = registry.release();
    }
    return s_instance;
}

SnmpAgentX::~SnmpAgentX()
{
    delete database;
    database = nullptr;
}

void SnmpAgentX::registerScalarObjects()
{
    database->getSnmpObjOidList(scalarObjs);
    const std::size_t count = scalarObjs.size();
    std::printf("objCount=%d\n", static_cast<int>(count));
    std::vector<struct variable3> entries;
    entries.reserve(count);
    for (SnmpObjOid &scalar : scalarObjs) {
        scalar.magic = static_cast<std::uint8_t>(entries.size() + 1);
        entries.push_back(entryOf(scalar));
    }
    // The device's text has at most as many numbers as bytes, so there is always room for the arcs.
    const std::vector<oid> base =
        toOid(readBaseOidText(), MAX_OID_LEN - scalarNameLength - 1).value_or(std::vector<oid>{});
    // The library walks the entries through this pointer, in steps of the given size.
    register_mib(configuration::deviceModel, reinterpret_cast<struct variable *>(entries.data()),
                 sizeof(struct variable3), count, base.data(), base.size());
    guardScalars();
}

/// The library does not return the registrations of old-style variables, so they are looked up.
void SnmpAgentX::guardScalars()
{
    for (netsnmp_subtree *subtree = netsnmp_subtree_find_first(""); subtree != nullptr;
         subtree = subtree->next) {
        const auto *const variable = static_cast<const struct variable *>(
            netsnmp_find_handler_data_by_name(subtree->reginfo, OLD_API_NAME));
        if (variable != nullptr && variable->findVar == read_Var) {
            netsnmp_inject_handler(subtree->reginfo,
                                   netsnmp_create_handler(guardName, guard_Scalar));
        }
    }
}

std::int32_t SnmpAgentX::registerTableObjects()
{
    addHandler(std::make_unique<TableHandlerOne>(*database));
    addHandler(std::make_unique<TableHandlerTwo>(*database));
    std::vector<SnmpTableInfo> tables;
    database->getSnmpTableList(tables);
    for (const SnmpTableInfo &table : tables) {
        if (!tableHandlers.empty()) {
            registerTable(table);
        }
    }
    return 0;
}

void SnmpAgentX::addHandler(std::unique_ptr<SnmpTableStrategy> handler)
{
    // Grow the list first: if that throws, the handler is still owned.
    tableHandlers.push_back(nullptr);
    tableHandlers.back() = handler.release();
}

void SnmpAgentX::registerTable(const SnmpTableInfo &table)
{
    SnmpTableStrategy *const handler = tableHandlers.front();
    tableMap.try_emplace(table.tableNode, handler);
    handler->init_table(0, table.tableNode);
    const int rows = tableRowCount();
    std::printf("getFixDeviceNum(ancestorNode[i].ancestorNode)=%d\n", rows);
    for (int row = 1; row <= rows; ++row) {
        handler->add_index(row);
    }
    tableHandlers.pop_front();
}

std::int32_t SnmpAgentX::startSnmpd(const char *confPath, const char *udpPort,
                                    const char *transport)
{
    if (!directoryExists(sharedMibDirectory)) {
        runCommand(std::string("mkdir -p ") + sharedMibDirectory);
        runCommand(std::string("cp -r ") + configuration::mibDirectory + ' ' + sharedMibDirectory);
    }
    if (!directoryExists(settingsDirectory)) {
        runCommand(std::string("mkdir ") + settingsDirectory);
    }
    const std::string command = std::string(configuration::applicationDirectory) + "/snmpd -x " +
                                transport + " -f -Le -c " + confPath + " UDP:" + udpPort + " &";
    runCommand("killall -9 snmpd");
    std::printf("cmd->%s\n", command.c_str());
    runCommand(command);
    return 0;
}

u_char *SnmpAgentX::read_Var(struct variable *vp, oid *name, size_t *length, int exact,
                             size_t *var_len, WriteMethod **write_method)
try {
    std::array<oid, MAX_OID_LEN + 1> instance{};
    const std::size_t nameLength = std::min<std::size_t>(vp->namelen, MAX_OID_LEN - 1);
    std::copy_n(vp->name, nameLength, instance.begin());
    const std::size_t instanceLength = nameLength + 1;
    const int order = snmp_oid_compare(name, *length, instance.data(), instanceLength);
    if (exact != 0 ? order != 0 : order >= 0) {
        return nullptr;
    }
    std::copy_n(instance.begin(), instanceLength, name);
    *length = instanceLength;
    *write_method = nullptr;
    *var_len = sizeof(std::int32_t);
    const SnmpObjOid *const scalar = findScalar(*vp);
    if (scalar == nullptr) {
        return nullptr;
    }
    if ((scalar->access & scalarWriteBit) != 0) {
        pendingObj = SnmpObjOid(*scalar);
        *write_method = write_Var;
    }
    return serveScalar(*scalar, var_len);

} catch (...) {
    memoryRanOut = true;
    return nullptr;
}

int SnmpAgentX::guard_Scalar(netsnmp_mib_handler *handler,
                             netsnmp_handler_registration *registration,
                             netsnmp_agent_request_info *requestInfo,
                             netsnmp_request_info *requests)
{
    memoryRanOut = false;
    const int status = netsnmp_call_next_handler(handler, registration, requestInfo, requests);
    return memoryRanOut ? netsnmp_set_all_requests_error(requestInfo, requests, SNMP_ERR_GENERR)
                        : status;
}

/// The scalar behind a variable. If there are more scalars than magic numbers, some share one: then
/// it is the one whose arcs end the variable's name.
const SnmpObjOid *SnmpAgentX::findScalar(const struct variable &vp)
{
    const bool magicIsUnique = scalarObjs.size() <= distinctMagics;
    const auto first = static_cast<std::uint8_t>(vp.magic - 1);
    for (std::size_t k = first; k < scalarObjs.size(); k += magicPeriod) {
        if (magicIsUnique || endsWithArcs(vp, scalarObjs[k])) {
            return &scalarObjs[k];
        }
    }
    return nullptr;
}

u_char *SnmpAgentX::serveScalar(const SnmpObjOid &scalar, size_t *var_len)
{
    DeviceValue value;
    value.oid = scalar.objId;
    if (DataManage::getInstance()->select(value, *database) == -1) {
        std::printf("SnmpAgentX::read_Var  getObjValue ERROR  oid = %X !!!!!!!!!!!\n",
                    scalar.objId);
        return nullptr;
    }
    *var_len = scalar.asnType == ASN_INTEGER
                   ? sizeof(std::int32_t)
                   : managerValue::servedLength(static_cast<std::uint8_t>(scalar.asnType), value);
    answer.fill(0);
    std::copy_n(value.data.begin(), *var_len, answer.begin());
    return answer.data();
}

int SnmpAgentX::write_Var(int action, u_char *var_val, u_char var_val_type, size_t var_val_len,
                          u_char * /*statP*/, oid * /*name*/, size_t /*name_len*/)
try {
    pendingValue.oid = pendingObj.objId;
    pendingValue.attr = pendingObj.valueType;
    if (action != ACTION) {
        return SNMP_ERR_NOERROR;
    }
    DeviceValue value = pendingValue;
    if (var_val_type == ASN_INTEGER) {
        managerValue::takeInteger(var_val, var_val_len, value);
    } else if (managerValue::textLength(var_val, var_val_len) > longestSetText) {
        return SNMP_ERR_BADVALUE;
    } else {
        managerValue::takeText(var_val, var_val_len, value);
    }
    if (DataManage::getInstance()->setSnmpValue(value, *database) == -1) {
        return SNMP_ERR_BADVALUE;
    }
    std::printf("set 'ACTION'  oid = %x   set length = %d..\n", pendingObj.objId,
                static_cast<int>(var_val_len));
    return SNMP_ERR_NOERROR;

} catch (...) {
    return SNMP_ERR_GENERR;
}
