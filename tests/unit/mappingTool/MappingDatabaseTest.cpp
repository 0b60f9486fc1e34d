#include "MappingDatabase.h"

#include "DatabaseFile.h"
#include "QuietOutput.h"

#include <cstdio>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
std::string reasonFor(const std::string &path)
{
    try {
        const MappingDatabase database(path);
        ADD_FAILURE() << "was read";
        return "";
    } catch (const UnreadableDatabase &error) {
        return error.what();
    }
}
} // namespace

TEST(MappingDatabase, HoldsTheRecordsInTheOrderOfTheirRows)
{
    const DatabaseFile file(soundDatabase());
    file.run("INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES "
             "('0001','0','0','2','1','1','1','9','0','0','0','last','0')");
    const MappingSource mapping = MappingDatabase(file.path()).source();
    ASSERT_EQ(mapping.scalars.size(), 6U);
    EXPECT_EQ(mapping.scalars.front().record.objId, 0x0110);
    EXPECT_EQ(mapping.scalars.back().record.objId, 0x0001);
    EXPECT_EQ(mapping.scalars.back().row, 6U);
    EXPECT_EQ(mapping.cells.size(), 24U);
    EXPECT_EQ(mapping.cells[1].record.objId, 0x2110);
}

TEST(MappingDatabase, LeavesOutRowsThatTheAgentDrops)
{
    const DatabaseFile file(soundDatabase());
    const std::string before = recordsOf(MappingDatabase(file.path()).source());
    file.run("INSERT INTO SNMP_GENERAL_OBJ_TABLE SELECT * FROM SNMP_GENERAL_OBJ_TABLE;"
             "INSERT INTO SNMP_TABLE_OBJ_TABLE SELECT * FROM SNMP_TABLE_OBJ_TABLE");
    EXPECT_EQ(recordsOf(MappingDatabase(file.path()).source()), before);
}

TEST(MappingDatabase, FindsRecordsOfNumbersBeyond32BitsAsTheAgentFilesThem)
{
    const DatabaseFile file(soundDatabase());
    file.run("UPDATE SNMP_GENERAL_OBJ_TABLE SET objId = '100000110' WHERE objId = '0110';"
             "UPDATE SNMP_TABLE_OBJ_TABLE SET columnId = '4294967298' WHERE rowid = 1");
    const MappingSource mapping = MappingDatabase(file.path()).source();
    ASSERT_EQ(mapping.scalars.size(), 5U);
    EXPECT_EQ(mapping.scalars.front().record.objId, 0xFFFF);
    ASSERT_EQ(mapping.cells.size(), 24U);
    EXPECT_EQ(mapping.cells.front().record.column, 4294967295U);
}

TEST(MappingDatabase, HasNoTablesThatAreNotThere)
{
    const DatabaseFile file;
    const MappingDatabase database(file.path());
    EXPECT_EQ(database.scalars(), nullptr);
    EXPECT_EQ(database.cells(), nullptr);
    EXPECT_TRUE(database.source().scalars.empty());
}

TEST(MappingDatabase, IsNotMadeByOpeningOneThatIsMissing)
{
    const TestDirectory directory;
    EXPECT_THAT(reasonFor(directory.file("missing.db")), HasSubstr("missing.db: cannot be read"));
    EXPECT_THAT(directory.names(), IsEmpty());
}

TEST(MappingDatabase, RefusesWhatIsNoDatabase)
{
    const TestDirectory directory;
    writeContent(directory.file("text"), std::string(5000, 'x'));
    EXPECT_THAT(reasonFor(directory.file("text")), HasSubstr("is no SQLite database"));
    EXPECT_THAT(reasonFor(directory.file(".")), HasSubstr("Is a directory"));
}

TEST(MappingDatabase, RefusesADamagedDatabase)
{
    const DatabaseFile file(soundDatabase());
    std::string bytes = file.bytes();
    ASSERT_GT(bytes.size(), 8192U);
    bytes.replace(4096, 2000, 2000, '\xFF');
    file.replaceBytes(bytes);
    EXPECT_THAT(reasonFor(file.path()), HasSubstr("damaged"));
}

TEST(MappingDatabase, ChangesNoFile)
{
    const TestDirectory directory;
    {
        const DatabaseFile file(soundDatabase());
        std::filesystem::copy_file(file.path(), directory.file("mapping.db"));
    }
    const std::string before = contentOf(directory.file("mapping.db"));
    EXPECT_EQ(MappingDatabase(directory.file("mapping.db")).source().scalars.size(), 5U);
    EXPECT_EQ(contentOf(directory.file("mapping.db")), before);
    EXPECT_THAT(directory.names(), ElementsAre("mapping.db"));
}

TEST(MappingDatabase, SeesWhatIsStillInAWriteAheadLog)
{
    const DatabaseFile file(soundDatabase());
    file.run("PRAGMA journal_mode = WAL");
    sqlite3 *writer = nullptr;
    ASSERT_EQ(sqlite3_open(file.path().c_str(), &writer), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(writer,
                           "INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES "
                           "('0001','0','0','2','1','1','1','9','0','0','0','late','0')",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_TRUE(std::filesystem::exists(file.path() + "-wal"));
    EXPECT_EQ(MappingDatabase(file.path()).source().scalars.size(), 6U);
    sqlite3_close(writer);
}

TEST(MappingDatabase, IgnoresNotesThatCannotBeMeant)
{
    const DatabaseFile file(soundDatabase());
    file.run("ALTER TABLE SNMP_GENERAL_OBJ_TABLE ADD COLUMN name TEXT;"
             "ALTER TABLE SNMP_GENERAL_OBJ_TABLE ADD COLUMN deviceWidth TEXT;"
             "UPDATE SNMP_GENERAL_OBJ_TABLE SET name = 'The State', deviceWidth = '-3'");
    const ObjectNotes notes = MappingDatabase(file.path()).source().scalars.at(0).notes;
    EXPECT_EQ(notes.name, "");
    EXPECT_EQ(notes.device.width, 0U);
}

TEST(MappingDatabase, SaysNothingOnStandardOutput)
{
    const DatabaseFile file;
    testing::internal::CaptureStdout();
    (void)MappingDatabase(file.path()).source();
    std::printf("after");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "after");
}

TEST(MappingInput, TakesASourceAsWellAsADatabase)
{
    const TestDirectory directory;
    writeContent(directory.file("source.yaml"),
                 "scalars: [{oid: 1.1.1, object: 0x0110, type: integer}]\n");
    const MappingInput source(directory.file("source.yaml"));
    EXPECT_EQ(source.database().source().scalars.at(0).record.objId, 0x0110);
    const DatabaseFile file(soundDatabase());
    EXPECT_EQ(MappingInput(file.path()).database().source().scalars.size(), 5U);
}
