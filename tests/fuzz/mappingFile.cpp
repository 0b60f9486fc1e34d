// Arbitrary: every byte of the mapping database file.
// Must hold: lookups find everything that was loaded; and nothing of it remains once a database
// without tables is loaded, so no lock is held.

#include "support/Invariant.h"
#include "support/MappingLookups.h"
#include "support/SqliteSettings.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace
{
/// A file that is rewritten with one block of bytes after another, in the directory for temporary
/// files, preferably in memory.
class ArbitraryFile
{
public:
    ArbitraryFile()
    {
        const char *const directory = std::getenv("TMPDIR");
        std::string name = directory == nullptr ? "/tmp" : directory;
        name += "/arbitraryMappingXXXXXX";
        _descriptor = mkstemp(name.data());
        mustHold(_descriptor != -1, "a file can be made");
        _path = name;
    }

    ~ArbitraryFile()
    {
        removeCompanions();
        unlink(_path.c_str());
        close(_descriptor);
    }

    ArbitraryFile(const ArbitraryFile &) = delete;
    ArbitraryFile &operator=(const ArbitraryFile &) = delete;

    void write(const std::uint8_t *bytes, std::size_t size) const
    {
        removeCompanions();
        mustHold(ftruncate(_descriptor, 0) == 0 &&
                     pwrite(_descriptor, bytes, size, 0) == static_cast<ssize_t>(size),
                 "the file can be written");
    }

    [[nodiscard]] const char *path() const { return _path.c_str(); }

private:
    /// Removes the files that SQLite leaves next to a database in this state.
    void removeCompanions() const
    {
        for (const char *const suffix : {"-journal", "-wal", "-shm"}) {
            unlink((_path + suffix).c_str());
        }
    }

    std::string _path;
    int _descriptor = -1;
};

void nextMappingIsFresh(SnmpDataBase &database)
{
    database.loadDataBase(":memory:");
    std::vector<SnmpObjOid> scalars;
    std::vector<SnmpTableInfo> tables;
    database.getSnmpObjOidList(scalars);
    mustHold(scalars.empty(), "no scalar is left");
    mustHold(database.getSnmpTableList(tables) == -1, "no table is left");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    configureSqlite();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static const ArbitraryFile s_file;
    s_file.write(bytes, size);
    SnmpDataBase database(s_file.path());
    lookupsMustAgree(database);
    nextMappingIsFresh(database);
    return 0;
}
