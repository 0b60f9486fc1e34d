#include "WholeFile.h"

#include "MappingError.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

std::string readWholeFile(const std::string &path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw MappingError(path + ": cannot be read: is a directory");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw MappingError(path + ": cannot be read: " + std::strerror(errno));
    }
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}
