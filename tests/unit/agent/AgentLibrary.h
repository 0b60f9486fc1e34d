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

/// The name that these arcs make below another.
[[nodiscard]] Name below(const Name &base, const Name &arcs);

/// The agent library of this process: a subagent that no master knows, and that logs nothing. What
/// is registered stays here.
namespace agentLibrary
{
/// Initialised by the first call; ready without registrations after each.
void start();
/// What is registered under exactly this name, or null.
netsnmp_handler_registration *registrationAt(const Name &name);
/// How many registrations there are below the name, itself included.
std::size_t registrationsBelow(const Name &name);
} // namespace agentLibrary

/// One request of a manager, taken through the library's own handlers of whatever is registered
/// under the names it holds, as the library does for one PDU: each registration gets its varbinds
/// at once.
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

    /// One phase: MODE_GET, MODE_GETNEXT or a MODE_SET_… of its turn. Gets no memory itself.
    void run(int mode);
    /// All phases of a set up to the first that a handler refuses; the first error status, or 0.
    int runSet();

    /// The first error status of what was run, or 0.
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
