#include "Load.h"
#include "Manager.h"
#include "benchOptions.h"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

/// Runs the commands from standard input and answers each with a line of JSON: `LOAD SECONDS` or
/// `LOAD #COUNT` runs a load, `firstGet OID TIMEOUT` waits for an object.
namespace
{
using Json = nlohmann::ordered_json;
using Seconds = std::chrono::duration<double>;

/// Between two polls of an object that is not there yet: short compared with an agent's start, long
/// compared with the poll itself, which takes processor time from the starting agent.
constexpr std::chrono::microseconds lookPause{300};

/// What is wrong with a command.
class BadCommand : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

template <typename Number>
Number numberFrom(std::string_view text)
{
    Number number{};
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        throw BadCommand("no number: " + std::string(text));
    }
    return number;
}

Limit limitFrom(const std::string &text)
{
    Limit limit;
    if (text.starts_with('#')) {
        limit.requests = numberFrom<std::uint64_t>(std::string_view(text).substr(1));
    } else {
        limit.time = Seconds(numberFrom<double>(text));
    }
    return limit;
}

std::vector<oid> oidFrom(const std::string &text)
{
    std::vector<oid> name(MAX_OID_LEN);
    std::size_t length = name.size();
    if (read_objid(text.c_str(), name.data(), &length) == 0) {
        throw BadCommand("no OID: " + text);
    }
    name.resize(length);
    return name;
}

bool isServed(const netsnmp_pdu *answer)
{
    return answer != nullptr && answer->errstat == SNMP_ERR_NOERROR &&
           answer->variables != nullptr && answer->variables->type == ASN_INTEGER;
}

class Commands
{
public:
    explicit Commands(const benchOptions &options)
        : _options(options), _reader(options.argument, "public"),
          _writer(options.argument, "private")
    {
    }

    Json run(const std::string &line)
    {
        std::istringstream words(line);
        std::string command;
        words >> command;
        std::string argument;
        words >> argument;
        if (command == "firstGet") {
            std::string timeout;
            words >> timeout;
            return firstGet(oidFrom(argument), Seconds(numberFrom<double>(timeout)));
        }
        return runLoad(command, limitFrom(argument));
    }

private:
    Json runLoad(const std::string &name, const Limit &limit)
    {
        const auto load = Load::named(name, _options.scalars, _options.columns);
        if (!load) {
            throw BadCommand("no load: " + name);
        }
        const LoadResult result = load->run(load->writes() ? _writer : _reader, limit);
        return {{"load", name},
                {"requests", result.requests},
                {"varbinds", result.varbinds},
                {"seconds", result.seconds},
                {"wrong", result.wrong},
                {"failed", result.failed},
                {"firstWrong", result.first}};
    }

    Json firstGet(const std::vector<oid> &name, Seconds timeout)
    {
        // The steady clock is CLOCK_MONOTONIC.
        const auto begin = std::chrono::steady_clock::now();
        do {
            Manager::Pdu request(snmp_pdu_create(SNMP_MSG_GET));
            snmp_add_null_var(request.get(), name.data(), name.size());
            const Manager::Pdu answer = _reader.ask(std::move(request));
            const auto now = std::chrono::steady_clock::now();
            if (isServed(answer.get())) {
                return {{"served", Seconds(now.time_since_epoch()).count()}};
            }
            std::this_thread::sleep_for(lookPause);
        } while (std::chrono::steady_clock::now() - begin < timeout);
        return {{"served", nullptr}};
    }

    benchOptions _options;
    Manager _reader;
    Manager _writer;
};

void serve(Commands &commands)
{
    for (std::string line; std::getline(std::cin, line);) {
        try {
            std::cout << commands.run(line) << std::endl;
        } catch (const BadCommand &reason) {
            std::cout << Json{{"error", reason.what()}} << std::endl;
        }
    }
}
} // namespace

int main(int argc, char **argv)
try {
    const benchOptions options = readBenchOptions(argc, argv);
    if (options.argument == nullptr) {
        refuseBenchOptions(argv[0]);
    }
    Manager::prepareLibrary();
    Commands commands(options);
    serve(commands);
    return EXIT_SUCCESS;

} catch (const std::exception &error) {
    std::cerr << "benchManager: " << error.what() << '\n';
    return EXIT_FAILURE;
}
