#include "SnmpOptions.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr double shortestTimeout = 0.1;
constexpr double longestTimeout = 60;
constexpr int mostRetries = 10;

CLI::Validator oneOf(std::vector<std::string> words)
{
    return CLI::IsMember(std::move(words), CLI::ignore_case);
}
} // namespace

CLI::Option *addSnmpOptions(CLI::App &command, SnmpSettings &settings)
{
    CLI::Option *const snmp = command.add_option(
        "--snmp", settings.host, "Check a running agent instead, as a manager of this host");
    const std::array others{
        command.add_option("-v", settings.version, "SNMP version")->check(oneOf({"2c", "3"})),
        command.add_option("-c", settings.community, "Community (2c)"),
        command.add_option("-u", settings.user, "User name (3)"),
        command.add_option("-l", settings.level, "Security level (3)")
            ->transform(oneOf({"noAuthNoPriv", "authNoPriv", "authPriv"})),
        command.add_option("-a", settings.authProtocol, "Authentication protocol (3)")
            ->transform(oneOf({"MD5", "SHA", "SHA-224", "SHA-256", "SHA-384", "SHA-512"})),
        command.add_option("-A", settings.authPassphrase, "Authentication passphrase (3)"),
        command.add_option("-x", settings.privProtocol, "Privacy protocol (3)")
            ->transform(oneOf({"DES", "AES", "AES-192", "AES-256"})),
        command.add_option("-X", settings.privPassphrase, "Privacy passphrase (3)"),
        command.add_option("-t", settings.timeout, "Seconds to wait for a response, by default 7")
            ->check(CLI::Range(shortestTimeout, longestTimeout)),
        command.add_option("-r", settings.retries, "How often to repeat a request, by default 1")
            ->check(CLI::Range(0, mostRetries)),
    };
    for (CLI::Option *const option : others) {
        option->needs(snmp);
    }
    return snmp;
}
