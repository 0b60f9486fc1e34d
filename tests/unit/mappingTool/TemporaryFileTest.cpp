#include "TemporaryFile.h"

#include "support/TestDirectory.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

TEST(TemporaryFile, IsRemovedWithEverythingNextToIt)
{
    std::string path;
    {
        const TemporaryFile file("content");
        path = file.path();
        file.addBeside("-journal", "more");
        EXPECT_EQ(contentOf(path), "content");
    }
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).parent_path()));
}
