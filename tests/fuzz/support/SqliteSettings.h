#pragma once

/// Makes SQLite fast under the sanitizers: one thread, no blocks set aside that nobody may need.
/// Paths may be URIs. Before any other use of SQLite.
void configureSqlite();
