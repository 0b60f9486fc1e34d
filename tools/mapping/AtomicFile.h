#pragma once

#include <string>
#include <string_view>

/// Writing whole files so that nobody ever sees half of one: into a temporary file beside it, made
/// durable, then renamed over the old one. On failure MappingError, nothing is left behind and an
/// old file stands as it was.
namespace atomicFile
{
/// "-" is standard output.
void write(const std::string &path, std::string_view content);
} // namespace atomicFile

/// A file in a directory of its own among the temporary ones; both are removed, with whatever else
/// is there by then, at the end of the scope.
class TemporaryFile
{
public:
    explicit TemporaryFile(std::string_view content);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    [[nodiscard]] const std::string &path() const noexcept { return _path; }

    /// Makes another file, whose path is this one's with the suffix.
    void addBeside(const std::string &suffix, std::string_view content) const;

private:
    std::string _directory;
    std::string _path;
};
