#pragma once

#include "SimulatedDevice.h"

#include <cstddef>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// Carries out commands, one per line, on a simulated device. Every command is answered with
/// exactly one line ("ok", "value …", counters, or "error: line N: reason"), so a program can drive
/// it in lock-step; empty lines and lines that begin with # are skipped. The first wrong command
/// ends the reading.
class CommandReader
{
public:
    enum class State { running, quit, failed };

    /// Both outlive the reader.
    CommandReader(SimulatedDevice &device, std::ostream &replies);

    /// Takes the next piece of input, however it was cut, and carries out the lines it completes.
    State feed(std::string_view input);
    /// The input has ended: carries out a last line that has no line end.
    State finish();

    static std::string_view help();

private:
    using Words = std::span<const std::string_view>;

    void carryOut(std::string_view line);
    [[nodiscard]] std::string replyTo(std::string_view line);
    [[nodiscard]] std::string set(std::string_view line, Words arguments);
    [[nodiscard]] std::string get(Words arguments);
    [[nodiscard]] std::string fault(Words arguments);
    [[nodiscard]] std::string clear(Words arguments);
    [[nodiscard]] std::string stats(Words arguments) const;
    [[nodiscard]] DeviceObject &objectNamed(std::string_view id);

    SimulatedDevice &_device;
    std::ostream &_replies;
    std::string _partOfLine;
    std::size_t _lineNumber = 0;
    State _state = State::running;
};
