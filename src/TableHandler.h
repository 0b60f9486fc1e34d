#pragma once

#include "DeviceValue.h"
#include "Mutex.h"
#include "SnmpTableStrategy.h"

#include <cstdint>
#include <optional>
#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

class SnmpDataBase;
struct SnmpTableOid;

/// Serves one SNMP table whose cells are device objects, through the agent library's table
/// iterator. The library's callbacks carry no object, so all state of a table is class-wide and a
/// class serves one table: a second table needs a second `Derived`, which gets its own state. Runs
/// on the library's thread. The lock keeps a change of the rows from overlapping another change or
/// the start of a walk. A walk in progress follows the rows without it, so rows must not change
/// between its first and last callback. `Derived` defines `registrationName` and `sourcePath`.
template <class Derived>
class TableHandler : public SnmpTableStrategy
{
public:
    /// The database must outlive the class's registration.
    explicit TableHandler(SnmpDataBase &database);
    ~TableHandler() override;
    TableHandler(const TableHandler &) = delete;
    TableHandler &operator=(const TableHandler &) = delete;

    void add_index(int index) override;
    void remove_index(int index) override;
    /// A node whose OID leaves no room for a cell's is logged and not registered.
    void init_table(std::uint8_t flag, const std::string &tableNode) override;

    /// The callbacks of the table iterator. The loop context is a copy of the row's node, including
    /// `next`; the data context, one for each request, is another copy.
    static netsnmp_variable_list *get_first_data_point(void **loop_context, void **data_context,
                                                       netsnmp_variable_list *index_data,
                                                       netsnmp_iterator_info *iterator);
    static netsnmp_variable_list *get_next_data_point(void **loop_context, void **data_context,
                                                      netsnmp_variable_list *index_data,
                                                      netsnmp_iterator_info *iterator);
    static void *make_data_context(void *loop_context, netsnmp_iterator_info *iterator);
    static void free_data_context(void *data_context, netsnmp_iterator_info *iterator);
    static void free_loop_context_at_end(void *loop_context, netsnmp_iterator_info *iterator);
    /// Answers every request of the list according to its mode; returns an SNMP error status.
    static int handle_table_request(netsnmp_mib_handler *handler,
                                    netsnmp_handler_registration *registration,
                                    netsnmp_agent_request_info *requestInfo,
                                    netsnmp_request_info *requests);

protected:
    static inline std::optional<Mutex> s_mutex;
    static inline IndexNode *s_rowHead = nullptr;
    static inline SnmpDataBase *s_database = nullptr;
    static inline std::string s_tableNode;
    static inline DeviceValue s_value;
    static inline std::uint8_t s_tableFlag = 0;

private:
    static int serve(int mode, const netsnmp_request_info &first, netsnmp_request_info &request);
    static int serveCell(int mode, const netsnmp_request_info &first, netsnmp_variable_list &answer,
                         const SnmpTableOid &cell);
    static bool readCell(const SnmpTableOid &cell);
    static int writeCell(const SnmpTableOid &cell, const netsnmp_variable_list &newValue);
};
