#include "TemporaryFile.h"

#include "InputError.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace
{
[[noreturn]] void fail(const std::string &path, const char *what)
{
    throw InputError(path + ": " + what + ": " + std::strerror(errno));
}
} // namespace

TemporaryFile::Directory::Directory()
{
    std::error_code failure;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(failure);
    _path = ((failure ? "/tmp" : parent) / "tarnoMapping.XXXXXX").string();
    if (mkdtemp(_path.data()) == nullptr) {
        fail(_path, "temporary directory cannot be created");
    }
}

TemporaryFile::Directory::~Directory()
{
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
}

TemporaryFile::TemporaryFile(std::string_view content) : _path(_directory.path() + "/mapping")
{
    addBeside("", content);
}

void TemporaryFile::addBeside(const std::string &suffix, std::string_view content) const
{
    std::ofstream file(_path + suffix, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) {
        fail(_path + suffix, "temporary file cannot be written");
    }
}
