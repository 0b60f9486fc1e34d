#pragma once

#include <string>
#include <string_view>

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
