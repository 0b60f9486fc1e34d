#include "Mapping.h"

#include "SnmpDataBase.h"
#include "Sqlite3.h"

#include <cstdlib>
#include <string>

#include <unistd.h>

namespace
{
constexpr const char *statement =
    "CREATE TABLE SNMP_GENERAL_OBJ_TABLE (objId TEXT, attr1, magic, asnType TEXT, access TEXT,"
    " oidArc1, oidArc2, oidArc3, oidArc4, valueType TEXT, flag TEXT, text TEXT, attr2 TEXT);"
    "INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES"
    " ('0101', 0, 0, '2', '3', 1, 1, 1, 0, '0', '0', NULL, '0'),"
    " ('0202', 0, 0, '2', '3', 1, 1, 2, 0, '0', '0', NULL, '0'),"
    " ('0911', 0, 0, '4', '3', 1, 1, 3, 0, '0', '0', NULL, '0');";
} // namespace

SnmpDataBase &mapping()
{
    static SnmpDataBase *const s_mapping = [] {
        std::string path = "/tmp/schedulesXXXXXX";
        const int descriptor = mkstemp(path.data());
        Sqlite3 store(path.c_str());
        if (descriptor == -1 || store.open() != 0 || store.exec(statement) != 0) {
            std::abort();
        }
        auto *const loaded = new SnmpDataBase(path.c_str());
        close(descriptor);
        unlink(path.c_str());
        return loaded;
    }();
    return *s_mapping;
}
