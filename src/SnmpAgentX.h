#pragma once

#include "DeviceValue.h"
#include "MappingRecords.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

class SnmpDataBase;
class SnmpTableStrategy;

/// The process-wide registry: owns the mapping, registers every scalar and the first two tables of
/// it with the agent library, serves the scalars, and starts the master agent where it is asked to.
/// What it makes lives as long as the process: the library's callbacks find everything class-wide.
/// One thread.
class SnmpAgentX
{
public:
    /// The one instance; the first call makes it. With a path, that first call also loads the
    /// mapping.
    static SnmpAgentX *getInstance();
    static SnmpAgentX *getInstance(const char *dbPath);

    virtual ~SnmpAgentX();
    SnmpAgentX(const SnmpAgentX &) = delete;
    SnmpAgentX &operator=(const SnmpAgentX &) = delete;

    /// Registers all scalars of the mapping below the base OID that the device gives.
    /// Once, between init_agent and init_snmp.
    static void registerScalarObjects();

    /// Registers the first two tables of the mapping and gives them the rows that the device's
    /// configuration calls for. Once, after the scalars. Always 0.
    std::int32_t registerTableObjects();

    /// Prepares the directories of the master agent, ends any that runs and starts one in the
    /// background. The settings go into a shell command as they are. Failures of the commands are
    /// theirs to tell. Always 0.
    static std::int32_t startSnmpd(const char *confPath, const char *udpPort,
                                   const char *transport);

    /// Find-variable function of every scalar (old-style variables of the agent library): null
    /// when the name does not match, the object is unreadable or memory ran out, for which
    /// `guard_Scalar` then answers a general error. The bytes stay until the next call.
    static u_char *read_Var(struct variable *vp, oid *name, size_t *length, int exact,
                            size_t *var_len, WriteMethod **write_method);

    /// Write method of every writable scalar: an SNMP error status. Acts on the writable scalar
    /// that `read_Var` served last and only in the ACTION phase; there is no undo.
    static int write_Var(int action, u_char *var_val, u_char var_val_type, size_t var_val_len,
                         u_char *statP, oid *name, size_t name_len);

    /// Handler above every scalar: what `read_Var` has no way of returning becomes the status of
    /// the requests.
    static int guard_Scalar(netsnmp_mib_handler *handler,
                            netsnmp_handler_registration *registration,
                            netsnmp_agent_request_info *requestInfo,
                            netsnmp_request_info *requests);

protected:
    SnmpAgentX() = default;

    static inline DeviceValue pendingValue;
    static inline SnmpObjOid pendingObj;
    static inline SnmpDataBase *database = nullptr;
    alignas(long) static inline std::array<u_char, 128> answer{};
    /// In ascending object id; the scalar at position k has the magic number k + 1.
    static inline std::vector<SnmpObjOid> scalarObjs;
    static inline SnmpAgentX *s_instance = nullptr;
    /// Set by `read_Var` for the handler above it.
    static inline bool memoryRanOut = false;

    /// The handler of each table, by its node.
    std::map<std::string, SnmpTableStrategy *> tableMap;

private:
    static void guardScalars();
    static const SnmpObjOid *findScalar(const struct variable &vp);
    static u_char *serveScalar(const SnmpObjOid &scalar, size_t *var_len);
    void addHandler(std::unique_ptr<SnmpTableStrategy> handler);
    void registerTable(const SnmpTableInfo &table);

    /// Handlers that have no table yet. Not owned: they stay registered as long as the process
    /// lives.
    std::list<SnmpTableStrategy *> tableHandlers;
};
