#pragma once

#include <set>
#include <string>

/// A temporary directory for the files of one test, removed afterwards.
class TestDirectory
{
public:
    TestDirectory();
    ~TestDirectory();
    TestDirectory(const TestDirectory &) = delete;
    TestDirectory &operator=(const TestDirectory &) = delete;

    [[nodiscard]] std::string file(const std::string &name) const;
    /// The names of all its entries.
    [[nodiscard]] std::set<std::string> names() const;

private:
    std::string _path;
};

[[nodiscard]] std::string contentOf(const std::string &path);
void writeContent(const std::string &path, const std::string &content);
