#include "CommandReader.h"

#include "DeviceNames.h"
#include "InputError.h"
#include "Numbers.h"
#include "Parsing.h"
#include "Suggestions.h"
#include "TextForms.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace
{
constexpr std::size_t longestLine = 65536;
constexpr std::string_view forAll = "all";

/// The column of the purposes in the help.
constexpr std::size_t helpColumn = 24;

/// The rest of the line after the word and one blank, so that a text keeps its own blanks.
std::string_view restAfter(std::string_view word, std::string_view line)
{
    const auto end = static_cast<std::size_t>(word.data() + word.size() - line.data());
    return line.substr(std::min(end + 1, line.size()));
}
} // namespace

/// One command: its syntax, its purpose for the help, and what carries it out.
struct CommandReader::Command {
    std::string_view name;
    std::string_view arguments;
    std::string_view purpose;
    std::size_t fewestArguments;
    std::size_t mostArguments;
    std::string (CommandReader::*run)(Words arguments, std::string_view line);

    [[nodiscard]] std::string usage() const
    {
        return std::string(name) + (arguments.empty() ? "" : " ") + std::string(arguments);
    }
};

constexpr std::array<CommandReader::Command, 8> CommandReader::s_commands{{
    {"set", "ID VALUE", "change a value, as the device itself would", 1, longestLine,
     &CommandReader::set},
    {"get", "ID", "show a value", 1, 1, &CommandReader::get},
    {"list", "", "show the id, name and value of every object", 0, 0, &CommandReader::list},
    {"fault", "ID|all FAULT", "answer wrongly, late or not at all", 2, longestLine,
     &CommandReader::fault},
    {"clear", "[ID|all]", "remove faults", 0, 1, &CommandReader::clear},
    {"stats", "[ID]", "count requests and answers", 0, 1, &CommandReader::stats},
    {"help", "", "show this text", 0, 0, &CommandReader::showHelp},
    {"quit", "", "end the device", 0, 0, &CommandReader::quit},
}};

CommandReader::CommandReader(SimulatedDevice &device, std::ostream &replies, AfterError afterError)
    : _device(device), _replies(replies), _afterError(afterError)
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
        takeLine(std::string_view(_partOfLine).substr(start, end - start));
    }
    _partOfLine.erase(0, start);
    if (_state == State::running && _partOfLine.size() > longestLine) {
        takeLine(_partOfLine);
        _partOfLine.clear();
        _skipsRestOfLine = true;
    }
    return _state;
}

CommandReader::State CommandReader::finish()
{
    return _partOfLine.empty() ? _state : feed("\n");
}

std::string CommandReader::help()
{
    std::string lines;
    for (const Command &command : s_commands) {
        std::string usage = command.usage();
        usage.resize(std::max(helpColumn, usage.size() + 1), ' ');
        lines += usage + std::string(command.purpose) + '\n';
    }
    return lines + "ID is the id or the name of an object. FAULT is one of these:\n" +
           Fault::help(helpColumn) + "and after it, if wanted: times N, only reads, only writes.\n";
}

const CommandReader::Command &CommandReader::commandNamed(std::string_view name)
{
    const auto *const found =
        std::find_if(s_commands.begin(), s_commands.end(),
                     [&](const Command &known) { return known.name == name; });
    if (found != s_commands.end()) {
        return *found;
    }
    std::array<std::string_view, s_commands.size()> names;
    std::transform(s_commands.begin(), s_commands.end(), names.begin(),
                   [](const Command &known) { return known.name; });
    throw InputError("unknown command " + textForms::quoted(name) +
                     suggestions::nearest(name, names) + "; help lists them");
}

void CommandReader::takeLine(std::string_view line)
{
    if (!std::exchange(_skipsRestOfLine, false)) {
        carryOut(line);
    }
}

void CommandReader::carryOut(std::string_view line)
{
    ++_lineNumber;
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    try {
        if (line.size() > longestLine) {
            throw InputError("line longer than " + std::to_string(longestLine) + " bytes");
        }
        const std::string reply = replyTo(line);
        if (!reply.empty()) {
            _replies << reply << '\n' << std::flush;
        }
    } catch (const InputError &error) {
        _replies << "error: line " << _lineNumber << ": " << error.what() << '\n' << std::flush;
        _state = _afterError == AfterError::end ? State::failed : State::running;
    }
}

std::string CommandReader::replyTo(std::string_view line)
{
    const std::vector<std::string_view> words = parsing::words(line);
    if (words.empty() || words[0].starts_with('#')) {
        return {};
    }
    const Command &command = commandNamed(words[0]);
    const Words arguments = Words(words).subspan(1);
    if (arguments.size() < command.fewestArguments || arguments.size() > command.mostArguments) {
        throw InputError("usage: " + command.usage());
    }
    return (this->*command.run)(arguments, line);
}

std::string CommandReader::set(Words arguments, std::string_view line)
{
    objectNamed(arguments[0]).setText(restAfter(arguments[0], line));
    return "ok";
}

std::string CommandReader::get(Words arguments, std::string_view /*line*/)
{
    return "value " +
           textForms::oneLine(objectNamed(arguments[0]).text(), textForms::HexDigits::lowerCase);
}

std::string CommandReader::list(Words /*arguments*/, std::string_view /*line*/)
{
    return deviceNames::listOf(_device) + "ok";
}

std::string CommandReader::fault(Words arguments, std::string_view /*line*/)
{
    Fault fault = faultIn(arguments.subspan(1));
    if (arguments[0] == forAll) {
        _device.faults.setForAll(std::move(fault));
    } else {
        // Unknown ids are allowed: their answers can be faulty, too.
        _device.faults.setFor(deviceNames::idOf(_device, arguments[0]), std::move(fault));
    }
    return "ok";
}

std::string CommandReader::clear(Words arguments, std::string_view /*line*/)
{
    if (arguments.empty()) {
        _device.faults.clear();
    } else if (arguments[0] == forAll) {
        _device.faults.clearForAll();
    } else {
        _device.faults.clearFor(deviceNames::idOf(_device, arguments[0]));
    }
    return "ok";
}

std::string CommandReader::stats(Words arguments, std::string_view /*line*/)
{
    if (arguments.empty()) {
        return "stats " + _device.total.text() + " unknown=" + std::to_string(_device.unknown) +
               " malformed=" + std::to_string(_device.malformed) +
               " lost=" + std::to_string(_device.lost);
    }
    const std::uint16_t id = deviceNames::idOf(_device, arguments[0]);
    const auto counted = _device.perId.find(id);
    const RequestCounts counts = counted == _device.perId.end() ? RequestCounts() : counted->second;
    return "stats " + numbers::objectIdText(id) + ' ' + counts.text();
}

std::string CommandReader::showHelp(Words /*arguments*/, std::string_view /*line*/)
{
    return help() + "ok";
}

std::string CommandReader::quit(Words /*arguments*/, std::string_view /*line*/)
{
    _state = State::quit;
    return "ok";
}

DeviceObject &CommandReader::objectNamed(std::string_view word)
{
    const std::uint16_t id = deviceNames::idOf(_device, word);
    DeviceObject *const object = _device.find(id);
    if (object == nullptr) {
        throw InputError("no object " + numbers::objectIdText(id));
    }
    return *object;
}

/// The id of a fault may be a name, too.
Fault CommandReader::faultIn(Words words) const
{
    std::vector<std::string_view> withIds(words.begin(), words.end());
    std::string id;
    if (withIds.size() > 1 && withIds[0] == Fault::ofAnotherId) {
        id = numbers::objectIdText(deviceNames::idOf(_device, withIds[1]));
        withIds[1] = id;
    }
    return Fault::parse(withIds);
}
