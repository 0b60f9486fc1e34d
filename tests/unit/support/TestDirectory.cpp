#include "support/TestDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

TestDirectory::TestDirectory()
{
    _path = (std::filesystem::temp_directory_path() / "tarnoSnmpTest.XXXXXX").string();
    EXPECT_NE(mkdtemp(_path.data()), nullptr);
}

TestDirectory::~TestDirectory()
{
    std::filesystem::remove_all(_path);
}

std::string TestDirectory::file(const std::string &name) const
{
    return _path + '/' + name;
}

std::set<std::string> TestDirectory::names() const
{
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(_path)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeContent(const std::string &path, const std::string &content)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    EXPECT_TRUE(file.flush());
}
