#include "CommandReader.h"
#include "FrameAnswerer.h"
#include "FrameLog.h"
#include "InputError.h"
#include "LibraryServer.h"
#include "ObjectFile.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>

#include <CLI/CLI.hpp>
#include <unistd.h>

namespace
{
constexpr std::uint32_t seed = 1;

/// Until the end of standard input, or a wrong command.
int carryOutCommands(CommandReader &commands, std::mutex &lock)
{
    std::array<char, 4096> input{};
    CommandReader::State state = CommandReader::State::running;
    while (state == CommandReader::State::running) {
        const ssize_t size = read(STDIN_FILENO, input.data(), input.size());
        const std::lock_guard held(lock);
        state = size > 0 ? commands.feed({input.data(), static_cast<std::size_t>(size)})
                         : commands.finish();
        if (size <= 0) {
            break;
        }
    }
    return state == CommandReader::State::failed ? EXIT_FAILURE : EXIT_SUCCESS;
}

int run(const std::string &objects, const std::string &log)
{
    SimulatedDevice device = objectFile::read(objects, seed);
    std::ofstream logFile(log, std::ios::app);
    FrameLog frames(&logFile);
    FrameAnswerer answerer(device, seed);
    std::mutex lock;
    CommandReader commands(device, std::cout, CommandReader::AfterError::end);
    const LibraryServer server(device, answerer, frames, lock);
    std::cout << "ready\n" << std::flush;
    return carryOutCommands(commands, lock);
}
} // namespace

// Takes the place of the device simulator: the same objects, commands and log, but served through
// the device library.
int main(int argc, char **argv)
{
    std::signal(SIGTERM, [](int) { _exit(EXIT_SUCCESS); });
    CLI::App app;
    std::string objects;
    std::string log;
    app.add_option("FILE", objects)->required();
    app.add_option("--log", log)->required();
    // A wrong command always ends it.
    app.add_flag("--strict");
    try {
        app.parse(argc, argv);
        return run(objects, log);
    } catch (const std::exception &error) {
        std::cerr << errorLines(error);
        return EXIT_FAILURE;
    }
}
