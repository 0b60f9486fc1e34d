#pragma once

#include <memory>
#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

/// An SNMPv2c manager of an agent on the loopback, with one request outstanding at a time: waits
/// two seconds for an answer and never repeats a request.
class Manager
{
public:
    struct FreePdu {
        void operator()(netsnmp_pdu *pdu) const { snmp_free_pdu(pdu); }
    };

    using Pdu = std::unique_ptr<netsnmp_pdu, FreePdu>;

    /// Skips what the library would read from files and the environment. Once per process, before
    /// the first manager.
    static void prepareLibrary();

    /// Throws std::runtime_error if the library cannot open a session.
    Manager(const std::string &port, const std::string &community);
    ~Manager();
    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;

    /// The answer, whatever its error status; null if there was none.
    Pdu ask(Pdu request);

private:
    void *_session = nullptr;
};
