#include "WholeFile.h"

#include "Descriptor.h"
#include "InputError.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace
{
[[noreturn]] void fail(const std::string &path)
{
    throw InputError(path + ": cannot be read: " + std::strerror(errno));
}
} // namespace

std::string readWholeFile(const std::string &path)
{
    constexpr std::size_t piece = 65536;
    std::array<char, piece> buffer;
    std::string content;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    if (file.get() < 0) {
        fail(path);
    }
    for (;;) {
        const ssize_t length = read(file.get(), buffer.data(), buffer.size());
        if (length == 0) {
            return content;
        }
        if (length < 0 && errno != EINTR) {
            fail(path);
        }
        content.append(buffer.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
        if (content.size() > longestFile) {
            throw InputError(path + ": is longer than the limit of 64 MiB");
        }
    }
}
