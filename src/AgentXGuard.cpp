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
// RFC 2741, 6.1: the first of the PDU types that make a set. Of the later types a master agent
// sends only responses, and a second one to the same request is of no use.
constexpr int testSet = 8;

constexpr int handled = 1;

netsnmp_callback inLibrary(const char *name) noexcept
{
    return reinterpret_cast<netsnmp_callback>(dlsym(RTLD_NEXT, name));
}

const netsnmp_callback handlePacket = inLibrary("handle_agentx_packet");
const netsnmp_callback handleSetResponse = inLibrary("handle_subagent_set_response");

SetSteps setSteps;
} // namespace

extern "C" {
/// What comes from the master agent.
int handle_agentx_packet(int operation, netsnmp_session *session, int requestId, netsnmp_pdu *pdu,
                         void *magic)
{
    if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) {
        setSteps.forgetAll();
    } else if (pdu->command >= testSet &&
               setSteps.isRepeated(session, pdu->transid, pdu->command)) {
        return handled;
    }
    return handlePacket(operation, session, requestId, pdu, magic);
}

/// What a step of a set came to, on its way to the master agent.
int handle_subagent_set_response(int operation, netsnmp_session *session, int requestId,
                                 netsnmp_pdu *pdu, void *magic)
{
    if (!setSteps.knows(pdu->transid)) {
        return handled;
    }
    return handleSetResponse(operation, session, requestId, pdu, magic);
}
}
