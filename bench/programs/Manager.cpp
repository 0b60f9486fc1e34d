#include "Manager.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace
{
constexpr long answerWaitMicroseconds = 2'000'000;
constexpr int libraryOptions = NETSNMP_DS_LIBRARY_ID;
} // namespace

void Manager::prepareLibrary()
{
    setenv("MIBS", "", 1);
    netsnmp_ds_set_boolean(libraryOptions, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(libraryOptions, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    init_snmp("benchManager");
}

Manager::Manager(const std::string &port, const std::string &community)
{
    // The library takes both as modifiable text and copies them.
    std::string peer = "udp:127.0.0.1:" + port;
    std::string name = community;
    netsnmp_session session{};
    snmp_sess_init(&session);
    session.version = SNMP_VERSION_2c;
    session.peername = peer.data();
    session.community = reinterpret_cast<u_char *>(name.data());
    session.community_len = name.size();
    session.timeout = answerWaitMicroseconds;
    session.retries = 0;
    _session = snmp_sess_open(&session);
    if (_session == nullptr) {
        throw std::runtime_error("no session with " + peer);
    }
}

Manager::~Manager()
{
    snmp_sess_close(_session);
}

Manager::Pdu Manager::ask(Pdu request)
{
    netsnmp_pdu *answer = nullptr;
    // The library frees the request even if it fails.
    const int status = snmp_sess_synch_response(_session, request.release(), &answer);
    Pdu received(answer);
    return status == STAT_SUCCESS ? std::move(received) : nullptr;
}
