#pragma once

#include "SimulatedDevice.h"

#include <array>
#include <cstddef>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// Runs commands, one per line, on a simulated device. Every command is answered with one line
/// ("ok", "value …", counters, or "error: line N: reason"), so that a program can drive it in
/// lockstep; "list" and "help" print several lines before their "ok". Empty lines and lines that
/// begin with # are skipped. Objects go by their id or name.
class CommandReader
{
public:
    enum class State { running, quit, failed };
    /// What a wrong command does.
    enum class AfterError { carryOn, end };

    /// Both must outlive the reader.
    CommandReader(SimulatedDevice &device, std::ostream &replies, AfterError afterError);

    /// Takes the next piece of input, split anywhere, and runs the lines that it completes.
    State feed(std::string_view input);
    /// At the end of the input, runs a last line without a newline.
    State finish();

    /// All commands and faults, one per line.
    [[nodiscard]] static std::string help();

private:
    using Words = std::span<const std::string_view>;
    struct Command;

    static const std::array<Command, 8> s_commands;
    [[nodiscard]] static const Command &commandNamed(std::string_view name);

    void takeLine(std::string_view line);
    void carryOut(std::string_view line);
    [[nodiscard]] std::string replyTo(std::string_view line);
    [[nodiscard]] std::string set(Words arguments, std::string_view line);
    [[nodiscard]] std::string get(Words arguments, std::string_view line);
    [[nodiscard]] std::string list(Words arguments, std::string_view line);
    [[nodiscard]] std::string fault(Words arguments, std::string_view line);
    [[nodiscard]] std::string clear(Words arguments, std::string_view line);
    [[nodiscard]] std::string stats(Words arguments, std::string_view line);
    [[nodiscard]] std::string showHelp(Words arguments, std::string_view line);
    [[nodiscard]] std::string quit(Words arguments, std::string_view line);
    [[nodiscard]] DeviceObject &objectNamed(std::string_view word);
    [[nodiscard]] Fault faultIn(Words words) const;

    SimulatedDevice &_device;
    std::ostream &_replies;
    AfterError _afterError;
    std::string _partOfLine;
    /// The rest of a line whose beginning was refused.
    bool _skipsRestOfLine = false;
    std::size_t _lineNumber = 0;
    State _state = State::running;
};
