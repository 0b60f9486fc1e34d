#include "AtomicFile.h"

#include "InputError.h"
#include "support/TestDirectory.h"

#include <filesystem>

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace
{
class AtomicFile : public testing::Test
{
protected:
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
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(directory.file("new")).permissions()),
              0640U);
}

TEST_F(AtomicFile, LeavesNothingBehindIfItCannotBeWritten)
{
    EXPECT_THROW(atomicFile::write(directory.file("missing/new"), "content"), InputError);
    std::filesystem::create_directory(directory.file("directory"));
    EXPECT_THROW(atomicFile::write(directory.file("directory"), "content"), InputError);
    EXPECT_THAT(directory.names(), ElementsAre("directory"));
}
