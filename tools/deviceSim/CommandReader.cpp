#include "CommandReader.h"

#include "InputError.h"
#include "Numbers.h"
#include "Parsing.h"
#include "TextForms.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace
{
constexpr std::size_t longestLine = 65536;
constexpr std::string_view forAll = "all";

using Words = std::span<const std::string_view>;

void expectCount(Words arguments, std::size_t least, std::size_t most, std::string_view usage)
{
    if (arguments.size() < least || arguments.size() > most) {
        throw InputError("usage: " + std::string(usage));
    }
}

/// What stands behind the word and one blank: a text keeps its own blanks.
std::string_view behind(std::string_view word, std::string_view line)
{
    const auto end = static_cast<std::size_t>(word.data() + word.size() - line.data());
    return line.substr(std::min(end + 1, line.size()));
}
} // namespace

CommandReader::CommandReader(SimulatedDevice &device, std::ostream &replies)
    : _device(device), _replies(replies)
{
}

CommandReader::State CommandReader::feed(std::string_view input)
{
    _partOfLine += input;
    std::size_t start = 0;
    for (std::size_t end = 0; _state == State::running; start = end + 1) {
        end = _partOfLine.find('\n', start);
        if (end == std::string::npos) {
            break;
        }
        carryOut(std::string_view(_partOfLine).substr(start, end - start));
    }
    _partOfLine.erase(0, start);
    if (_state == State::running && _partOfLine.size() > longestLine) {
        carryOut(_partOfLine);
        _partOfLine.clear();
    }
    return _state;
}

CommandReader::State CommandReader::finish()
{
    return _partOfLine.empty() ? _state : feed("\n");
}

std::string_view CommandReader::help()
{
    return "set ID VALUE | get ID | fault ID|all KIND [ARGUMENT] [times N] [only reads|writes] | "
           "clear [ID|all] | stats [ID] | help | quit; KIND: pause MS, delay MS, silent, "
           "error [BYTE], length N, wrong-id ID, extra N, truncate N, raw HEX, size N, "
           "duplicate [TIMES]";
}

void CommandReader::carryOut(std::string_view line)
{
    ++_lineNumber;
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    try {
        if (line.size() > longestLine) {
            throw InputError("line of more than " + std::to_string(longestLine) + " bytes");
        }
        const std::string reply = replyTo(line);
        if (!reply.empty()) {
            _replies << reply << std::endl;
        }
    } catch (const InputError &error) {
        _replies << "error: line " << _lineNumber << ": " << error.what() << std::endl;
        _state = State::failed;
    }
}

std::string CommandReader::replyTo(std::string_view line)
{
    const std::vector<std::string_view> words = parsing::words(line);
    if (words.empty() || words[0].starts_with('#')) {
        return {};
    }
    const std::string_view command = words[0];
    const Words arguments = Words(words).subspan(1);
    if (command == "set") {
        return set(line, arguments);
    }
    if (command == "get") {
        return get(arguments);
    }
    if (command == "fault") {
        return fault(arguments);
    }
    if (command == "clear") {
        return clear(arguments);
    }
    if (command == "stats") {
        return stats(arguments);
    }
    if (command == "help") {
        return std::string(help());
    }
    if (command == "quit") {
        expectCount(arguments, 0, 0, "quit");
        _state = State::quit;
        return "ok";
    }
    throw InputError("unknown command " + textForms::quoted(command));
}

std::string CommandReader::set(std::string_view line, Words arguments)
{
    expectCount(arguments, 1, line.size(), "set ID VALUE");
    objectNamed(arguments[0]).setText(behind(arguments[0], line));
    return "ok";
}

std::string CommandReader::get(Words arguments)
{
    expectCount(arguments, 1, 1, "get ID");
    return "value " +
           textForms::oneLine(objectNamed(arguments[0]).text(), textForms::HexDigits::lowerCase);
}

std::string CommandReader::fault(Words arguments)
{
    expectCount(arguments, 2, longestLine,
                "fault ID|all KIND [ARGUMENT] [times N] [only reads|writes]");
    Fault fault = Fault::parse(arguments.subspan(1));
    if (arguments[0] == forAll) {
        _device.faults.setForAll(std::move(fault));
    } else {
        // Unknown ids too: they are answered, so their answers can be spoilt.
        _device.faults.setFor(parsing::objectId(arguments[0]), std::move(fault));
    }
    return "ok";
}

std::string CommandReader::clear(Words arguments)
{
    expectCount(arguments, 0, 1, "clear [ID|all]");
    if (arguments.empty()) {
        _device.faults.clear();
    } else if (arguments[0] == forAll) {
        _device.faults.clearForAll();
    } else {
        _device.faults.clearFor(parsing::objectId(arguments[0]));
    }
    return "ok";
}

std::string CommandReader::stats(Words arguments) const
{
    expectCount(arguments, 0, 1, "stats [ID]");
    if (arguments.empty()) {
        return "stats " + _device.total.text() + " unknown=" + std::to_string(_device.unknown) +
               " malformed=" + std::to_string(_device.malformed) +
               " lost=" + std::to_string(_device.lost);
    }
    const std::uint16_t id = parsing::objectId(arguments[0]);
    const auto counted = _device.perId.find(id);
    const RequestCounts counts = counted == _device.perId.end() ? RequestCounts() : counted->second;
    return "stats " + numbers::objectIdText(id) + ' ' + counts.text();
}

DeviceObject &CommandReader::objectNamed(std::string_view id)
{
    const std::uint16_t number = parsing::objectId(id);
    DeviceObject *const object = _device.find(number);
    if (object == nullptr) {
        throw InputError("no object " + numbers::objectIdText(number));
    }
    return *object;
}
