#include "TerminalColour.h"

#include <cstdlib>

#include <unistd.h>

bool isInColour(int descriptor)
{
    const char *const forbidden = std::getenv("NO_COLOR");
    return isatty(descriptor) == 1 && (forbidden == nullptr || *forbidden == '\0');
}
