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

/// The process-wide registry: owns the mapping, registers every scalar and the first two tables
/// with the agent library, serves the scalars, and starts the master agent on request. State is
/// class-wide, because the library's callbacks carry no object, and lives as long as the process.
/// Single-threaded.
class SnmpAgentX
{
public:
    /// The singleton, created by the first call. If that call passes a path, it also loads the
    /// mapping.
    static SnmpAgentX *getInstance();
    static SnmpAgentX *getInstance(const char *dbPath);

    virtual ~SnmpAgentX();
    SnmpAgentX(const SnmpAgentX &) = delete;
    SnmpAgentX &operator=(const SnmpAgentX &) = delete;

    /// Registers all scalars of the mapping below the device's base OID. Once, between init_agent
    /// and init_snmp.
    static void registerScalarObjects();

    /// Registers the first two tables of the mapping with the rows that the device's configuration
    /// calls for. Once, after the scalars. Always 0.
    std::int32_t registerTableObjects();

    /// Prepares the directories of the master agent, kills any running one and starts a new one in
    /// the background. The settings are put into a shell command unquoted. A command that fails
    /// reports so itself. Always 0.
    static std::int32_t startSnmpd(const char *confPath, const char *udpPort,
                                   const char *transport);

    /// Find-variable function of every scalar (old-style variables of the agent library): null if
    /// the name does not match, the object is unreadable or an allocation failed; `guard_Scalar`
    /// reports the latter as genErr. The bytes are valid until the next call.
    static u_char *read_Var(struct variable *vp, oid *name, size_t *length, int exact,
                            size_t *var_len, WriteMethod **write_method);

    /// Write method of every writable scalar: returns an SNMP error status. Acts only in the ACTION
    /// phase and on the writable scalar that `read_Var` served last; there is no undo.
    static int write_Var(int action, u_char *var_val, u_char var_val_type, size_t var_val_len,
                         u_char *statP, oid *name, size_t name_len);

    /// Handler above every scalar: reports an allocation failure, which `read_Var` cannot return,
    /// as the status of the requests.
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

    /// Handlers that have no table yet. Not owned: they stay registered for the life of the
    /// process.
    std::list<SnmpTableStrategy *> tableHandlers;
};
