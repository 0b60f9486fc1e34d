#include "WholeFile.h"

#include "InputError.h"
#include "support/TestDirectory.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace
{
std::string refusalOf(const std::string &path)
{
    try {
        ADD_FAILURE() << "was read: " << readWholeFile(path);
        return {};
    } catch (const InputError &error) {
        return error.what();
    }
}
} // namespace

TEST(WholeFile, HasAllBytes)
{
    const TestDirectory directory;
    const std::string bytes("\0 a\r\n\xFF", 6);
    writeContent(directory.file("some"), bytes);
    EXPECT_EQ(readWholeFile(directory.file("some")), bytes);
}

TEST(WholeFile, MayBeEmpty)
{
    const TestDirectory directory;
    writeContent(directory.file("empty"), "");
    EXPECT_EQ(readWholeFile(directory.file("empty")), "");
}

TEST(WholeFile, ThatCannotBeReadIsNamed)
{
    EXPECT_EQ(refusalOf("/nowhere/some"),
              "/nowhere/some: cannot be read: No such file or directory");
    EXPECT_EQ(refusalOf("/"), "/: cannot be read: Is a directory");
}

TEST(WholeFile, HasALongestSize)
{
    const TestDirectory directory;
    const std::string path = directory.file("sparse");
    writeContent(path, "");
    std::filesystem::resize_file(path, longestFile);
    EXPECT_EQ(readWholeFile(path).size(), longestFile);
    std::filesystem::resize_file(path, longestFile + 1);
    EXPECT_EQ(refusalOf(path), path + ": is longer than the limit of 64 MiB");
    EXPECT_EQ(refusalOf("/dev/zero"), "/dev/zero: is longer than the limit of 64 MiB");
}
