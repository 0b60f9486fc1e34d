#include "Commands.h"
#include "InputError.h"
#include "MappingDatabase.h"

#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>

namespace
{
constexpr int badInput = 2;
constexpr int unreadable = 3;
} // namespace

int main(int argc, char **argv)
{
    CLI::App app;
    const Commands commands(app);
    try {
        if (argc > 1 && *argv[1] != '-') {
            commands.requireKnown(argv[1]);
        }
        app.parse(argc, argv);
        return commands.exitStatus();
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : badInput;
    } catch (const UnreadableDatabase &error) {
        std::cerr << errorLines(error);
        return unreadable;
    } catch (const std::exception &error) {
        std::cerr << errorLines(error);
        return badInput;
    }
}
