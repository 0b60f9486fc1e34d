#include "WholeFile.h"

#include "InputError.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

std::string readWholeFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    file.peek(); // a directory opens; it is the first read that fails
    if (!file.is_open() || file.bad()) {
        throw InputError(path + ": cannot be read: " + std::strerror(errno));
    }
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}
