#include "AtomicFile.h"

#include "DeferredSignals.h"
#include "Descriptor.h"
#include "InputError.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
using Status = struct stat;

constexpr mode_t permissions = 07777;

[[noreturn]] void fail(const std::string &path, const char *what)
{
    throw InputError(path + ": " + what + ": " + std::strerror(errno));
}

/// What a path leads to, or nothing if there is no such file.
std::optional<Status> statusOf(const std::string &path)
{
    Status status{};
    if (stat(path.c_str(), &status) == 0) {
        return status;
    }
    return std::nullopt;
}

bool isOneFile(const Status &one, const Status &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool writeAll(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

/// A new file; the destructor removes it unless `keep` was called.
class NewFile
{
public:
    explicit NewFile(std::string pattern)
        : _path(std::move(pattern)), _descriptor(mkstemp(_path.data())),
          _isMade(_descriptor.get() >= 0)
    {
    }

    ~NewFile()
    {
        if (_isMade) {
            unlink(_path.c_str());
        }
    }

    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    [[nodiscard]] const std::string &path() const noexcept { return _path; }

    [[nodiscard]] bool write(std::string_view content) const
    {
        return _isMade && writeAll(_descriptor.get(), content) && fsync(_descriptor.get()) == 0;
    }

    /// Gives it owner and mode of the file that it replaces, or the mode of any new file.
    [[nodiscard]] bool setAccess(const std::optional<Status> &old) const
    {
        if (old) {
            return fchown(_descriptor.get(), old->st_uid, old->st_gid) == 0 &&
                   fchmod(_descriptor.get(), old->st_mode & permissions) == 0;
        }
        const mode_t mask = umask(0);
        umask(mask);
        return fchmod(_descriptor.get(), 0666 & ~mask) == 0;
    }

    void keep() noexcept { _isMade = false; }

private:
    std::string _path;
    Descriptor _descriptor;
    bool _isMade;
};

/// The rename is durable only once its directory is synced.
void syncDirectory(const std::string &directory)
{
    const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.get() >= 0) {
        fsync(opened.get());
    }
}

void writeOut(std::string_view content)
{
    if (std::fwrite(content.data(), 1, content.size(), stdout) != content.size() ||
        std::fflush(stdout) != 0) {
        fail("standard output", "cannot be written");
    }
}

bool isStandardOutput(const Status &status)
{
    Status output{};
    return fstat(STDOUT_FILENO, &output) == 0 && isOneFile(status, output);
}

void writeThrough(const std::string &path, std::string_view content)
{
    const Descriptor opened(open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    if (opened.get() < 0 || !writeAll(opened.get(), content)) {
        fail(path, "cannot be written");
    }
}

/// The path at the end of a chain of links, which need not exist.
std::string withoutLinks(const std::string &path)
{
    constexpr int mostLinks = 40;
    std::filesystem::path target = path;
    std::error_code failure;
    for (int links = 0; std::filesystem::is_symlink(target, failure); ++links) {
        if (links == mostLinks) {
            errno = ELOOP;
            fail(path, "cannot be written");
        }
        target = target.parent_path() / std::filesystem::read_symlink(target, failure);
    }
    return target.string();
}

void replace(const std::string &path, const std::optional<Status> &old, std::string_view content)
{
    const DeferredSignals untilRemoved;
    NewFile file(path + ".XXXXXX");
    if (!file.write(content)) {
        fail(path, "cannot be written");
    }
    if (!file.setAccess(old)) {
        fail(path, "cannot be replaced without changing its owner or mode");
    }
    if (std::rename(file.path().c_str(), path.c_str()) != 0) {
        fail(path, "cannot be replaced");
    }
    file.keep();
    const std::string directory = std::filesystem::path(path).parent_path().string();
    syncDirectory(directory.empty() ? "." : directory);
}
} // namespace

void atomicFile::write(const std::string &path, std::string_view content)
{
    const std::optional<Status> old = statusOf(path);
    if (path == "-" || (old && isStandardOutput(*old))) {
        writeOut(content);
    } else if (old && !S_ISREG(old->st_mode)) {
        writeThrough(path, content);
    } else {
        replace(withoutLinks(path), old, content);
    }
}

bool atomicFile::isSame(const std::string &path, const std::string &other)
{
    const std::optional<Status> one = statusOf(path);
    const std::optional<Status> two = statusOf(other);
    return one && two && isOneFile(*one, *two) && !S_ISCHR(one->st_mode);
}

void atomicFile::requireOther(const std::string &input, const std::string &output)
{
    if (isSame(input, output)) {
        throw InputError(output + ": input and output are the same file");
    }
}
