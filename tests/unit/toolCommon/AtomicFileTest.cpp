#include "AtomicFile.h"

#include "Descriptor.h"
#include "InputError.h"
#include "support/TestDirectory.h"

#include <array>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace
{
class AtomicFile : public testing::Test
{
protected:
    static unsigned modeOf(const std::string &path)
    {
        return static_cast<unsigned>(std::filesystem::status(path).permissions());
    }

    TestDirectory directory;
};
} // namespace

TEST_F(AtomicFile, HoldsWhatWasWrittenAndNothingElseIsLeft)
{
    atomicFile::write(directory.file("new"), "content");
    EXPECT_EQ(contentOf(directory.file("new")), "content");
    EXPECT_THAT(directory.names(), ElementsAre("new"));
}

TEST_F(AtomicFile, ReplacesAnOldFile)
{
    writeContent(directory.file("old"), "much longer than the new content");
    atomicFile::write(directory.file("old"), "new");
    EXPECT_EQ(contentOf(directory.file("old")), "new");
}

TEST_F(AtomicFile, HasTheModeOfAnyNewFile)
{
    const mode_t mask = umask(027);
    atomicFile::write(directory.file("new"), "");
    umask(mask);
    EXPECT_EQ(modeOf(directory.file("new")), 0640U);
}

TEST_F(AtomicFile, LeavesNothingBehindIfItCannotBeWritten)
{
    EXPECT_THROW(atomicFile::write(directory.file("missing/new"), "content"), InputError);
    std::filesystem::create_directory(directory.file("directory"));
    EXPECT_THROW(atomicFile::write(directory.file("directory"), "content"), InputError);
    EXPECT_THAT(directory.names(), ElementsAre("directory"));
}

TEST_F(AtomicFile, KeepsTheModeOfTheFileThatItReplaces)
{
    writeContent(directory.file("old"), "old");
    std::filesystem::permissions(directory.file("old"), std::filesystem::perms{0604});
    atomicFile::write(directory.file("old"), "new");
    EXPECT_EQ(modeOf(directory.file("old")), 0604U);
}

TEST_F(AtomicFile, FollowsLinksAndKeepsThem)
{
    writeContent(directory.file("old"), "old");
    std::filesystem::create_symlink("old", directory.file("link"));
    std::filesystem::create_symlink(directory.file("link"), directory.file("linkToLink"));
    atomicFile::write(directory.file("linkToLink"), "new");
    EXPECT_EQ(contentOf(directory.file("old")), "new");
    EXPECT_THAT(directory.names(), ElementsAre("link", "linkToLink", "old"));
    EXPECT_TRUE(std::filesystem::is_symlink(directory.file("link")));
}

TEST_F(AtomicFile, MakesTheMissingFileThatALinkNames)
{
    std::filesystem::create_symlink("missing", directory.file("link"));
    atomicFile::write(directory.file("link"), "new");
    EXPECT_EQ(contentOf(directory.file("missing")), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(directory.file("link")));
}

TEST_F(AtomicFile, RefusesLinksThatLeadNowhere)
{
    std::filesystem::create_symlink("link", directory.file("link"));
    EXPECT_THROW(atomicFile::write(directory.file("link"), "new"), InputError);
    EXPECT_THAT(directory.names(), ElementsAre("link"));
}

TEST_F(AtomicFile, IsWrittenIntoAFifo)
{
    const std::string fifo = directory.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const Descriptor reader(open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_GE(reader.get(), 0);
    atomicFile::write(fifo, "content");
    std::array<char, 16> content{};
    ASSERT_EQ(read(reader.get(), content.data(), content.size()), 7);
    EXPECT_STREQ(content.data(), "content");
    EXPECT_TRUE(std::filesystem::is_fifo(fifo));
}

TEST_F(AtomicFile, IsTheSameUnderEveryNameOfIt)
{
    const std::string file = directory.file("file");
    writeContent(file, "");
    writeContent(directory.file("other"), "");
    std::filesystem::create_symlink("file", directory.file("link"));
    std::filesystem::create_hard_link(file, directory.file("hardLink"));
    for (const char *name : {"file", "./file", "link", "hardLink"}) {
        EXPECT_TRUE(atomicFile::isSame(file, directory.file(name))) << name;
    }
    EXPECT_FALSE(atomicFile::isSame(file, directory.file("other")));
    EXPECT_FALSE(atomicFile::isSame(directory.file("missing"), directory.file("missing")));
    EXPECT_FALSE(atomicFile::isSame("/dev/null", "/dev/null"));
    EXPECT_THROW(atomicFile::requireOther(file, directory.file("link")), InputError);
    EXPECT_NO_THROW(atomicFile::requireOther(file, directory.file("other")));
}
