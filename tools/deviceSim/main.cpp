#include "CommandReader.h"
#include "FrameAnswerer.h"
#include "FrameLog.h"
#include "InputError.h"
#include "LinkClaim.h"
#include "MappedDevice.h"
#include "MappingDatabase.h"
#include "ObjectFile.h"
#include "QueueServer.h"
#include "VerifyQueues.h"
#include "tarnodevice.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

namespace
{
constexpr int badInput = 2;
constexpr int noQueues = 1;

struct Options {
    std::optional<std::string> objectFile;
    std::optional<std::string> mappingFile;
    std::string logFile;
    bool concurrent = false;
    bool strict = false;
    bool removeQueues = false;
    std::uint32_t seed = 1;
};

void describe(CLI::App &app, Options &options)
{
    app.description("Simulates the device application: answers reads and writes of objects on the "
                    "agent's two message queues.");
    CLI::Option *const objects =
        app.add_option("FILE", options.objectFile, "Objects of the device (YAML)");
    app.add_option("--mapping", options.mappingFile,
                   "Take the objects from a mapping (a database or its source) instead")
        ->excludes(objects);
    app.add_flag("--concurrent", options.concurrent,
                 "Take every request at once: others may overtake those that are held up");
    app.add_option("--log", options.logFile,
                   "Append every frame, decoded and in hexadecimal, to this file; - for standard "
                   "error");
    app.add_flag("--remove-queues", options.removeQueues,
                 "On exit, remove the queues that this program created");
    app.add_flag("--strict", options.strict,
                 "For scripts: end with status 2 at the first wrong command");
    app.add_option("--seed", options.seed, "Seed for random values and for the fault \"size\"")
        ->capture_default_str();
    app.footer("Commands, one per line on standard input:\n" + CommandReader::help());
}

SimulatedDevice deviceOf(const Options &options)
{
    if (options.objectFile) {
        return objectFile::read(*options.objectFile, options.seed);
    }
    if (!options.mappingFile) {
        throw CLI::RequiredError("FILE or --mapping");
    }
    if (options.mappingFile->empty()) {
        throw CLI::ArgumentMismatch("--mapping: the name of the file is empty");
    }
    return mappedDevice::of(MappingInput(*options.mappingFile).database(), *options.mappingFile,
                            options.seed);
}

/// The stream of the log: null without a log, standard error for "-".
std::ostream *logStream(const std::string &path, std::ofstream &file)
{
    if (path.empty()) {
        return nullptr;
    }
    if (path == "-") {
        return &std::cerr;
    }
    file.open(path, std::ios::app);
    if (!file) {
        throw InputError(path + ": cannot be written: " + std::strerror(errno));
    }
    return &file;
}

int simulate(const Options &options)
{
    SimulatedDevice device = deviceOf(options);
    device.concurrent |= options.concurrent;
    std::ofstream logFile;
    FrameLog log(logStream(options.logFile, logFile));
    FrameAnswerer answerer(device, options.seed);
    using AfterError = CommandReader::AfterError;
    CommandReader commands(device, std::cout,
                           options.strict ? AfterError::end : AfterError::carryOn);
    const LinkClaim claim;
    const std::unique_ptr<tarno_link, decltype(&tarno_link_free)> link(tarno_link_new(nullptr),
                                                                       &tarno_link_free);
    if (!link) {
        throw std::bad_alloc();
    }
    QueueServer server(*link, answerer, device, log);
    if (const int error = -tarno_link_open(link.get()); error != 0) {
        std::cerr << "error: message queues: " << std::strerror(error) << '\n';
        return noQueues;
    }
    std::cout << "ready\n" << std::flush;
    const QueueServer::Result result = server.run(commands);
    if (options.removeQueues) {
        static_cast<void>(tarno_link_remove_own(link.get()));
    }
    return result == QueueServer::Result::stopped ? 0 : badInput;
}
} // namespace

int main(int argc, char **argv)
{
    CLI::App app;
    Options options;
    describe(app, options);
    try {
        app.parse(argc, argv);
        return simulate(options);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : badInput;
    } catch (const UnusableLink &error) {
        std::cerr << errorLines(error);
        return noQueues;
    } catch (const std::exception &error) {
        std::cerr << errorLines(error);
        return badInput;
    }
}
