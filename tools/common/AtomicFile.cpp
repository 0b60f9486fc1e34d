#include "AtomicFile.h"

#include "InputError.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
[[noreturn]] void fail(const std::string &path, const char *what)
{
    throw InputError(path + ": " + what + ": " + std::strerror(errno));
}

/// A new file that is removed again unless `keep` was called.
class NewFile
{
public:
    explicit NewFile(std::string pattern)
        : _path(std::move(pattern)), _descriptor(mkstemp(_path.data())), _isMade(_descriptor >= 0)
    {
    }

    ~NewFile()
    {
        closeNow();
        if (_isMade) {
            unlink(_path.c_str());
        }
    }

    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    [[nodiscard]] bool isMade() const noexcept { return _isMade; }

    [[nodiscard]] const std::string &path() const noexcept { return _path; }

    [[nodiscard]] bool write(std::string_view content) const
    {
        while (!content.empty()) {
            const ssize_t written = ::write(_descriptor, content.data(), content.size());
            if (written < 0 && errno != EINTR) {
                return false;
            }
            content.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
        }
        return true;
    }

    /// The mode that any new file of this process has, and everything on the disk.
    bool finish()
    {
        const mode_t mask = umask(0);
        umask(mask);
        return fchmod(_descriptor, 0666 & ~mask) == 0 && fsync(_descriptor) == 0 && closeNow();
    }

    void keep() noexcept { _isMade = false; }

private:
    bool closeNow()
    {
        const int descriptor = _descriptor;
        _descriptor = -1;
        return descriptor < 0 || close(descriptor) == 0;
    }

    std::string _path;
    int _descriptor;
    bool _isMade;
};

/// The rename itself is durable when its directory is.
void syncDirectory(const std::string &directory)
{
    const int descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

void writeOut(std::string_view content)
{
    if (std::fwrite(content.data(), 1, content.size(), stdout) != content.size() ||
        std::fflush(stdout) != 0) {
        fail("standard output", "cannot be written");
    }
}
} // namespace

void atomicFile::write(const std::string &path, std::string_view content)
{
    if (path == "-") {
        writeOut(content);
        return;
    }
    std::string directory = std::filesystem::path(path).parent_path().string();
    if (directory.empty()) {
        directory = ".";
    }
    NewFile file(path + ".XXXXXX");
    if (!file.isMade() || !file.write(content) || !file.finish()) {
        fail(path, "cannot be written");
    }
    if (std::rename(file.path().c_str(), path.c_str()) != 0) {
        fail(path, "cannot be replaced");
    }
    file.keep();
    syncDirectory(directory);
}
