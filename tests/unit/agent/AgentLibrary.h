#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/// An object identifier.
using Name = std::vector<oid>;

/// The name that these arcs form below another.
[[nodiscard]] Name below(const Name &base, const Name &arcs);

/// The agent library of this process: a subagent without a master and without logging.
/// Registrations stay in this process.
namespace agentLibrary
{
/// The first call initializes the library; every call leaves it ready, without registrations.
void start();
/// The registration of exactly this name, or null.
netsnmp_handler_registration *registrationAt(const Name &name);
/// The number of registrations at or below the name.
std::size_t registrationsBelow(const Name &name);
} // namespace agentLibrary

/// A manager's request, run through the library's own handlers of the registrations that its names
/// fall under, as the library does for one PDU: each registration gets all of its varbinds at once.
class ManagerRequest
{
public:
    ManagerRequest() = default;
    ~ManagerRequest();
    ManagerRequest(const ManagerRequest &) = delete;
    ManagerRequest &operator=(const ManagerRequest &) = delete;

    void asksFor(const Name &name);
    void setsInteger(const Name &name, long value);
    void setsText(const Name &name, const std::string &text);

    /// Runs one phase: MODE_GET, MODE_GETNEXT or one of MODE_SET_… Allocates nothing itself.
    void run(int mode);
    /// Runs the phases of a set up to the first that a handler rejects; returns the first error
    /// status, or 0.
    int runSet();

    /// The first error status so far, or 0.
    [[nodiscard]] int status() const { return _status; }

    [[nodiscard]] const netsnmp_variable_list &varbind(std::size_t position) const;
    [[nodiscard]] Name name(std::size_t position) const;
    [[nodiscard]] std::string text(std::size_t position) const;
    [[nodiscard]] long integer(std::size_t position) const;

private:
    struct Varbind {
        netsnmp_handler_registration *registration;
        netsnmp_request_info request;
        bool isServed;
    };

    Varbind &add(const Name &name, std::uint8_t type, const void *value, std::size_t length);
    void callHandlersOf(const Varbind &first);

    netsnmp_agent_request_info _info{};
    std::list<Varbind> _varbinds;
    int _status = 0;
};
