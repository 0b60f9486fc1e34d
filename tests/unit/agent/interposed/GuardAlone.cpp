#include "AgentXGuard.h"

#include <cstdio>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

// Sends the guard a message of each kind and prints whether it is in place.

extern "C" {
int handle_agentx_packet(int operation, netsnmp_session *session, int requestId, netsnmp_pdu *pdu,
                         void *magic);
int handle_subagent_set_response(int operation, netsnmp_session *session, int requestId,
                                 netsnmp_pdu *pdu, void *magic);
}

namespace
{
constexpr int testSet = 8;
} // namespace

int main()
{
    netsnmp_pdu pdu{};
    pdu.command = testSet;
    pdu.transid = 71;
    const int packet =
        handle_agentx_packet(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, nullptr, 0, &pdu, nullptr);
    const int response = handle_subagent_set_response(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, nullptr,
                                                      0, &pdu, nullptr);
    std::fprintf(stderr, "in place: %d, handled: %d %d\n",
                 static_cast<int>(agentXGuard::isInPlace()), packet, response);
    return 0;
}
