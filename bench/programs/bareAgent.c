/// The smallest possible subagent of the agent library: the same registrations as the measured
/// agent, and nothing between the library and the values. `objectValues.h` says where these are.

#include "benchObjects.h"
#include "benchOptions.h"
#include "objectValues.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/util_funcs/header_generic.h>

/// The library's own constant is unsigned, its statuses are not.
static const int noSuchInstance = (int)SNMP_NOSUCHINSTANCE;
static const char *const agentName = "bareAgent";
static const oid base[] = {BENCH_BASE};
static const oid table[] = {BENCH_BASE, 2, 1};
/// The rows that the iterator visits; row 0 ends them.
static long rows[benchRows + 1] = {1, 2, 3, 4, 5, 6, 7, 8, 0};

/// A variable's magic number has 8 bits, too few for a thousand scalars; the arcs identify them.
static uint16_t scalarIdOf(const oid *arcs)
{
    return benchScalarId((unsigned)((arcs[0] - 1) * benchScalarsPerGroup + arcs[1] - 1));
}

static int writeScalar(int action, u_char *newValue, u_char type, size_t length, u_char *current,
                       oid *name, size_t nameLength)
{
    (void)current;
    long value = 0;
    switch (action) {
    case RESERVE1:
        return type == ASN_INTEGER && length == sizeof value ? SNMP_ERR_NOERROR
                                                             : SNMP_ERR_WRONGTYPE;
    case ACTION:
        memcpy(&value, newValue, sizeof value);
        readForWidth(scalarIdOf(name + nameLength - 3));
        return writeValue(scalarIdOf(name + nameLength - 3), value) ? SNMP_ERR_NOERROR
                                                                    : SNMP_ERR_GENERR;
    default:
        return SNMP_ERR_NOERROR;
    }
}

static u_char *findScalar(struct variable *variable, oid *name, size_t *nameLength, int exact,
                          size_t *valueLength, WriteMethod **writeMethod)
{
    static long value;
    if (header_generic(variable, name, nameLength, exact, valueLength, writeMethod) ==
        MATCH_FAILED) {
        return NULL;
    }
    *writeMethod = writeScalar;
    const oid *const arcs = variable->name + variable->namelen - 2;
    return readValue(scalarIdOf(arcs), &value) ? (u_char *)&value : NULL;
}

static void registerScalars(unsigned count)
{
    struct variable3 *const variables = calloc(count, sizeof *variables);
    if (variables == NULL) {
        return;
    }
    for (unsigned index = 0; index < count; ++index) {
        variables[index] = (struct variable3){.magic = (u_char)index,
                                              .type = ASN_INTEGER,
                                              .acl = NETSNMP_OLDAPI_RWRITE,
                                              .findVar = findScalar,
                                              .namelen = 3};
        memcpy(variables[index].name, benchScalar(index).name + OID_LENGTH(base),
               sizeof variables[index].name);
    }
    register_mib("benchScalars", (const struct variable *)variables, sizeof *variables, count, base,
                 OID_LENGTH(base));
    free(variables);
}

static netsnmp_variable_list *useRow(long *row, void **loopContext, void **dataContext,
                                     netsnmp_variable_list *indexes)
{
    if (*row == 0) {
        return NULL;
    }
    *loopContext = row;
    *dataContext = row;
    snmp_set_var_typed_integer(indexes, ASN_INTEGER, *row);
    snmp_set_var_typed_integer(indexes->next_variable, ASN_INTEGER, 0);
    return indexes;
}

static netsnmp_variable_list *firstRow(void **loopContext, void **dataContext,
                                       netsnmp_variable_list *indexes,
                                       netsnmp_iterator_info *iterator)
{
    (void)iterator;
    return useRow(rows, loopContext, dataContext, indexes);
}

static netsnmp_variable_list *nextRow(void **loopContext, void **dataContext,
                                      netsnmp_variable_list *indexes,
                                      netsnmp_iterator_info *iterator)
{
    (void)iterator;
    long *const row = *loopContext;
    return useRow(row + 1, loopContext, dataContext, indexes);
}

static int getCell(netsnmp_variable_list *answer, unsigned column, long row)
{
    long value = row;
    if (column != benchRowColumn && !readValue(benchCellId(column, (unsigned)row), &value)) {
        return noSuchInstance;
    }
    snmp_set_var_typed_integer(answer, ASN_INTEGER, value);
    return SNMP_ERR_NOERROR;
}

static int setCell(int mode, netsnmp_variable_list *varbind, unsigned column, long row)
{
    const uint16_t id = benchCellId(column, (unsigned)row);
    if (column != benchRowColumn) {
        readForStep(id);
    }
    switch (mode) {
    case MODE_SET_RESERVE1:
        return column == benchRowColumn ? SNMP_ERR_NOTWRITABLE
                                        : netsnmp_check_vb_type(varbind, ASN_INTEGER);
    case MODE_SET_ACTION:
        readForWidth(id);
        return writeValue(id, *varbind->val.integer) ? SNMP_ERR_NOERROR : SNMP_ERR_GENERR;
    default:
        return SNMP_ERR_NOERROR;
    }
}

static int serveCell(int mode, netsnmp_variable_list *varbind, unsigned column, long row)
{
    return mode == MODE_GET ? getCell(varbind, column, row) : setCell(mode, varbind, column, row);
}

static int serveTable(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                      netsnmp_agent_request_info *requestInfo, netsnmp_request_info *requests)
{
    (void)handler;
    (void)registration;
    for (netsnmp_request_info *request = requests; request != NULL; request = request->next) {
        const long *const row = netsnmp_extract_iterator_context(request);
        const netsnmp_table_request_info *const cell = netsnmp_extract_table_info(request);
        const int status =
            row == NULL || cell == NULL
                ? noSuchInstance
                : serveCell(requestInfo->mode, request->requestvb, cell->colnum, *row);
        if (status != SNMP_ERR_NOERROR) {
            netsnmp_set_request_error(requestInfo, request, status);
        }
    }
    return SNMP_ERR_NOERROR;
}

static void registerTable(unsigned columns)
{
    netsnmp_table_registration_info *const info =
        SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
    netsnmp_iterator_info *const iterator = SNMP_MALLOC_TYPEDEF(netsnmp_iterator_info);
    if (info == NULL || iterator == NULL) {
        return;
    }
    netsnmp_table_helper_add_indexes(info, ASN_INTEGER, ASN_INTEGER, 0);
    info->min_column = benchRowColumn;
    info->max_column = benchRowColumn + columns;
    iterator->get_first_data_point = firstRow;
    iterator->get_next_data_point = nextRow;
    iterator->table_reginfo = info;
    netsnmp_register_table_iterator(netsnmp_create_handler_registration("benchTable", serveTable,
                                                                        table, OID_LENGTH(table),
                                                                        HANDLER_CAN_RWRITE),
                                    iterator);
}

int main(int argc, char **argv)
{
    const struct benchOptions options = readBenchOptions(argc, argv);
    if (options.address == NULL) {
        refuseBenchOptions(argv[0]);
    }
    if (!openValues(&options)) {
        perror(argv[0]);
        return EXIT_FAILURE;
    }
    signal(SIGPIPE, SIG_IGN);
    setenv("MIBS", "", 0);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, options.address);
    init_agent(agentName);
    registerScalars(options.scalars);
    registerTable(options.columns);
    init_snmp(agentName);
    for (;;) {
        agent_check_and_process(1);
    }
}
