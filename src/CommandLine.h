#pragma once

#include <optional>

/// What the command line sets. A setting counts as missing while its text equals its sentinel,
/// which an argument may also spell out. The texts belong to the program's arguments.
struct Settings {
    const char *dbPath;
    const char *confPath;
    /// The AgentX address: the master listens there and this process connects to it.
    const char *transport;
    const char *agentXName;
    const char *udpPort;
    bool isSubagent = false;

    Settings();
};

/// Reads and checks the command line. A refusal prints its message and the usage; nothing has been
/// started by then. An exit status is what the process must end with; nothing means to go on.
class CommandLine
{
public:
    /// Takes the options of the program's arguments over; the program's name is the first of them.
    /// Uses getopt(3), whose own messages go to standard error. Once per process.
    std::optional<int> parse(int argumentCount, char *const *arguments);

    /// Takes one option over; `argument` is null when it has none.
    std::optional<int> apply(int option, const char *argument);

    /// The settings that both modes need.
    [[nodiscard]] std::optional<int> checkCommon() const;
    [[nodiscard]] std::optional<int> checkSubagent() const;
    [[nodiscard]] std::optional<int> checkMaster() const;

    /// Prints the "dbFath" block.
    void printSettings() const;

    [[nodiscard]] const Settings &settings() const noexcept { return _settings; }

private:
    std::optional<int> applyLongOption(const char *argument);
    [[nodiscard]] int refuse(const char *message) const;
    [[nodiscard]] int refuseOption() const;

    Settings _settings;
    const char *_programName = "";
};

void printUsage(const char *programName);
