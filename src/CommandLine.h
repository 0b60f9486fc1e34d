#pragma once

#include <optional>

/// The settings from the command line. A setting counts as missing while its text equals its
/// sentinel, which an argument may also spell out. The texts are owned by the program's arguments.
struct Settings {
    const char *dbPath;
    const char *confPath;
    /// The AgentX address: the master listens on it and this process connects to it.
    const char *transport;
    const char *agentXName;
    const char *udpPort;
    bool isSubagent = false;

    Settings();
};

/// Parses and checks the command line. A rejected one prints a message and the usage, before
/// anything has been started. Where an exit status is returned, the process must exit with it;
/// nullopt means continue.
class CommandLine
{
public:
    /// Stores the options of the program's arguments, the first of which is the program's name.
    /// Uses getopt(3), which prints its own messages on standard error. Once per process.
    std::optional<int> parse(int argumentCount, char *const *arguments);

    /// Stores one option; `argument` is null if it has none.
    std::optional<int> apply(int option, const char *argument);

    /// Checks the settings that both modes need.
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
