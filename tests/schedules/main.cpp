// Runs every schedule of the device link up to a number of steps and looks for one that violates a
// property; see Schedule.h and Properties.h.

#include "Explorer.h"
#include "Properties.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace
{
constexpr const char *usage =
    "Usage: schedules [OPTION...]\n"
    "  --depth N         steps of the longest schedules; 3 unless given\n"
    "  --schedules N     end after about so many\n"
    "  --disturbances N  at most so many in a schedule; any number unless given\n"
    "  --jobs N          processes; one for each processor unless given\n"
    "  --only N          look at this property only, by its number in Properties.h\n";

bool isName(const char *argument, const char *name)
{
    return std::strcmp(argument, name) == 0;
}

bool takeOption(Exploration &exploration, const char *name, const char *text)
{
    char *end = nullptr;
    const auto number = std::strtoull(text, &end, 10);
    if (number == 0 || *end != '\0') {
        return false;
    }
    if (isName(name, "--schedules")) {
        exploration.schedules = number;
    } else if (isName(name, "--depth")) {
        exploration.depth = static_cast<unsigned>(number);
    } else if (isName(name, "--disturbances")) {
        exploration.disturbances = static_cast<unsigned>(number);
    } else if (isName(name, "--jobs")) {
        exploration.jobs = static_cast<unsigned>(number);
    } else if (isName(name, "--only")) {
        properties::s_checked = 1U << number;
    } else {
        return false;
    }
    return true;
}
} // namespace

int main(int count, char **arguments)
{
    Exploration exploration;
    exploration.jobs = static_cast<unsigned>(sysconf(_SC_NPROCESSORS_ONLN));
    if (count == 2 && (isName(arguments[1], "--help") || isName(arguments[1], "-h"))) {
        std::fputs(usage, stdout);
        return EXIT_SUCCESS;
    }
    for (int index = 1; index < count; index += 2) {
        if (index + 1 == count ||
            !takeOption(exploration, arguments[index], arguments[index + 1])) {
            std::fputs(usage, stderr);
            return 2;
        }
    }
    return explore(exploration) ? EXIT_SUCCESS : EXIT_FAILURE;
}
