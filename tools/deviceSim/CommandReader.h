#pragma once

#include "SimulatedDevice.h"

#include <cstddef>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// Runs commands, one per line, on a simulated device. Every command is answered with exactly one
/// line ("ok", "value …", counters, or "error: line N: reason"), so that a program can drive it in
/// lockstep. Empty lines and lines that begin with # are skipped. The first wrong command ends it.
class CommandReader
{
public:
    enum class State { running, quit, failed };

    /// Both must outlive the reader.
    CommandReader(SimulatedDevice &device, std::ostream &replies);

    /// Takes the next piece of input, split anywhere, and runs the lines that it completes.
    State feed(std::string_view input);
    /// At the end of the input, runs a last line without a newline.
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
