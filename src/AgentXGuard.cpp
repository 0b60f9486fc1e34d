#include "AgentXGuard.h"

#include "Interposition.h"
#include "SetSteps.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

// The master agent repeats a request that is not answered within a second. The library's subagent
// takes a repeated test of a set for a second set of the same transaction, frees it along with the
// first and keeps using it; and it answers a set in a session that has been closed in the meantime.
// Either one crashes the process. So this file defines those two functions of the library again:
// the dynamic linker prefers the program's, and they pass on what the library can handle.

extern "C" {
int handle_agentx_packet(int operation, netsnmp_session *session, int requestId, netsnmp_pdu *pdu,
                         void *magic);
int handle_subagent_set_response(int operation, netsnmp_session *session, int requestId,
                                 netsnmp_pdu *pdu, void *magic);
}

namespace
{
// RFC 2741, 6.1: the first of the PDU types that make up a set. Of the types above it a master
// agent sends only responses, and a second response to the same request is useless.
constexpr int testSet = 8;

constexpr int handled = 1;

const Interposition packetHandler("handle_agentx_packet",
                                  reinterpret_cast<const void *>(&handle_agentx_packet));
const Interposition
    setResponseHandler("handle_subagent_set_response",
                       reinterpret_cast<const void *>(&handle_subagent_set_response));

SetSteps setSteps;

int passOn(const Interposition &handler, int operation, netsnmp_session *session, int requestId,
           netsnmp_pdu *pdu, void *magic)
{
    // A library that is linked into the program has no function to be found.
    if (handler.original() == nullptr) {
        return handled;
    }
    const auto original = reinterpret_cast<netsnmp_callback>(handler.original());
    return original(operation, session, requestId, pdu, magic);
}
} // namespace

bool agentXGuard::isInPlace()
{
    // No build of the library binds only one of the two. GCOVR_EXCL_BR_START
    return packetHandler.isInEffect() && setResponseHandler.isInEffect();
    // GCOVR_EXCL_BR_STOP
}

/// Gets what comes from the master agent.
int handle_agentx_packet(int operation, netsnmp_session *session, int requestId, netsnmp_pdu *pdu,
                         void *magic)
{
    if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) {
        setSteps.forgetAll();
    } else if (pdu->command >= testSet &&
               setSteps.isRepeated(session, pdu->transid, pdu->command)) {
        return handled;
    }
    return passOn(packetHandler, operation, session, requestId, pdu, magic);
}

/// Gets the outcome of a step of a set, on its way to the master agent.
int handle_subagent_set_response(int operation, netsnmp_session *session, int requestId,
                                 netsnmp_pdu *pdu, void *magic)
{
    if (!setSteps.knows(pdu->transid)) {
        return handled;
    }
    return passOn(setResponseHandler, operation, session, requestId, pdu, magic);
}
