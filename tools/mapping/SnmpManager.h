#pragma once

#include "ServedObjects.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

/// What stands in place of a value: the exceptions of RFC 3416, section 3.
namespace snmpTag
{
inline constexpr std::uint8_t noSuchObject = 0x80;
inline constexpr std::uint8_t noSuchInstance = 0x81;
inline constexpr std::uint8_t endOfMibView = 0x82;
} // namespace snmpTag

/// What a manager gets, or sets.
struct SnmpValue {
    Oid oid;
    /// The BER tag.
    std::uint8_t type = 0;
    /// Of an INTEGER.
    std::int32_t number = 0;
    /// The bytes of an OCTET STRING.
    std::string text;

    [[nodiscard]] bool isThere() const noexcept
    {
        return type != snmpTag::noSuchObject && type != snmpTag::noSuchInstance &&
               type != snmpTag::endOfMibView;
    }
};

/// Whether both have the same type and content.
[[nodiscard]] bool isSameContent(const SnmpValue &a, const SnmpValue &b);

/// The first value of a response, or its error status as the protocol spells it: "genErr".
struct SnmpResponse {
    std::string error;
    SnmpValue value;
};

/// How to reach an agent. What is empty comes from the configuration of the Net-SNMP clients
/// (snmp.conf).
struct SnmpSettings {
    /// An address of a Net-SNMP client: a host, with a port or a transport if they are unusual.
    std::string host;
    /// "2c" or "3"
    std::string version;
    std::string community;
    std::string user;
    std::string level;
    std::string authProtocol;
    std::string authPassphrase;
    std::string privProtocol;
    std::string privPassphrase;
    /// Seconds for each attempt.
    std::optional<double> timeout;
    std::optional<int> retries;
};

/// There was no response, or a report that refuses the manager. `what()` is the library's reason.
class SnmpFailure : public std::runtime_error
{
public:
    SnmpFailure(const std::string &reason, bool isRefusal)
        : std::runtime_error(reason), _isRefusal(isRefusal)
    {
    }

    /// Whether the other side rejects the user or the keys; otherwise it is silent.
    [[nodiscard]] bool isRefusal() const noexcept { return _isRefusal; }

private:
    bool _isRefusal;
};

/// A manager of one agent, over SNMPv2c or SNMPv3. Every request waits until its response, or
/// throws SnmpFailure after the timeout and the retries. Reads no MIB modules and prints nothing on
/// standard output.
class SnmpManager
{
public:
    /// Without a timeout in the settings or the configuration, longer than the six seconds that the
    /// master waits for the agent.
    static constexpr double usualTimeout = 7;
    static constexpr int usualRetries = 1;

    /// Throws InputError if the settings are incomplete or the host has no address, and SnmpFailure
    /// if SNMPv3 finds no engine there.
    explicit SnmpManager(const SnmpSettings &settings);
    ~SnmpManager();
    SnmpManager(const SnmpManager &) = delete;
    SnmpManager &operator=(const SnmpManager &) = delete;

    [[nodiscard]] SnmpResponse get(const Oid &name);
    [[nodiscard]] SnmpResponse getNext(const Oid &name);
    /// Sets an INTEGER or an OCTET STRING.
    [[nodiscard]] SnmpResponse set(const SnmpValue &value);

private:
    class Session;

    std::unique_ptr<Session> _pSession;
};
