#include "AgentXGuard.h"

#include "Interposition.h"
#include "SetSteps.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

// The master agent repeats a request that is not answered within a second. The library's subagent
// mistakes a repeated TestSet for a second set of the same transaction, frees it along with the
// first and keeps using it. It also answers sets in a session that has been closed in the meantime.
// Either one crashes the process, so this file redefines those two functions of the library. The
// dynamic linker prefers the program's definitions, and they forward only what the library handles
// safely.

extern "C" {
int handle_agentx_packet(int operation, netsnmp_session *session, int requestId, netsnmp_pdu *pdu,
                         void *magic);
int handle_subagent_set_response(int operation, netsnmp_session *session, int requestId,
                                 netsnmp_pdu *pdu, void *magic);
}

namespace
{
// RFC 2741, 6.1: the first of the PDU types that make up a set. Of the types above it a master
// agent sends only responses, and a repeated response is useless.
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
    // A library linked into the program has no original to find.
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

/// Called for everything that comes from the master agent, and for the end of the session.
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

/// Called with the outcome of a set step, before it goes to the master agent.
int handle_subagent_set_response(int operation, netsnmp_session *session, int requestId,
                                 netsnmp_pdu *pdu, void *magic)
{
    if (!setSteps.knows(pdu->transid)) {
        return handled;
    }
    return passOn(setResponseHandler, operation, session, requestId, pdu, magic);
}
