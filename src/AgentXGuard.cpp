#include "SetSteps.h"

#include <dlfcn.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

// The master agent repeats a request that is not answered within a second. The library's subagent
// starts a repeated test of a set as a second set of the same transaction, frees it with the first
// and goes on using it; and it answers a set in a session that was closed meanwhile. Both end the
// process. So these two functions of the library are defined here once more: the dynamic linker
// takes the program's own first, and they hand on what the library can bear.

namespace
{
// RFC 2741, 6.1: the types of the PDUs that make a set.
constexpr int testSet = 8;
constexpr int cleanupSet = 11;

constexpr int handled = 1;

SetSteps &setSteps()
{
    static SetSteps s_setSteps;
    return s_setSteps;
}

netsnmp_callback inLibrary(const char *name)
{
    return reinterpret_cast<netsnmp_callback>(dlsym(RTLD_NEXT, name));
}
} // namespace

extern "C" {
/// What comes from the master agent.
int handle_agentx_packet(int operation, netsnmp_session *session, int requestId, netsnmp_pdu *pdu,
                         void *magic)
{
    static const netsnmp_callback s_handle = inLibrary("handle_agentx_packet");
    if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) {
        setSteps().forgetAll();
    } else if (pdu->command >= testSet && pdu->command <= cleanupSet &&
               setSteps().isRepeated(session, pdu->transid, pdu->command)) {
        return handled;
    }
    return s_handle(operation, session, requestId, pdu, magic);
}

/// What a step of a set came to, on its way to the master agent.
int handle_subagent_set_response(int operation, netsnmp_session *session, int requestId,
                                 netsnmp_pdu *pdu, void *magic)
{
    static const netsnmp_callback s_handle = inLibrary("handle_subagent_set_response");
    if (operation == NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE && !setSteps().knows(pdu->transid)) {
        return handled;
    }
    return s_handle(operation, session, requestId, pdu, magic);
}
}
