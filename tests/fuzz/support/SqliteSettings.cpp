#include "support/SqliteSettings.h"

#include "support/Invariant.h"

#include <sqlite3.h>

void configureSqlite()
{
    mustHold(sqlite3_config(SQLITE_CONFIG_SINGLETHREAD) == SQLITE_OK &&
                 sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK &&
                 sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0) == SQLITE_OK &&
                 sqlite3_config(SQLITE_CONFIG_URI, 1) == SQLITE_OK,
             "SQLite takes its settings");
}
