#pragma once

#include "DeferredSignals.h"

#include <string>
#include <string_view>

/// A file in a new temporary directory. The destructor removes the directory and everything in it,
/// and so does a constructor that fails. Signals that end the program wait until then.
class TemporaryFile
{
public:
    explicit TemporaryFile(std::string_view content);
    ~TemporaryFile() = default;
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    [[nodiscard]] const std::string &path() const noexcept { return _path; }

    /// Creates another file at this file's path plus the suffix.
    void addBeside(const std::string &suffix, std::string_view content) const;

private:
    /// A new directory, removed with everything in it.
    class Directory
    {
    public:
        Directory();
        ~Directory();
        Directory(const Directory &) = delete;
        Directory &operator=(const Directory &) = delete;

        [[nodiscard]] const std::string &path() const noexcept { return _path; }

    private:
        std::string _path;
    };

    DeferredSignals _untilRemoved;
    Directory _directory;
    std::string _path;
};
