#include "InputError.h"

#include <sstream>

std::string errorLines(const std::exception &error)
{
    std::istringstream reasons(error.what());
    std::string lines;
    for (std::string reason; std::getline(reasons, reason);) {
        lines += "error: " + reason + '\n';
    }
    return lines;
}
