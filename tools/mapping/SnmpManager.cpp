#include "SnmpManager.h"

#include "InputError.h"
#include "ObjectTypes.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace
{
/// The Net-SNMP clients share this name, and so their configuration files.
constexpr const char *clientType = "snmpapp";
constexpr double microseconds = 1e6;
constexpr std::size_t shortestPassphrase = USM_LENGTH_P_MIN;

/// By number, as the protocol spells them.
constexpr std::array<std::string_view, 19> statuses{"noError",
                                                    "tooBig",
                                                    "noSuchName",
                                                    "badValue",
                                                    "readOnly",
                                                    "genErr",
                                                    "noAccess",
                                                    "wrongType",
                                                    "wrongLength",
                                                    "wrongEncoding",
                                                    "wrongValue",
                                                    "noCreation",
                                                    "inconsistentValue",
                                                    "resourceUnavailable",
                                                    "commitFailed",
                                                    "undoFailed",
                                                    "authorizationError",
                                                    "notWritable",
                                                    "inconsistentName"};

struct FreePdu {
    void operator()(netsnmp_pdu *pdu) const { snmp_free_pdu(pdu); }
};

using Pdu = std::unique_ptr<netsnmp_pdu, FreePdu>;

std::vector<oid> wireOid(const Oid &numbers)
{
    return {numbers.begin(), numbers.end()};
}

Pdu requestFor(int command, const Oid &name)
{
    Pdu request(snmp_pdu_create(command));
    const auto numbers = wireOid(name);
    snmp_add_null_var(request.get(), numbers.data(), numbers.size());
    return request;
}

std::string statusText(long status)
{
    const auto index = static_cast<std::size_t>(status);
    return status < 0 || index >= statuses.size() ? "error " + std::to_string(status)
                                                  : std::string(statuses.at(index));
}

SnmpValue valueOf(const netsnmp_variable_list &variable)
{
    SnmpValue value{.oid = Oid(variable.name, variable.name + variable.name_length),
                    .type = variable.type,
                    .text = {}};
    if (variable.type == ASN_INTEGER && variable.val.integer != nullptr) {
        value.number = static_cast<std::int32_t>(*variable.val.integer);
    } else if (variable.type == ASN_OCTET_STR && variable.val.string != nullptr) {
        value.text.assign(variable.val.string, variable.val.string + variable.val_len);
    }
    return value;
}

/// Whether a library error means that the other side answers, but not to this manager.
bool isRefusal(int error)
{
    constexpr std::array refusals{SNMPERR_UNKNOWN_USER_NAME,      SNMPERR_UNSUPPORTED_SEC_LEVEL,
                                  SNMPERR_AUTHENTICATION_FAILURE, SNMPERR_NOT_IN_TIME_WINDOW,
                                  SNMPERR_DECRYPTION_ERR,         SNMPERR_UNKNOWN_ENG_ID,
                                  SNMPERR_UNKNOWN_REPORT};
    return std::find(refusals.begin(), refusals.end(), error) != refusals.end();
}

/// Loads the configuration of the Net-SNMP clients, once, and no MIB modules.
void startLibrary()
{
    for (const char *modules : {"MIBS", "MIBDIRS", "MIBFILES"}) {
        setenv(modules, "", 1);
    }
    init_snmp(clientType);
}

long versionOf(const std::string &stated)
{
    if (!stated.empty()) {
        return stated == "3" ? SNMP_VERSION_3 : SNMP_VERSION_2c;
    }
    switch (netsnmp_ds_get_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_SNMPVERSION)) {
    case NETSNMP_DS_SNMP_VERSION_2c:
        return SNMP_VERSION_2c;
    case NETSNMP_DS_SNMP_VERSION_1:
        throw InputError("snmp.conf chooses SNMPv1, which cannot tell why an object is missing; "
                         "use -v 2c or -v 3");
    default:
        return SNMP_VERSION_3;
    }
}

std::string communityOf(const std::string &stated)
{
    const char *const usual =
        netsnmp_ds_get_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_COMMUNITY);
    if (stated.empty() && usual == nullptr) {
        throw InputError("SNMPv2c needs a community: -c, or defCommunity in snmp.conf");
    }
    return stated.empty() ? std::string(usual) : stated;
}

/// The settings of a session, with what they point to. The library copies them.
class SessionSettings
{
public:
    explicit SessionSettings(SnmpSettings stated) : _stated(std::move(stated))
    {
        snmp_sess_init(&_session);
        _session.peername = _stated.host.data();
        _session.version = versionOf(_stated.version);
        takePatience();
        if (_session.version == SNMP_VERSION_3) {
            takeUser();
            takeKeys();
        } else {
            _stated.community = communityOf(_stated.community);
            _session.community = reinterpret_cast<u_char *>(_stated.community.data());
            _session.community_len = _stated.community.size();
        }
    }

    [[nodiscard]] netsnmp_session &session() noexcept { return _session; }

private:
    void takePatience()
    {
        const auto isConfigured = [](int setting) {
            return netsnmp_ds_get_int(NETSNMP_DS_LIBRARY_ID, setting) > 0;
        };
        if (_stated.timeout || !isConfigured(NETSNMP_DS_LIB_TIMEOUT)) {
            _session.timeout = static_cast<long>(
                _stated.timeout.value_or(SnmpManager::usualTimeout) * microseconds);
        }
        if (_stated.retries || !isConfigured(NETSNMP_DS_LIB_RETRIES)) {
            _session.retries = _stated.retries.value_or(SnmpManager::usualRetries);
        }
    }

    void takeUser()
    {
        if (!_stated.user.empty()) {
            _session.securityName = _stated.user.data();
            _session.securityNameLen = _stated.user.size();
        } else if (netsnmp_ds_get_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_SECNAME) ==
                   nullptr) {
            throw InputError("SNMPv3 needs a user: -u, or defSecurityName in snmp.conf; "
                             "-v 2c chooses SNMPv2c");
        }
        if (_stated.level == "noAuthNoPriv") {
            _session.securityLevel = SNMP_SEC_LEVEL_NOAUTH;
        } else if (_stated.level == "authNoPriv") {
            _session.securityLevel = SNMP_SEC_LEVEL_AUTHNOPRIV;
        } else if (_stated.level == "authPriv") {
            _session.securityLevel = SNMP_SEC_LEVEL_AUTHPRIV;
        }
    }

    void takeKeys()
    {
        if (!_stated.authProtocol.empty()) {
            _session.securityAuthProto = sc_get_auth_oid(
                usm_lookup_auth_type(_stated.authProtocol.c_str()), &_session.securityAuthProtoLen);
        }
        if (!_stated.privProtocol.empty()) {
            _session.securityPrivProto = sc_get_priv_oid(
                usm_lookup_priv_type(_stated.privProtocol.c_str()), &_session.securityPrivProtoLen);
        }
        makeKey(_stated.authPassphrase, "-A", _session.securityAuthKey,
                _session.securityAuthKeyLen);
        makeKey(_stated.privPassphrase, "-X", _session.securityPrivKey,
                _session.securityPrivKeyLen);
    }

    /// Both keys depend on the authentication protocol.
    void makeKey(const std::string &passphrase, const char *option, u_char (&key)[USM_AUTH_KU_LEN],
                 std::size_t &length) const
    {
        if (passphrase.empty()) {
            return;
        }
        if (passphrase.size() < shortestPassphrase) {
            throw InputError(std::string("the passphrase of ") + option + " is shorter than " +
                             std::to_string(shortestPassphrase) + " characters");
        }
        std::size_t protocolLength = _session.securityAuthProtoLen;
        const oid *const protocol = _session.securityAuthProto != nullptr
                                        ? _session.securityAuthProto
                                        : get_default_authtype(&protocolLength);
        length = sizeof key;
        if (generate_Ku(protocol, static_cast<u_int>(protocolLength),
                        reinterpret_cast<const u_char *>(passphrase.data()), passphrase.size(), key,
                        &length) != SNMPERR_SUCCESS) {
            throw InputError(std::string("the passphrase of ") + option + " makes no key");
        }
    }

    SnmpSettings _stated;
    netsnmp_session _session{};
};
} // namespace

bool isSameContent(const SnmpValue &a, const SnmpValue &b)
{
    return a.type == b.type && a.number == b.number && a.text == b.text;
}

class SnmpManager::Session
{
public:
    explicit Session(const SnmpSettings &settings)
    {
        startLibrary();
        SessionSettings wanted(settings);
        _handle = snmp_sess_open(&wanted.session());
        if (_handle == nullptr) {
            fail(wanted.session().s_snmp_errno);
        }
    }

    ~Session() { snmp_sess_close(_handle); }

    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Sends a request and waits for its response.
    SnmpResponse ask(Pdu request)
    {
        netsnmp_pdu *received = nullptr;
        const int status = snmp_sess_synch_response(_handle, request.release(), &received);
        const Pdu response(received);
        if (status != STAT_SUCCESS || response == nullptr) {
            throwFailure(status);
        }
        SnmpResponse result;
        if (response->errstat != SNMP_ERR_NOERROR) {
            result.error = statusText(response->errstat);
        } else if (response->variables == nullptr) {
            result.error = "no value";
        } else {
            result.value = valueOf(*response->variables);
        }
        return result;
    }

private:
    [[noreturn]] static void fail(int error)
    {
        const std::string reason = snmp_api_errstring(error);
        if (error == SNMPERR_TIMEOUT || isRefusal(error)) {
            throw SnmpFailure(reason, isRefusal(error));
        }
        throw InputError("--snmp: " + reason);
    }

    [[noreturn]] void throwFailure(int status) const
    {
        const int error =
            status == STAT_TIMEOUT ? SNMPERR_TIMEOUT : snmp_sess_session(_handle)->s_snmp_errno;
        throw SnmpFailure(snmp_api_errstring(error), isRefusal(error));
    }

    void *_handle = nullptr;
};

SnmpManager::SnmpManager(const SnmpSettings &settings)
    : _pSession(std::make_unique<Session>(settings))
{
}

SnmpManager::~SnmpManager() = default;

SnmpResponse SnmpManager::get(const Oid &name)
{
    return _pSession->ask(requestFor(SNMP_MSG_GET, name));
}

SnmpResponse SnmpManager::getNext(const Oid &name)
{
    return _pSession->ask(requestFor(SNMP_MSG_GETNEXT, name));
}

SnmpResponse SnmpManager::set(const SnmpValue &value)
{
    Pdu request(snmp_pdu_create(SNMP_MSG_SET));
    const auto name = wireOid(value.oid);
    if (value.type == objectType::integer) {
        const long number = value.number;
        snmp_pdu_add_variable(request.get(), name.data(), name.size(), ASN_INTEGER, &number,
                              sizeof number);
    } else {
        snmp_pdu_add_variable(request.get(), name.data(), name.size(), ASN_OCTET_STR,
                              value.text.data(), value.text.size());
    }
    return _pSession->ask(std::move(request));
}
