#include "Smidump.h"

#include "InputError.h"
#include "TemporaryFile.h"
#include "TextForms.h"
#include "WholeFile.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string_view>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr std::chrono::seconds longestRun(30);
constexpr std::chrono::milliseconds betweenLooks(5);

/// The standard streams of a program to start.
class Streams
{
public:
    Streams(const std::string &output, const std::string &errors)
    {
        posix_spawn_file_actions_init(&_actions);
        posix_spawn_file_actions_addopen(&_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&_actions, STDOUT_FILENO, output.c_str(),
                                         O_WRONLY | O_TRUNC, 0);
        posix_spawn_file_actions_addopen(&_actions, STDERR_FILENO, errors.c_str(),
                                         O_WRONLY | O_TRUNC, 0);
    }

    ~Streams() { posix_spawn_file_actions_destroy(&_actions); }

    Streams(const Streams &) = delete;
    Streams &operator=(const Streams &) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t &actions() const noexcept { return _actions; }

private:
    posix_spawn_file_actions_t _actions{};
};

void waitFor(pid_t program)
{
    const auto deadline = std::chrono::steady_clock::now() + longestRun;
    int status = 0;
    while (waitpid(program, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(program, SIGKILL);
            waitpid(program, &status, 0);
            throw InputError("smidump did not finish within 30 s");
        }
        std::this_thread::sleep_for(betweenLooks);
    }
}

void start(std::string module, const Streams &streams)
{
    // Keeps going, because even some published modules have errors.
    std::array<std::string, 6> words{"smidump", "-k", "-l2", "-f", "xml", std::move(module)};
    std::array<char *, words.size() + 1> arguments{};
    for (std::size_t index = 0; index < words.size(); ++index) {
        arguments.at(index) = words.at(index).data();
    }
    pid_t program = 0;
    const int error = posix_spawnp(&program, arguments.front(), &streams.actions(), nullptr,
                                   arguments.data(), environ);
    if (error == ENOENT) {
        throw InputError("smidump is not installed: it reads MIB modules (Debian package "
                         "smitools)");
    }
    if (error != 0) {
        throw InputError("smidump cannot be started: " + std::generic_category().message(error));
    }
    waitFor(program);
}

/// The line that names a module which is not there, or nothing.
std::string missingModule(const std::string &errors)
{
    for (const std::string_view sign : {"failed to locate", "cannot locate"}) {
        const std::size_t found = errors.find(sign);
        if (found != std::string::npos) {
            return errors.substr(found, errors.find('\n', found) - found);
        }
    }
    return "";
}
} // namespace

std::string smidump::xml(const std::string &module, const std::string &name)
{
    const TemporaryFile output("");
    output.addBeside(".errors", "");
    const std::string errors = output.path() + ".errors";
    start(module, Streams(output.path(), errors));
    const std::string missing = missingModule(readWholeFile(errors));
    if (!missing.empty()) {
        throw InputError(name + ": smidump: " + textForms::oneLine(missing) +
                         "; SMIPATH names the directories of MIB modules");
    }
    return readWholeFile(output.path());
}
