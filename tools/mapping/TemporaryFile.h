#pragma once

#include <string>
#include <string_view>

/// A file in a new temporary directory. The destructor removes the directory and everything in it.
class TemporaryFile
{
public:
    explicit TemporaryFile(std::string_view content);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    [[nodiscard]] const std::string &path() const noexcept { return _path; }

    /// Creates another file at this file's path plus the suffix.
    void addBeside(const std::string &suffix, std::string_view content) const;

private:
    std::string _directory;
    std::string _path;
};
